// Everything that a run prints, compared whole.

#include <gtest/gtest.h>

#include "doubles/fake_tool.h"
#include "golden.h"

namespace texprobe::tests {
namespace {

std::string expected_out(pid_t pid) {
    return filled(
        "texprobe[{P}] testing...\n"
        "org.texprobe.texprobe2[{P}] testing...\n"
        "org.texprobe.texprobe2[{P}] found 1 displays:\n"
        "found display 1 (1) renderer ID: 20400 VRAM: 256 MB\n",
        {{"P", std::to_string(pid)}});
}

std::string with_run(const std::string& text, pid_t pid) {
    return filled(text, {{"A", kAppID}, {"P", std::to_string(pid)}});
}

const char* const kFreshStart =
    "{A}[{P}] testing renderer: 132096\n"
    "{A}[{P}] VERSION: 0.21\n";

const char* const kBothExtensions =
    "{A}[{P}] GL_EXT_framebuffer_object : SUPPORTED\n"
    "{A}[{P}] GL_ARB_pixel_buffer_object : SUPPORTED\n";

const char* const kStrings =
    "{A}[{P}] GL_VENDOR: Fake Vendor\n"
    "{A}[{P}] GL_VERSION: 2.1 Fake\n";

TEST(MessagesTest, first_run_prints_exactly_this) {
    const FakeTool tool(kOneRenderer);
    const Finished run = tool.run();
    EXPECT_TRUE(run.exited_with(0));
    EXPECT_EQ(run.out, expected_out(run.pid));
    EXPECT_EQ(run.err, with_run(kFreshStart, run.pid) + with_run(kBothExtensions, run.pid) +
                           golden_pass_text(kAppID, run.pid) + with_run(kStrings, run.pid));
}

TEST(MessagesTest, second_run_prints_no_test_line) {
    const FakeTool tool(kOneRenderer);
    ASSERT_TRUE(tool.run().exited_with(0));
    const Finished run = tool.run();
    EXPECT_TRUE(run.exited_with(0));
    EXPECT_EQ(run.out, expected_out(run.pid));
    EXPECT_EQ(run.err, with_run("{A}[{P}] testing renderer: 132096\n"
                                "{A}[{P}] UP TO DATE (version: 0.21 >= 0.21)\n",
                                run.pid) +
                           with_run(kBothExtensions, run.pid) + with_run(kStrings, run.pid));
}

TEST(MessagesTest, newer_version_is_printed_with_two_decimals) {
    const FakeTool tool(kOneRenderer);
    ASSERT_TRUE(tool.run().exited_with(0));
    tool.set_record("VERSION", "double", "12.345678");
    const Finished run = tool.run();
    EXPECT_EQ(lines_of(run.err)[1],
              with_run("{A}[{P}] UP TO DATE (version: 12.35 >= 0.21)", run.pid));
}

/// The lines of the sixteen formats, each with `text`.
std::string sixteen_times(const std::string& text, pid_t pid) {
    std::string result;
    for (const Format& format : kFormats) {
        result += filled(with_run(text, pid), {{"N", format.name}});
    }
    return result;
}

TEST(MessagesTest, without_pixel_buffer_objects_the_transfer_tests_print_no_score) {
    const FakeTool tool(kOneRenderer + "string GL_EXTENSIONS GL_EXT_framebuffer_object\n");
    const Finished run = tool.run();
    EXPECT_EQ(run.err, with_run(kFreshStart, run.pid) +
                           with_run("{A}[{P}] GL_EXT_framebuffer_object : SUPPORTED\n"
                                    "{A}[{P}] GL_ARB_pixel_buffer_object : UNSUPPORTED\n",
                                    run.pid) +
                           sixteen_times("{A}[{P}] {N} supported: 1\n"
                                         "{A}[{P}] {N} renderable: 1\n"
                                         "Testing UPLOAD SET...\n"
                                         "{A}[{P}] {N} upload SET: 0\n"
                                         "Testing UPLOAD RESET...\n"
                                         "{A}[{P}] {N} upload RESET: 0\n"
                                         "{A}[{P}] {N} download GET: 0\n"
                                         "{A}[{P}] {N} download READ: 0\n",
                                         run.pid) +
                           with_run(kStrings, run.pid));
}

TEST(MessagesTest, without_extensions_the_downloads_are_not_mentioned) {
    const FakeTool tool(kOneRenderer + "string GL_EXTENSIONS GL_EXT_framebuffer_objects\n");
    const Finished run = tool.run();
    EXPECT_EQ(run.err, with_run(kFreshStart, run.pid) +
                           with_run("{A}[{P}] GL_EXT_framebuffer_object : UNSUPPORTED\n"
                                    "{A}[{P}] GL_ARB_pixel_buffer_object : UNSUPPORTED\n",
                                    run.pid) +
                           sixteen_times("{A}[{P}] {N} supported: 1\n"
                                         "{A}[{P}] {N} renderable: 0\n"
                                         "Testing UPLOAD SET...\n"
                                         "{A}[{P}] {N} upload SET: 0\n"
                                         "Testing UPLOAD RESET...\n"
                                         "{A}[{P}] {N} upload RESET: 0\n",
                                         run.pid) +
                           with_run(kStrings, run.pid));
}

TEST(MessagesTest, missing_extension_string_means_no_extensions) {
    const FakeTool tool(kOneRenderer + "null GL_EXTENSIONS\n");
    const Finished run = tool.run();
    EXPECT_TRUE(run.exited_with(0));
    const std::vector<std::string> lines = lines_of(run.err);
    EXPECT_EQ(lines[2], with_run("{A}[{P}] GL_EXT_framebuffer_object : UNSUPPORTED", run.pid));
    EXPECT_EQ(lines[3], with_run("{A}[{P}] GL_ARB_pixel_buffer_object : UNSUPPORTED", run.pid));
}

TEST(MessagesTest, renderer_id_with_its_top_bit_set_is_hexadecimal_and_signed_decimal) {
    const FakeTool tool("display 7 0x80000000\nrenderer 0x80000000 -2 0\n");
    const Finished run = tool.run();
    EXPECT_TRUE(run.exited_with(0));
    EXPECT_EQ(lines_of(run.out)[3], "found display 7 (80000000) renderer ID: fffffffe VRAM: 0 MB");
    EXPECT_EQ(lines_of(run.err)[0], "org.texprobe.texprobe2.fffffffe.TESTBUILD[" +
                                        std::to_string(run.pid) + "] testing renderer: -2");
    EXPECT_EQ(tool.records("org.texprobe.texprobe2.fffffffe.TESTBUILD"), golden_records());
}

TEST(MessagesTest, identifier_of_renderer_255_is_domain_ff_and_build) {
    const FakeTool tool("display 1 1\nrenderer 1 255 0\nbuild 21G.0-rc\n");
    const Finished run = tool.run();
    EXPECT_EQ(lines_of(run.err)[0], "org.texprobe.texprobe2.ff.21G.0-rc[" +
                                        std::to_string(run.pid) + "] testing renderer: 255");
    EXPECT_EQ(tool.records("org.texprobe.texprobe2.ff.21G.0-rc"), golden_records());
}

struct Memory {
    const char* bytes;
    const char* text;
};

class VideoMemoryTest : public testing::TestWithParam<Memory> {};

TEST_P(VideoMemoryTest, is_divided_towards_zero) {
    const FakeTool tool(std::string("display 1 1\nrenderer 1 255 ") + GetParam().bytes + "\n");
    EXPECT_EQ(lines_of(tool.run().out)[3],
              std::string("found display 1 (1) renderer ID: ff VRAM: ") + GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(Figures, VideoMemoryTest,
                         testing::Values(Memory{"1572864", "1 MB"}, Memory{"1048575", "0 MB"},
                                         Memory{"-1572864", "-1 MB"}, Memory{"-1048575", "0 MB"},
                                         Memory{"2147483647", "2047 MB"},
                                         Memory{"-2147483648", "-2048 MB"}),
                         [](const auto& test) { return "Row" + std::to_string(test.index); });

}  // namespace
}  // namespace texprobe::tests
