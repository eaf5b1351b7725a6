// `texprobectl inspect` on a real renderer, and on one that fails as a script says.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <png.h>
#include <signal.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <nlohmann/json.hpp>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "ctl/ctl_folder.h"
#include "support/formats.h"

namespace texprobe::tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

constexpr int kSet = 2;
constexpr int kReset = 3;
constexpr int kGet = 4;
constexpr int kRead = 5;
constexpr const char* kWords[] = {"create", "render", "set", "reset", "get", "read"};

unsigned number_of(const std::string& format) {
    for (const Format& known : kFormats) {
        if (known.name == format) return known.internalFormat;
    }
    throw std::invalid_argument(format);
}

/// The paragraph behind the heading, on one line.
std::string sentence_of(const std::string& text) {
    const std::size_t begin = text.find("\n\n") + 2;
    return std::regex_replace(text.substr(begin, text.find("\n\n", begin) - begin),
                              std::regex("\n"), " ");
}

/// What stands behind `name` in the list of facts.
std::string fact(const std::string& text, const std::string& name) {
    for (const std::string& line : lines_of(text)) {
        if (line.rfind(name, 0) == 0) return line.substr(15);
    }
    return "none";
}

class Inspect : public testing::Test {
protected:
    void SetUp() override {
        const Finished measured = folder_.ctl({"measure"});
        ASSERT_TRUE(measured.exited_with(0)) << measured.err;
        std::filesystem::create_directory(folder_.file("tmp"));
    }

    Finished inspect(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "inspect");
        return folder_.ctl(arguments, environment_);
    }

    /// What it says with this fault in this test.
    Finished inspect_with(const std::string& fault, const std::string& format, int capability) {
        write_file(folder_.file("faults"), std::to_string(number_of(format)) + ' ' +
                                               std::to_string(capability) + ' ' + fault + '\n');
        return inspect({format, kWords[capability], "--timeout", "15"});
    }

    std::string sentence_with(const std::string& fault, const std::string& format, int capability) {
        const Finished finished = inspect_with(fault, format, capability);
        EXPECT_TRUE(finished.exited_with(0)) << finished.err;
        return sentence_of(finished.out);
    }

    bool has_left_files() const { return !std::filesystem::is_empty(folder_.file("tmp")); }

    CtlFolder folder_{FAILING_CTL, TOOL};
    const Environment environment_{"TMPDIR=" + folder_.file("tmp").string()};
};

// The sentence

TEST_F(Inspect, names_exchanged_channels) {
    EXPECT_EQ(sentence_with("exchanged", "GL_RGBA16", kGet), "Red and blue are exchanged.");
    EXPECT_EQ(sentence_with("exchanged", "GL_RGB8", kReset), "Red and blue are exchanged.");
    EXPECT_EQ(sentence_with("exchanged", "GL_RGBA16", kSet), "Red and blue are exchanged.");
}

TEST_F(Inspect, names_a_lost_alpha) {
    EXPECT_EQ(sentence_with("opaque", "GL_RGBA32F_ARB", kRead),
              "Alpha is lost: it is 1 everywhere.");
    EXPECT_EQ(sentence_with("opaque", "GL_RGBA8", kSet), "Alpha is lost: it is 1 everywhere.");
}

TEST_F(Inspect, names_a_shift_by_a_row) {
    const std::string sentence =
        "The image is shifted by one row: row 1 holds what was sent as row 0.";
    EXPECT_EQ(sentence_with("shifted", "GL_RGB32F_ARB", kGet), sentence);
    EXPECT_EQ(sentence_with("shifted", "GL_LUMINANCE16", kReset), sentence);
}

TEST_F(Inspect, names_the_bits_that_are_kept) {
    EXPECT_EQ(sentence_with("rounded", "GL_RGB16", kGet), "Kept at 8 bits.");
    EXPECT_EQ(sentence_with("rounded", "GL_RGBA32F_ARB", kRead), "Kept at 8 bits.");
}

