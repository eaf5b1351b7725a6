// texprobectl measure: a scripted tool that crashes, hangs, waits and fails, and a real driver that
// crashes in ten tests and hangs in two.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <nlohmann/json.hpp>
#include <thread>

#include "ctl/scripted_measure.h"
#include "support/formats.h"

namespace texprobe::tests {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

class Measure : public ScriptedMeasure {};

TEST_F(Measure, gives_each_end_of_a_run_its_verdict) {
    const std::string key = "GL_RGB32F_ARB_SUPPORTED";
    const std::string next = "GL_RGBA32F_ARB_SUPPORTED";
    const std::string inHand = opening() + begin(key);
    const std::string saidYes = "say " + line("GL_RGB32F_ARB supported: 1");
    const std::string saidNo = opening() + test(key, "GL_RGB32F_ARB supported", false);
    const std::string ofOthers = waiting_while_others_record_no(key);
    const std::string rest = ScriptedMeasure::rest({{key, false}});
    const std::string nextIsNo = ScriptedMeasure::rest({{key, false}, {next, false}});
    const std::string nothing = "exit 0\n";
    const std::string detail = R"([{"capability":"supported","name":"GL_RGB32F_ARB",)";
    const struct {
        const char* what;
        std::vector<std::string> runs;
        const char* verdict;
        std::string details = "[]";
        /// Is the user told that the no may have been a crash?
        bool isDoubtful = false;
    } rows[] = {
        {"a yes that ends in a crash", {ScriptedMeasure::rest() + opening() + "raise 11\n"}, "yes"},
        {"a no", {saidNo + rest}, "no"},
        {"a crash", {inHand + "raise 6\n", rest}, "crashed", detail + R"("signal":"SIGABRT"}])"},
        {"a hang", {inHand + "hang\n", rest}, "hung", detail + R"("seconds":2}])"},
        {"an exit", {inHand + "exit 3\n", rest}, "crashed", detail + R"("exit_status":3}])"},
        {"a kill from outside", {inHand + "raise 9\n", nothing}, "unmeasured"},
        {"a second one in the same test",
         {inHand + "raise 9\n", inHand + "raise 9\n", rest},
         "crashed",
         detail + R"("signal":"SIGKILL"}])"},
        {"a yes that is not on disk yet", {inHand + saidYes + "raise 9\n", nothing}, "unmeasured"},
        // Somebody's no, or the test that he is in.
        {"a no of others, and a crash of the tool that waits",
         {ofOthers + "raise 11\n", rest},
         "no",
         "[]",
         true},
        {"a no of others, and a crash in the next test",
         {ofOthers + opening() + begin(next) + "raise 6\n", nextIsNo},
         "no",
         R"([{"capability":"supported","name":"GL_RGBA32F_ARB","signal":"SIGABRT"}])",
         true}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        const CtlFolder folder(CTL, SCRIPTED_TOOL);
        script_runs(folder, row.runs);
        const Finished run = folder.ctl({"measure", "--timeout", "2"});
        const bool isComplete = row.verdict != std::string("unmeasured");
        EXPECT_TRUE(run.exited_with(isComplete ? 0 : 1)) << run.err;
        EXPECT_EQ(folder.runs(), static_cast<int>(row.runs.size()));
        const json set = json::parse(folder.ctl({"export"}).out).at("record_sets").at(0);
        EXPECT_EQ(set.at("complete"), isComplete);
        EXPECT_EQ(set.at("formats").at(0).at("supported"), row.verdict);
        EXPECT_EQ(set.at("details"), json::parse(row.details));
        const std::string shown = folder.ctl({"show"}).out;
        EXPECT_EQ(shown.find("may have been a crash") != std::string::npos, row.isDoubtful);
    }
}

TEST_F(Measure, does_not_take_slow_tests_for_a_hang) {
    std::string script = opening();
    for (std::size_t i = 0; i < 4; ++i) {
        script += "sleep 600\n" + test(std::string(kFormats[i].name) + "_SUPPORTED",
                                       std::string(kFormats[i].name) + " supported", true);
    }
    folder_.script(script + rest());
    const Finished run = folder_.ctl({"measure", "--timeout", "2"});
    EXPECT_TRUE(run.exited_with(0)) << run.err;
    EXPECT_EQ(folder_.runs(), 1);
}

TEST_F(Measure, that_is_not_complete_says_why) {
    const auto crash = [](std::size_t format) {
        return opening() + begin(std::string(kFormats[format].name) + "_SUPPORTED") + "raise 6\n";
    };
    const std::string complaint = "said *** cannot create OpenGL context\nexit 1\n";
    const std::string vain = "texprobectl: not complete: two runs in a row recorded nothing: ";
    const struct {
        const char* what;
        std::vector<std::string> runs;
        std::vector<std::string> options;
        std::string reason;
    } rows[] = {{"no names that applications look for",
                 {rest() + removed("GL_RENDERER") + opening(), "", ""},
                 {},
                 "are not recorded, which applications look for"},
                {"nothing recorded",
                 {},
                 {"--tool", "/bin/true"},
                 vain + "texprobe ended with status 0; nothing is recorded of "},
                {"a complaint",
                 {complaint, complaint},
                 {},
                 vain + "texprobe ended with status 1 (*** cannot create OpenGL context); nothing "
                        "is recorded of "},
                {"a crash in each attempt",
                 {crash(1), crash(2), crash(3)},
                 {"--attempts", "3"},
                 "3 runs were not enough"},
                {"no tool",
                 {},
                 {"--tool", "/no/such/tool"},
                 "/no/such/tool could not be started: No such file"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        const CtlFolder folder(CTL, SCRIPTED_TOOL);
        std::vector<std::string> words = {"measure"};
        words.insert(words.end(), row.options.begin(), row.options.end());
        script_runs(folder, row.runs);
        const Finished run = folder.ctl(words);
        EXPECT_TRUE(run.exited_with(1));
        EXPECT_EQ(folder.runs(), static_cast<int>(row.runs.size()));
        EXPECT_THAT(run.err, HasSubstr(row.reason));
    }
}

TEST(MeasureWithoutAStore, is_not_complete_and_says_which_file_and_which_error) {
    const CtlFolder folder(CTL, TOOL);
    write_file(folder.file("records"), "");
    const Finished run = folder.ctl({"measure"});
    EXPECT_TRUE(run.exited_with(1)) << run.err;
    EXPECT_THAT(run.err, HasSubstr("texprobectl: not complete: "));
    EXPECT_THAT(run.err, HasSubstr("(*** texprobe records: cannot use " +
                                   folder.file("records").string() + ": it is not a directory)"));
    // A run says what it has measured, whether or not it could record it.
    EXPECT_THAT(run.err, Not(HasSubstr(": 96 of 96 verdicts")));
}

TEST_F(Measure, takes_the_names_from_an_outdated_set_before_its_tool_begins) {
    for (const char* version : {"0.20", "0.21"}) {
        folder_.prepare(SCRIPTED_TOOL, rest() + "set " + *id_ + " VERSION number " + version +
                                           "\nsync " + *id_ + "\n");
        folder_.ctl({"measure", "--tool", "/bin/true"});
        const bool isOutdated = version == std::string("0.20");
        for (const char* name : {"vendor", "gl_version", "renderer"}) {
            EXPECT_EQ(first_set().at(name).is_null(), isOutdated) << version << name;
        }
    }
}

TEST_F(Measure, forgets_the_crash_of_a_record_that_has_changed) {
    const std::string key = "GL_RGB32F_ARB_SUPPORTED";
    measure_crash(key);
    EXPECT_EQ(verdict(0, "supported"), "crashed");
    folder_.prepare(SCRIPTED_TOOL, "set " + *id_ + ' ' + key + " true\nsync " + *id_ + '\n');
    EXPECT_EQ(verdict(0, "supported"), "yes");
    EXPECT_TRUE(first_set().at("details").empty());
    // A prepared folder counts its runs anew.
    folder_.script(1, removed(key) + opening() + test(key, "GL_RGB32F_ARB supported", false));
    folder_.ctl({"measure"});
    EXPECT_EQ(verdict(0, "supported"), "no");
    EXPECT_TRUE(first_set().at("details").empty());
}

/// Ten crashes and two hangs in transfer tests that a healthy run passes or fails.
struct Fault {
    std::size_t format;
    std::size_t capability;
    int signal;
};
constexpr Fault kFaults[] = {{0, 2, SIGSEGV}, {0, 3, SIGABRT},  {1, 4, SIGBUS},  {2, 5, SIGSEGV},
                             {4, 2, SIGSEGV}, {6, 3, 0},        {7, 4, SIGABRT}, {9, 5, SIGFPE},
                             {10, 2, SIGILL}, {12, 3, SIGSEGV}, {14, 4, 0},      {15, 5, SIGABRT}};

TEST(MeasureOnARealDriver, survives_ten_crashes_and_two_hangs) {
    const ToolFolder healthy(TOOL);
    ASSERT_TRUE(healthy.run().exited_with(0));
    const RecordSets undisturbed = healthy.records();
    const CtlFolder folder(CTL, FAILING_TOOL);
    std::string faults;
    for (const Fault& fault : kFaults) {
        faults += std::to_string(kFormats[fault.format].internalFormat) + ' ' +
                  std::to_string(fault.capability) + ' ' + std::to_string(fault.signal) + '\n';
    }
    write_file(folder.file("faults"), faults);
    const Finished run = folder.ctl({"measure", "--timeout", "6"});
    ASSERT_TRUE(run.exited_with(0)) << run.err << run.out;

    const RecordSets records = folder.records();
    for (const auto& [id, expected] : undisturbed) {
        auto disturbed = expected;
        for (const Fault& fault : kFaults) {
            disturbed[std::string(kFormats[fault.format].name) + '_' +
                      kCapabilities[fault.capability]] = "boolean 0";
        }
        EXPECT_EQ(records.at(id), disturbed) << id;
    }
    const json set = json::parse(folder.ctl({"export"}).out).at("record_sets").at(0);
    EXPECT_EQ(set.at("complete"), true);
    constexpr const char* kMembers[] = {"supported",    "renderable",   "upload_set",
                                        "upload_reset", "download_get", "download_read"};
    for (const Fault& fault : kFaults) {
        EXPECT_EQ(set.at("formats").at(fault.format).at(kMembers[fault.capability]),
                  fault.signal == 0 ? "hung" : "crashed")
            << kFormats[fault.format].name;
    }
    const json& details = set.at("details");
    EXPECT_EQ(std::count_if(details.begin(), details.end(),
                            [](const json& detail) { return !detail.contains("of_test"); }),
              std::size(kFaults));
    EXPECT_THAT(folder.ctl({"show"}).out,
                HasSubstr("GL_RGB8 upload reset: did not end within 6 s"));
}

TEST(MeasureOnARealDriver, loses_nothing_when_it_is_killed_itself) {
    const ToolFolder healthy(TOOL);
    ASSERT_TRUE(healthy.run().exited_with(0));
    const RecordSets undisturbed = healthy.records();
    for (const int milliseconds : {30, 80, 150, 250, 400, 600}) {
        const CtlFolder folder(CTL, TOOL);
        const pid_t process = folder.start_ctl({"measure"});
        std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
        kill(process, SIGKILL);
        finish(process);
        const Finished next = folder.ctl({"measure"});
        ASSERT_TRUE(next.exited_with(0)) << next.err;
        RecordSets records = folder.records();
        for (const auto& [id, expected] : undisturbed) {
            EXPECT_EQ(records[id], expected) << milliseconds;
        }
    }
}

}  // namespace
}  // namespace texprobe::tests
