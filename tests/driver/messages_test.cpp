// Everything that a run prints, compared whole.

#include <gtest/gtest.h>

#include <utility>

#include "doubles/fake_tool.h"
#include "golden.h"

namespace texprobe::tests {
namespace {

const std::string kFreshStart =
    "{A}[{P}] testing renderer: 132096\n"
    "{A}[{P}] VERSION: 0.21\n";

const std::string kBothExtensions =
    "{A}[{P}] GL_EXT_framebuffer_object : SUPPORTED\n"
    "{A}[{P}] GL_ARB_pixel_buffer_object : SUPPORTED\n";

const std::string kStrings =
    "{A}[{P}] GL_VENDOR: Fake Vendor\n"
    "{A}[{P}] GL_VERSION: 2.1 Fake\n";

TEST(MessagesTest, first_run_prints_exactly_this) {
    const FakeTool tool(kOneRenderer);
    const Finished run = tool.run();
    EXPECT_TRUE(run.exited_with(0));
    EXPECT_EQ(run.out, golden_out(run.pid));
    EXPECT_EQ(run.err, of_run(run.pid, kFreshStart + kBothExtensions) + golden_pass_text(run.pid) +
                           of_run(run.pid, kStrings));
}

TEST(MessagesTest, second_run_prints_no_test_line) {
    const FakeTool tool(kOneRenderer);
    ASSERT_TRUE(tool.run().exited_with(0));
    const Finished run = tool.run();
    EXPECT_TRUE(run.exited_with(0));
    EXPECT_EQ(run.out, golden_out(run.pid));
    EXPECT_EQ(run.err, of_run(run.pid,
                              "{A}[{P}] testing renderer: 132096\n"
                              "{A}[{P}] UP TO DATE (version: 0.21 >= 0.21)\n" +
                                  kBothExtensions + kStrings));
}

TEST(MessagesTest, newer_version_is_printed_with_two_decimals) {
    const FakeTool tool(kOneRenderer);
    ASSERT_TRUE(tool.run().exited_with(0));
    tool.set_record("VERSION", "double", "12.345678");
    const Finished run = tool.run();
    EXPECT_EQ(lines_of(run.err)[1],
              of_run(run.pid, "{A}[{P}] UP TO DATE (version: 12.35 >= 0.21)"));
}

/// The lines of the sixteen formats, each with `text`.
std::string sixteen_times(const std::string& text) {
    std::string result;
    for (const Format& format : kFormats) result += filled(text, {{"N", format.name}});
    return result;
}

TEST(MessagesTest, without_pixel_buffer_objects_the_transfer_tests_print_no_score) {
    const FakeTool tool(kOneRenderer + "string GL_EXTENSIONS GL_EXT_framebuffer_object\n");
    const Finished run = tool.run();
    EXPECT_EQ(run.err, of_run(run.pid, kFreshStart +
                                           "{A}[{P}] GL_EXT_framebuffer_object : SUPPORTED\n"
                                           "{A}[{P}] GL_ARB_pixel_buffer_object : UNSUPPORTED\n" +
                                           sixteen_times("{A}[{P}] {N} supported: 1\n"
                                                         "{A}[{P}] {N} renderable: 1\n"
                                                         "Testing UPLOAD SET...\n"
                                                         "{A}[{P}] {N} upload SET: 0\n"
                                                         "Testing UPLOAD RESET...\n"
                                                         "{A}[{P}] {N} upload RESET: 0\n"
                                                         "{A}[{P}] {N} download GET: 0\n"
                                                         "{A}[{P}] {N} download READ: 0\n") +
                                           kStrings));
}

TEST(MessagesTest, without_extensions_the_downloads_are_not_mentioned) {
    const std::string expected = kFreshStart +
                                 "{A}[{P}] GL_EXT_framebuffer_object : UNSUPPORTED\n"
                                 "{A}[{P}] GL_ARB_pixel_buffer_object : UNSUPPORTED\n" +
                                 sixteen_times(
                                     "{A}[{P}] {N} supported: 1\n"
                                     "{A}[{P}] {N} renderable: 0\n"
                                     "Testing UPLOAD SET...\n"
                                     "{A}[{P}] {N} upload SET: 0\n"
                                     "Testing UPLOAD RESET...\n"
                                     "{A}[{P}] {N} upload RESET: 0\n") +
                                 kStrings;
    // A name that only begins like an extension's, and no names at all.
    for (const char* order :
         {"string GL_EXTENSIONS GL_EXT_framebuffer_objects\n", "null GL_EXTENSIONS\n"}) {
        const FakeTool tool(kOneRenderer + order);
        const Finished run = tool.run();
        EXPECT_TRUE(run.exited_with(0));
        EXPECT_EQ(run.err, of_run(run.pid, expected));
    }
}

TEST(MessagesTest, renderer_id_with_its_top_bit_set_is_hexadecimal_and_signed_decimal) {
    const FakeTool tool("display 7 0x80000000\nrenderer 0x80000000 -2 0\nbuild 21G.0-rc\n");
    const Finished run = tool.run();
    EXPECT_TRUE(run.exited_with(0));
    EXPECT_EQ(lines_of(run.out)[3], "found display 7 (80000000) renderer ID: fffffffe VRAM: 0 MB");
    const std::string appID = "org.texprobe.texprobe2.fffffffe.21G.0-rc";
    EXPECT_EQ(lines_of(run.err)[0],
              appID + "[" + std::to_string(run.pid) + "] testing renderer: -2");
    EXPECT_EQ(tool.records(appID), golden_records());
}

TEST(MessagesTest, video_memory_is_divided_towards_zero) {
    const std::pair<const char*, const char*> rows[] = {
        {"1572864", "1"},  {"1048575", "0"},       {"-1572864", "-1"},
        {"-1048575", "0"}, {"2147483647", "2047"}, {"-2147483648", "-2048"}};
    std::string script = "display 1 1\n";
    std::string renderers;
    for (const auto& [bytes, megabytes] : rows) {
        script += std::string("renderer 1 255 ") + bytes + "\n";
        renderers +=
            std::string("found display 1 (1) renderer ID: ff VRAM: ") + megabytes + " MB\n";
    }
    const FakeTool tool(script);
    const Finished run = tool.run();
    EXPECT_EQ(run.out, golden_out(run.pid, 1, renderers));
}

}  // namespace
}  // namespace texprobe::tests