TEST_F(Inspect, says_that_nothing_arrived) {
    EXPECT_EQ(sentence_with("zeros", "GL_LUMINANCE8", kGet),
              "Nothing arrived: luminance 0 everywhere.");
    EXPECT_EQ(sentence_with("zeros", "GL_RGB16", kSet),
              "Nothing arrived: red 0, green 0, blue 0, alpha 0 everywhere.");
}

TEST_F(Inspect, names_a_stale_image) {
    EXPECT_EQ(sentence_with("stale", "GL_RGBA8", kReset),
              "A stale image came back: that of the test of GL_RGBA8 upload set.");
    EXPECT_EQ(sentence_with("stale", "GL_RGBA16F_ARB", kRead),
              "A stale image came back: that of the test of GL_RGBA16F_ARB download get.");
}

TEST_F(Inspect, names_the_row_from_which_on_it_is_wrong) {
    EXPECT_EQ(sentence_with("half", "GL_RGB16F_ARB", kGet),
              "Wrong from row 64 on: nothing arrived there.");
    EXPECT_EQ(sentence_with("half", "GL_RGB8", kSet),
              "Wrong from row 64 on: nothing arrived there.");
}

TEST_F(Inspect, names_the_byte_order) {
    const std::string sentence = "The bytes of each element are in reverse order.";
    EXPECT_EQ(sentence_with("bytes", "GL_LUMINANCE16", kGet), sentence);
    EXPECT_EQ(sentence_with("bytes", "GL_RGBA32F_ARB", kGet), sentence);
    EXPECT_EQ(sentence_with("bytes", "GL_RGBA16F_ARB", kRead), sentence);
}

TEST_F(Inspect, tells_an_exact_driver_from_the_pairing_of_the_comparison) {
    const Finished upload = inspect({"GL_RGBA16", "reset"});
    EXPECT_EQ(sentence_of(upload.out),
              "The driver is exact; the verdict follows from the comparison's pairing: four "
              "channels are compared in reversed order.");
    EXPECT_EQ(fact(upload.out, "recorded"), "no");
    EXPECT_EQ(fact(upload.out, "this run"), "no; they agree");
    EXPECT_EQ(sentence_of(inspect({"GL_LUMINANCE8_ALPHA8", "read"}).out),
              "The driver is exact; the verdict follows from the comparison's pairing: each alpha "
              "is compared with the next pixel's luminance.");
    EXPECT_EQ(sentence_of(inspect({"GL_RGBA8", "get"}).out), "The driver is exact.");
}

TEST_F(Inspect, says_that_this_run_and_the_record_do_not_agree) {
    EXPECT_EQ(fact(inspect_with("zeros", "GL_RGB8", kGet).out, "this run"),
              "no; they do not agree");
}

// The tool's own test

/// The distances that the tool prints in a first run, by the order of the tests.
std::vector<std::string> distances_in(const std::string& text) {
    std::vector<std::string> distances;
    const std::regex pattern("\\(dist: (\\d+)");
    for (std::sregex_iterator at(text.begin(), text.end(), pattern), end; at != end; ++at) {
        distances.push_back((*at)[1]);
    }
    return distances;
}

TEST_F(Inspect, sees_the_patterns_of_a_first_run) {
    const CtlFolder fresh(FAILING_CTL, TOOL);
    const std::vector<std::string> distances = distances_in(fresh.run().err);
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
}

