// `texprobectl inspect` on a real renderer, and on one that fails as a script says.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <filesystem>
#include <iterator>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>
#include <thread>
#include <utility>

#include "ctl/inspect_fixture.h"
#include "support/expected_calls.h"

namespace texprobe::tests {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;
using testing::UnorderedElementsAreArray;

/// What stands behind `name` in the list of facts.
std::string fact(const std::string& text, const std::string& name) {
    for (const std::string& line : lines_of(text)) {
        if (line.rfind(name, 0) == 0) return line.substr(15);
    }
    return "none";
}

// The sentence

TEST_F(Inspect, names_what_the_driver_does_wrong) {
    const struct {
        const char* damage;
        const char* format;
        int capability;
        const char* sentence;
    } rows[] = {
        {"smaller", "GL_RGB16", kCreate, "The driver chose GL_RGB5 instead of GL_RGB16."},
        {"smaller", "GL_RGB16", kRender,
         "The driver chose GL_RGB5 instead of GL_RGB16; the framebuffer's status is "
         "GL_FRAMEBUFFER_COMPLETE_EXT."},
        {"nothing", "GL_RGB8", kRender,
         "The driver keeps GL_RGB8; the framebuffer's status is GL_FRAMEBUFFER_COMPLETE_EXT."},
        {"half", "GL_RGB8", kSet, "Wrong in rows 64 to 127: nothing arrived there."},
        {"exchanged", "GL_RGB16", kReset, "Red and blue are exchanged."},
        {"exchanged", "GL_RGBA16", kGet, "Red and blue are exchanged."},
        {"rounded", "GL_RGBA32F_ARB", kRead, "Kept at 8 bits."},
        {"stale", "GL_RGBA8", kReset,
         "A stale image came back: that of the test of GL_RGBA8 upload set."},
        {"stale", "GL_RGBA16F_ARB", kRead,
         "A stale image came back: that of the test of GL_RGBA16F_ARB download get."},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(sentence_with(row.damage, row.format, row.capability), row.sentence)
            << row.damage << ' ' << row.format;
    }
}

TEST_F(Inspect, says_whether_this_run_and_the_record_agree) {
    const std::string upload = inspect({"GL_RGBA16", "reset"}).out;
    EXPECT_EQ(fact(upload, "recorded"), "no");
    EXPECT_EQ(fact(upload, "this run"), "no; they agree");
    fail(folder_, "GL_RGB8", kGet, "zeros");
    EXPECT_EQ(fact(inspect({"GL_RGB8", "get"}).out, "this run"), "no; they do not agree");
}

TEST_F(Inspect, of_every_no_says_each_sentence_once) {
    EXPECT_EQ(inspect({"--all"}).out,
              "The driver is right. This no comes from the test itself, which compares each\n"
              "alpha with the next pixel's luminance.\n"
              "  GL_LUMINANCE_ALPHA32F_ARB download get\n"
              "  GL_LUMINANCE_ALPHA32F_ARB download read\n"
              "  GL_LUMINANCE8_ALPHA8 download get\n"
              "  GL_LUMINANCE8_ALPHA8 download read\n"
              "  GL_LUMINANCE16_ALPHA16 download get\n"
              "  GL_LUMINANCE16_ALPHA16 download read\n"
              "  GL_LUMINANCE_ALPHA16F_ARB download get\n"
              "  GL_LUMINANCE_ALPHA16F_ARB download read\n"
              "\n"
              "The driver is right to 8 bits, which is all that an upload shows. This no comes\n"
              "from the test itself, which compares four channels in reversed order.\n"
              "  GL_RGBA16 upload set\n"
              "  GL_RGBA16 upload reset\n");
}

TEST_F(Inspect, is_a_document_for_programs) {
    fail(folder_, "GL_RGBA16", kGet, "exchanged");
    const nlohmann::json found =
        inspection_in(folder_, inspect({"GL_RGBA16", "get", "--json", "--calls"}).out);
    EXPECT_EQ(found.at("recorded"), "yes");
    EXPECT_EQ(found.at("verdict"), "no");
    EXPECT_EQ(found.at("of_test"), false);
    EXPECT_EQ(found.at("sentence"), "Red and blue are exchanged.");
    EXPECT_EQ(found.at("returned"),
              nlohmann::json::parse(R"({"format": "GL_BGRA", "type": "GL_UNSIGNED_SHORT"})"));
    EXPECT_EQ(found.at("channels").at(1).at("pixels"), 0);
    EXPECT_FALSE(found.at("calls").empty());
}

// The tool's own test

/// The first group of each match.
std::vector<std::string> matches(const std::string& text, const char* pattern) {
    const std::regex regex(pattern);
    std::vector<std::string> found;
    for (std::sregex_iterator at(text.begin(), text.end(), regex), end; at != end; ++at) {
        found.push_back((*at)[1]);
    }
    return found;
}

TEST_F(Inspect, sees_the_patterns_of_a_first_run) {
    const CtlFolder fresh(FAILING_CTL, TOOL);
    // By the order of the tests.
    const std::vector<std::string> distances = matches(fresh.run().err, "\\(dist: (\\d+)");
    ASSERT_EQ(distances.size(), 64u);
    const struct {
        const char* format;
        int capability;
        /// Among the transfers.
        std::size_t place;
    } tests[] = {{"GL_RGB32F_ARB", kSet, 0},
                 {"GL_LUMINANCE_ALPHA32F_ARB", kRead, 15},
                 {"GL_LUMINANCE16", kReset, 33},
                 {"GL_RGBA16F_ARB", kReset, 61}};
    for (const auto& test : tests) {
        const Finished finished = inspect({test.format, kWords[test.capability]});
        EXPECT_THAT(fact(finished.out, "score"), HasSubstr("distance " + distances[test.place]))
            << test.format;
    }
    EXPECT_THAT(inspect({"GL_RGBA16F_ARB", "create"}).out, Not(HasSubstr("\nscore ")));
}

TEST(InspectedTest, makes_no_call_of_opengl_that_is_not_recorded) {
    const std::string root = SOURCES;
    std::set<std::string> called;
    const std::set<std::string> setUp = {"offscreen_context.h", "render_target.h", "driver.h"};
    for (const auto& file :
         std::filesystem::directory_iterator(root + "/LibAcceleration/Mac/measuring")) {
        if (setUp.count(file.path().filename()) != 0) continue;
        for (auto& name : matches(read_file(file.path()), "\\b(gl[A-Z]\\w*)\\(")) {
            called.insert(std::move(name));
        }
    }
    EXPECT_THAT(matches(read_file(root + "/texprobectl/inspect/child/recorded_gl.h"),
                        "\ninline .* \\*?(gl[A-Z]\\w*)\\("),
                UnorderedElementsAreArray(called));
}

/// A call of the transcript as `inspect` shows it, with what it returns.
std::string shown_call(const std::string& call) {
    if (call.rfind("glMapBuffer(", 0) == 0) return call + " = memory";
    if (call.rfind("glUnmapBuffer(", 0) == 0) return call + " = GL_TRUE";
    return std::regex_replace(call, std::regex(", memory\\)"), ", client memory)");
}

TEST_F(Inspect, shows_the_calls_in_order) {
    const Format& format = kFormats[10];
    ASSERT_EQ(format.name, std::string("GL_RGB16"));
    std::vector<std::string> expected;
    for (const std::string& call : expected_calls(format, "UPLOAD_SET", 0)) {
        if (call.rfind("gl", 0) == 0) expected.push_back(shown_call(call));
    }
    std::vector<std::string> calls;
    const std::string text = inspect({"GL_RGB16", "set", "--calls"}).out;
    for (const std::string& line : lines_of(text)) {
        const bool isRest = !calls.empty() && calls.back().back() == ',';
        if (isRest) calls.back() += line.substr(5);
        if (line.rfind("  gl", 0) == 0) calls.push_back(line.substr(2));
    }
    EXPECT_EQ(calls, expected);
    EXPECT_THAT(text, HasSubstr("      the driver chose GL_RGB16\n"));
    EXPECT_THAT(text, HasSubstr("No call has reported an error.\n"));
    for (const std::string& line : lines_of(text)) EXPECT_LE(line.size(), 80u) << line;
}

TEST_F(Inspect, alone_has_the_first_pattern) {
    const Finished alone = inspect({"GL_RGB32F_ARB", "get", "--alone"});
    EXPECT_EQ(sentence_of(alone.out), "The driver is exact.");
    EXPECT_EQ(fact(alone.out, "tests before"), "none (--alone)");
    // The first test of a run has this pattern, too.
    inspect({"rgb32f", "upload-set", "-o", folder_.file("first")});
    inspect({"GL_RGB32F_ARB", "DOWNLOAD_GET", "--alone", "-o", folder_.file("alone")});
    EXPECT_EQ(read_file(folder_.file("first") / "sent.raw"),
              read_file(folder_.file("alone") / "sent.raw"));
}

// Drivers that die

TEST_F(Inspect, says_in_which_call_a_driver_died) {
    fail(folder_, "GL_RGB8", kSet, "6");
    const Finished finished = inspect({"GL_RGB8", "set", "--calls"});
    EXPECT_TRUE(finished.exited_with(1));
    EXPECT_EQ(sentence_of(finished.out),
              "The test was ended by SIGABRT: it was in glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, "
              "128, 128, GL_BGR, GL_UNSIGNED_BYTE, offset 0).");
    EXPECT_EQ(fact(finished.out, "this run"), "none");
    EXPECT_THAT(finished.out, HasSubstr("      did not return\n"));
    EXPECT_THAT(finished.out, HasSubstr("\nNo call that returned has reported an error.\n"));
    EXPECT_FALSE(has_left_files());
}

TEST_F(Inspect, ends_a_driver_that_hangs) {
    fail(folder_, "GL_RGB8", kRead, "0");
    const Finished finished = inspect({"GL_RGB8", "read", "--timeout", "4"});
    EXPECT_TRUE(finished.exited_with(1));
    EXPECT_THAT(sentence_of(finished.out),
                StartsWith("The test did not end within 4 s: it was in glReadPixels(0, 0, 128, "));
    EXPECT_FALSE(has_left_files());
}

TEST_F(Inspect, says_which_test_before_died) {
    fail(folder_, "GL_RGB8", kSet, "6");
    EXPECT_EQ(sentence_of(inspect({"GL_RGBA8", "set"}).out),
              "The test was not reached: that of GL_RGB8 upload set, which comes before it, was "
              "ended by SIGABRT; --alone does without those.");
    EXPECT_EQ(sentence_of(inspect({"GL_RGBA8", "set", "--alone"}).out), "The driver is exact.");
}

TEST_F(Inspect, ends_when_it_is_interrupted_and_leaves_nothing) {
    fail(folder_, "GL_RGB8", kSet, "0");
    const pid_t process = folder_.start_ctl({"inspect", "GL_RGB8", "set"}, environment_);
    for (int i = 0; i < 100 && !has_left_files(); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    EXPECT_TRUE(has_left_files());
    kill(process, SIGINT);
    EXPECT_TRUE(finish(process).exited_with(128 + SIGINT));
    EXPECT_EQ(read_file(folder_.file("ctl.err")), "texprobectl: interrupted\n");
    EXPECT_FALSE(has_left_files());
}

// The records

TEST_F(Inspect, leaves_the_records_as_they_were) {
    const auto store = folder_.file("records") / "records.sqlite3";
    const std::string before = read_file(store);
    ASSERT_THAT(before, Not(IsEmpty()));
    EXPECT_TRUE(inspect({"GL_RGBA8", "set"}).exited_with(0));
    EXPECT_TRUE(inspect({"GL_RGBA8", "set", "--alone"}).exited_with(0));
    fail(folder_, "GL_RGB8", kSet, std::to_string(SIGKILL));
    EXPECT_TRUE(inspect({"GL_RGB8", "set"}).exited_with(1));
    EXPECT_EQ(read_file(store), before);
    const auto log = folder_.file("records") / "records.sqlite3-wal";
    EXPECT_TRUE(!std::filesystem::exists(log) || std::filesystem::is_empty(log));
}

// Arguments

TEST_F(Inspect, refuses_what_it_cannot_inspect) {
    const std::string words = "inspect expects a format and a capability, or --all";
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{"GL_RGBA12", "get"},
         "there is no format \"GL_RGBA12\"; expected one of the sixteen that `texprobectl show` "
         "lists, such as GL_RGBA8"},
        {{"GL_RGBA8", "write"},
         "there is no capability \"write\"; expected create, render, set, reset, get or read"},
        {{"GL_RGBA8"}, words},
        {std::vector<std::string>(), words},
        {{"GL_RGBA8", "get", "--all"}, words}};
    for (const auto& [arguments, line] : cases) {
        const Finished finished = inspect(arguments);
        EXPECT_TRUE(finished.exited_with(2));
        EXPECT_EQ(finished.err, "texprobectl: " + line + "\n");
    }
}

TEST_F(Inspect, needs_the_renderer_of_the_set) {
    folder_.prepare(SCRIPTED_TOOL,
                    "set org.texprobe.texprobe2.abc.1 VERSION number 0.21\n"
                    "sync org.texprobe.texprobe2.abc.1\n");
    const Finished finished = inspect({"GL_RGBA8", "get", "--set", "abc"});
    EXPECT_TRUE(finished.exited_with(2));
    EXPECT_EQ(finished.err,
              "texprobectl: the renderer abc of this record set is not on this machine, or not "
              "with these variables of the environment; `texprobectl doctor` lists both\n");
}

TEST_F(Inspect, needs_a_record_set) {
    folder_.ctl({"forget", "--all", "--yes"});
    const Finished finished = inspect({"GL_RGBA8", "get"});
    EXPECT_TRUE(finished.exited_with(2));
    EXPECT_EQ(finished.err,
              "texprobectl: nothing is recorded for this machine's present build; `texprobectl "
              "measure` measures it\n");
}

}  // namespace
}  // namespace texprobe::tests