TEST_F(Inspect, shows_the_calls_in_order) {
    std::vector<std::string> calls;
    const std::string text = inspect({"GL_RGB16", "set"}).out;
    for (const std::string& line : lines_of(text)) {
        const bool isRest = !calls.empty() && calls.back().back() == ',';
        if (isRest) calls.back() += line.substr(5);
        if (line.rfind("  gl", 0) == 0) calls.push_back(line.substr(2));
    }
    EXPECT_THAT(
        calls, ElementsAre("glBindTexture(GL_TEXTURE_2D, 1)",
                           "glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST)",
                           "glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST)",
                           "glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0)",
                           "glTexImage2D(GL_TEXTURE_2D, 0, GL_RGB16, 128, 128, 0, GL_BGR, "
                           "GL_UNSIGNED_SHORT, NULL)",
                           "glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 1)",
                           "glBufferData(GL_PIXEL_UNPACK_BUFFER, 98304, NULL, GL_STREAM_DRAW)",
                           "glMapBuffer(GL_PIXEL_UNPACK_BUFFER, GL_WRITE_ONLY) = memory",
                           "glUnmapBuffer(GL_PIXEL_UNPACK_BUFFER) = GL_TRUE",
                           "glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, 128, 128, GL_BGR, "
                           "GL_UNSIGNED_SHORT, offset 0)",
                           "glFlush()", "glBindTexture(GL_TEXTURE_2D, 2)",
                           "glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST)",
                           "glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST)",
                           "glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0)",
                           "glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, 128, 128, 0, GL_RGBA, "
                           "GL_UNSIGNED_BYTE, NULL)",
                           "glEnable(GL_TEXTURE_2D)", "glBindTexture(GL_TEXTURE_2D, 1)",
                           "glBegin(GL_QUADS)", "glTexCoord2f(0, 0)", "glVertex2f(-1, -1)",
                           "glTexCoord2f(0, 1)", "glVertex2f(-1, 1)", "glTexCoord2f(1, 1)",
                           "glVertex2f(1, 1)", "glTexCoord2f(1, 0)", "glVertex2f(1, -1)", "glEnd()",
                           "glFinish()", "glBindBuffer(GL_PIXEL_PACK_BUFFER, 0)",
                           "glReadPixels(0, 0, 128, 128, GL_RGBA, GL_UNSIGNED_BYTE, client memory)",
                           "glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 1)",
                           "glMapBuffer(GL_PIXEL_UNPACK_BUFFER, GL_READ_ONLY) = memory",
                           "glUnmapBuffer(GL_PIXEL_UNPACK_BUFFER) = GL_TRUE"));
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
    const Finished finished = inspect_with(std::to_string(SIGABRT), "GL_RGB8", kSet);
    EXPECT_TRUE(finished.exited_with(1));
    EXPECT_EQ(sentence_of(finished.out),
              "The test was ended by SIGABRT: it was in glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, "
              "128, 128, GL_BGR, GL_UNSIGNED_BYTE, offset 0).");
    EXPECT_EQ(fact(finished.out, "this run"), "none");
    EXPECT_THAT(finished.out, HasSubstr("      did not return\n"));
    EXPECT_FALSE(has_left_files());
}

TEST_F(Inspect, ends_a_driver_that_hangs) {
    const Finished finished = inspect_with("0", "GL_RGB8", kRead);
    EXPECT_TRUE(finished.exited_with(1));
    EXPECT_THAT(sentence_of(finished.out),
                StartsWith("The test did not end within 15 s: it was in glReadPixels(0, 0, 128, "));
    EXPECT_FALSE(has_left_files());
}

TEST_F(Inspect, says_which_test_before_died) {
    write_file(folder_.file("faults"), std::to_string(number_of("GL_RGB8")) + " 2 6\n");
    EXPECT_EQ(sentence_of(inspect({"GL_RGBA8", "set"}).out),
              "The test was not reached: that of GL_RGB8 upload set, which comes before it, was "
              "ended by SIGABRT; --alone does without those.");
    EXPECT_EQ(sentence_of(inspect({"GL_RGBA8", "set", "--alone"}).out), "The driver is exact.");
}

TEST_F(Inspect, ends_when_it_is_interrupted_and_leaves_nothing) {
    write_file(folder_.file("faults"), std::to_string(number_of("GL_RGB8")) + " 2 0\n");
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
    EXPECT_TRUE(inspect_with(std::to_string(SIGKILL), "GL_RGB8", kSet).exited_with(1));
    EXPECT_EQ(read_file(store), before);
    const auto log = folder_.file("records") / "records.sqlite3-wal";
    EXPECT_TRUE(!std::filesystem::exists(log) || std::filesystem::is_empty(log));
}

// Arguments

TEST_F(Inspect, refuses_what_transfers_nothing) {
    const Finished create = inspect({"GL_RGBA8", "create"});
    EXPECT_TRUE(create.exited_with(2));
    EXPECT_EQ(create.err,
              "texprobectl: create transfers no pixels, so there is nothing to inspect: it is yes "
              "where the driver keeps the internal format that a texture was defined with\n");
    EXPECT_EQ(inspect({"GL_RGBA8", "renderable"}).err,
              "texprobectl: render transfers no pixels, so there is nothing to inspect: it is yes "
              "where the driver keeps the internal format, and calls a framebuffer with such a "
              "texture complete\n");
}

TEST_F(Inspect, refuses_unknown_names) {
    const Finished format = inspect({"GL_RGBA12", "get"});
    EXPECT_TRUE(format.exited_with(2));
    EXPECT_EQ(format.err,
              "texprobectl: there is no format \"GL_RGBA12\"; expected one of the sixteen that "
              "`texprobectl show` lists, such as GL_RGBA8\n");
    EXPECT_EQ(inspect({"GL_RGBA8", "write"}).err,
              "texprobectl: there is no capability \"write\"; expected set, reset, get or read\n");
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

// The pictures

struct Pixel {
    int red, green, blue, alpha;
    bool operator==(const Pixel&) const = default;
};
std::ostream& operator<<(std::ostream& stream, const Pixel& pixel) {
    return stream << pixel.red << ' ' << pixel.green << ' ' << pixel.blue << ' ' << pixel.alpha;
}

/// Read by libpng, with alpha 255 where the file has none.
std::vector<Pixel> read_png(const std::filesystem::path& file) {
    png_image image = {};
    image.version = PNG_IMAGE_VERSION;
    if (png_image_begin_read_from_file(&image, file.c_str()) == 0) return {};
    image.format = PNG_FORMAT_RGBA;
    EXPECT_EQ(image.width, 128u);
    EXPECT_EQ(image.height, 128u);
    std::vector<std::uint8_t> bytes(PNG_IMAGE_SIZE(image));
    png_image_finish_read(&image, nullptr, bytes.data(), 0, nullptr);
    std::vector<Pixel> pixels;
    for (std::size_t i = 0; i < bytes.size(); i += 4) {
        pixels.push_back({bytes[i], bytes[i + 1], bytes[i + 2], bytes[i + 3]});
    }
    return pixels;
}

std::vector<std::uint8_t> read_bytes(const std::filesystem::path& file) {
    const std::string text = read_file(file);
    return {text.begin(), text.end()};
}

TEST_F(Inspect, draws_what_was_sent_and_what_came_back) {
    const auto folder = folder_.file("pictures");
    ASSERT_TRUE(inspect({"GL_RGB8", "get", "-o", folder}).exited_with(0));
    // Blue comes first.
    const std::vector<std::uint8_t> sent = read_bytes(folder / "sent.raw");
    const std::vector<Pixel> picture = read_png(folder / "sent.png");
    ASSERT_EQ(picture.size(), 16384u);
    for (std::size_t i = 0; i < picture.size(); ++i) {
        const Pixel expected = {sent[3 * i + 2], sent[3 * i + 1], sent[3 * i], 255};
        ASSERT_EQ(picture[i], expected) << i;
    }
    EXPECT_EQ(read_png(folder / "returned.png"), picture);
    EXPECT_EQ(read_png(folder / "difference.png"), std::vector<Pixel>(16384, Pixel{0, 0, 0, 255}));
    EXPECT_EQ(read_file(folder / "returned.raw"), read_file(folder / "sent.raw"));
    EXPECT_THAT(read_file(folder / "layout.txt"),
                HasSubstr("sent.raw      GL_BGR GL_UNSIGNED_BYTE: 3 bytes a pixel; blue, green, "
                          "red\n"));
}

TEST_F(Inspect, draws_where_nothing_arrived) {
    inspect_with("half", "GL_RGBA8", kSet);
    const auto folder = folder_.file("pictures");
    ASSERT_TRUE(inspect({"GL_RGBA8", "set", "-o", folder}).exited_with(0));
    const std::vector<Pixel> sent = read_png(folder / "sent.png");
    const std::vector<Pixel> returned = read_png(folder / "returned.png");
    const std::vector<Pixel> difference = read_png(folder / "difference.png");
    ASSERT_EQ(difference.size(), 16384u);
    for (std::size_t i = 0; i < 16384; ++i) {
        const bool isThere = i < std::size_t{64} * 128;
        ASSERT_EQ(returned[i], isThere ? sent[i] : (Pixel{0, 0, 0, 0})) << i;
        // The difference of alpha is in every colour.
        const int least = isThere ? 0 : sent[i].alpha;
        const Pixel expected = {std::max(least, isThere ? 0 : sent[i].red),
                                std::max(least, isThere ? 0 : sent[i].green),
                                std::max(least, isThere ? 0 : sent[i].blue), 255};
        ASSERT_EQ(difference[i], expected) << i;
    }
}

TEST_F(Inspect, amplifies_small_differences_and_says_by_how_much) {
    inspect_with("rounded", "GL_LUMINANCE16", kGet);
    const auto folder = folder_.file("pictures");
    ASSERT_TRUE(inspect({"GL_LUMINANCE16", "get", "-o", folder}).exited_with(0));
    const std::vector<std::uint8_t> sent = read_bytes(folder / "sent.raw");
    std::vector<int> errors;
    for (std::size_t i = 0; i < 16384; ++i) {
        std::uint16_t value = 0;
        std::memcpy(&value, sent.data() + 2 * i, sizeof value);
        errors.push_back(std::abs(value - (value >> 8) * 257));
    }
    const int largest = *std::max_element(errors.begin(), errors.end());
    const std::vector<Pixel> difference = read_png(folder / "difference.png");
    for (std::size_t i = 0; i < 16384; ++i) {
        ASSERT_NEAR(difference[i].red, 255.0 * errors[i] / largest, 0.51) << i;
    }
    std::ostringstream factor;
    factor << 65535.0 / largest;
    EXPECT_THAT(read_file(folder / "layout.txt"), HasSubstr("multiplied\nby " + factor.str()));
}

TEST_F(Inspect, needs_a_place_for_the_pictures) {
    const Finished missing = inspect({"GL_RGB8", "get", "-o", folder_.file("a/b")});
    EXPECT_TRUE(missing.exited_with(2));
    EXPECT_EQ(missing.err, "texprobectl: cannot make the folder " + folder_.file("a/b").string() +
                               ": No such file or directory\n");
    write_file(folder_.file("file"), "");
    EXPECT_EQ(
        inspect({"GL_RGB8", "get", "-o", folder_.file("file")}).err,
        "texprobectl: cannot make the folder " + folder_.file("file").string() + ": File exists\n");
}

TEST_F(Inspect, says_that_there_are_no_pictures_where_no_image_came_back) {
    write_file(folder_.file("faults"), std::to_string(number_of("GL_RGB8")) + " 2 6\n");
    const Finished finished = inspect({"GL_RGB8", "set", "-o", folder_.file("pictures")});
    EXPECT_EQ(finished.err, "texprobectl: there are no pictures, because no image came back\n");
    EXPECT_FALSE(std::filesystem::exists(folder_.file("pictures")));
}

// The report

/// The bytes of the n-th picture in a page, decoded here.
std::string picture_in(const std::string& page, std::size_t number) {
    const std::regex pattern("data:image/png;base64,([A-Za-z0-9+/=]*)");
    auto at = std::sregex_iterator(page.begin(), page.end(), pattern);
    std::advance(at, static_cast<std::ptrdiff_t>(number));
    const std::string text = (*at)[1];
    std::string bytes;
    unsigned bits = 0;
    int count = 0;
    for (const char c : text) {
        if (c == '=') break;
        const std::string digits =
            "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
        bits = bits << 6 | static_cast<unsigned>(digits.find(c));
        count += 6;
        if (count < 8) continue;
        count -= 8;
        bytes += static_cast<char>(bits >> count & 0xFF);
    }
    return bytes;
}

std::size_t count_of(const std::string& part, const std::string& text) {
    std::size_t count = 0;
    for (std::size_t at = 0; (at = text.find(part, at)) != std::string::npos; ++at) ++count;
    return count;
}

TEST_F(Inspect, report_shows_pictures_beside_every_no) {
    const auto page = folder_.file("page.html");
    ASSERT_TRUE(folder_.ctl({"report", "--pictures", "-o", page}, environment_).exited_with(0));
    const std::string text = read_file(page);
    // Eight downloads of luminance with alpha, and two uploads of 16-bit colours with alpha.
    EXPECT_EQ(count_of("<h4>", text), 10u);
    EXPECT_EQ(count_of("<img ", text), 30u);
    EXPECT_EQ(count_of("each alpha is compared with the next pixel", text), 8u);
    EXPECT_EQ(count_of("four channels are compared in reversed order", text), 2u);
    inspect({"GL_LUMINANCE_ALPHA32F_ARB", "get", "-o", folder_.file("pictures")});
    EXPECT_EQ(picture_in(text, 0), read_file(folder_.file("pictures") / "sent.png"));
    EXPECT_EQ(picture_in(text, 1), read_file(folder_.file("pictures") / "returned.png"));
    EXPECT_EQ(picture_in(text, 2), read_file(folder_.file("pictures") / "difference.png"));
    EXPECT_FALSE(has_left_files());

    ASSERT_TRUE(folder_.ctl({"report", "-o", page}).exited_with(0));
    EXPECT_EQ(count_of("<img ", read_file(page)), 0u);
}

TEST_F(Inspect, report_says_why_a_no_has_no_pictures) {
    write_file(folder_.file("faults"), std::to_string(number_of("GL_RGBA16")) + " 2 6\n");
    const auto page = folder_.file("page.html");
    ASSERT_TRUE(folder_.ctl({"report", "--pictures", "-o", page}, environment_).exited_with(0));
    const std::string text = read_file(page);
    EXPECT_EQ(count_of("<h4>", text), 10u);
    // Those of GL_RGBA16 itself, and of what comes after it.
    EXPECT_THAT(text, HasSubstr("The test was ended by SIGABRT: it was in glTexSubImage2D("));
    EXPECT_EQ(count_of("The test was not reached: that of GL_RGBA16 upload set", text), 3u);
    EXPECT_EQ(count_of("<img ", text), 18u);
}

TEST_F(Inspect, report_does_not_inspect_for_the_set_of_another_machine) {
    auto document = nlohmann::ordered_json::parse(folder_.ctl({"export"}).out);
    auto& set = document["record_sets"][0];
    set["system_build"] = "1.0-other";
    set["id"] = "org.texprobe.texprobe2." + set["renderer_id"].get<std::string>() + ".1.0-other";
    write_file(folder_.file("there.json"), document.dump());
    const auto page = folder_.file("page.html");
    const Finished finished =
        folder_.ctl({"report", folder_.file("there.json"), "--pictures", "-o", page});
    ASSERT_TRUE(finished.exited_with(0)) << finished.err;
    const std::string text = read_file(page);
    EXPECT_THAT(text, HasSubstr("<p>The noes of this set cannot be inspected here: this machine "
                                "does not have this renderer under this build.</p>"));
    EXPECT_EQ(count_of("<img ", text), 0u);
}

}  // namespace
}  // namespace texprobe::tests
