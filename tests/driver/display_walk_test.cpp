// The walk over displays and renderers, and what its failures print.

#include <gtest/gtest.h>

#include <algorithm>

#include "doubles/fake_tool.h"
#include "golden.h"

namespace texprobe::tests {
namespace {

std::string app_id(const std::string& rendererID) {
    return "org.texprobe.texprobe2." + rendererID + ".TESTBUILD";
}

/// The banner lines of a direct run, with "{P}" for its process ID.
std::string banner(pid_t pid, const std::string& rest) {
    return filled("texprobe[{P}] testing...\norg.texprobe.texprobe2[{P}] testing...\n" + rest,
                  {{"P", std::to_string(pid)}});
}

std::size_t occurrences(const std::string& text, const std::string& word) {
    std::size_t count = 0;
    for (std::size_t at = text.find(word); at != std::string::npos; at = text.find(word, at + 1)) {
        ++count;
    }
    return count;
}

TEST(DisplaysTest, no_display_is_a_normal_return) {
    const FakeTool tool("log\n");
    const Finished run = tool.run();
    EXPECT_TRUE(run.exited_with(0));
    EXPECT_EQ(run.out, banner(run.pid, "org.texprobe.texprobe2[{P}] found 0 displays:\n"));
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(tool.calls().size(), 2u) << "only the list was asked for";
}

TEST(DisplaysTest, failed_list_prints_its_code_and_still_exits_with_0) {
    const FakeTool tool(kOneRenderer + "fail CGGetActiveDisplayList 1001\n");
    const Finished run = tool.run();
    EXPECT_TRUE(run.exited_with(0));
    EXPECT_EQ(run.out, banner(run.pid, ""));
    EXPECT_EQ(run.err, "*** cannot get active display list (1001)\n");
}

TEST(DisplaysTest, negative_error_code_is_printed_signed) {
    const FakeTool tool(kOneRenderer + "fail CGGetActiveDisplayList -50\n");
    EXPECT_EQ(tool.run().err, "*** cannot get active display list (-50)\n");
}

TEST(DisplaysTest, at_most_32_displays_are_visited) {
    std::string script = "log\n";
    for (int i = 1; i <= 33; ++i) script += "display " + std::to_string(i) + " 0\n";
    const FakeTool tool(script);
    const Finished run = tool.run();
    EXPECT_TRUE(run.exited_with(0));
    EXPECT_EQ(run.out, banner(run.pid, "org.texprobe.texprobe2[{P}] found 32 displays:\n"));
    const std::vector<std::string> calls = tool.calls();
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "CGLQueryRendererInfo(0)"), 32);
}

TEST(DisplaysTest, display_without_renderers_gets_no_run) {
    const FakeTool tool("display 1 0x1\nrenderer 0x2 255 0\nlog\n");
    const Finished run = tool.run();
    EXPECT_TRUE(run.exited_with(0));
    EXPECT_EQ(run.out, banner(run.pid, "org.texprobe.texprobe2[{P}] found 1 displays:\n"));
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(tool.calls().back(), "CGLDestroyRendererInfo(info 1)");
}

TEST(DisplaysTest, failed_renderer_query_goes_on_with_the_next_display) {
    const FakeTool tool(
        "display 1 0x1\n"
        "display 2 0x2\n"
        "renderer 0x3 255 0\n"
        "fail CGLQueryRendererInfo 10006 1\n"
        "log\n");
    const Finished run = tool.run();
    EXPECT_TRUE(run.exited_with(0));
    EXPECT_EQ(run.out, banner(run.pid,
                              "org.texprobe.texprobe2[{P}] found 2 displays:\n"
                              "found display 2 (2) renderer ID: ff VRAM: 0 MB\n"));
    EXPECT_EQ(lines_of(run.err)[0], "*** cannot query renderer info (10006)");
    EXPECT_EQ(tool.records(app_id("ff")), golden_records());
    const std::vector<std::string> calls = tool.calls();
    EXPECT_EQ(calls[3], "CGLQueryRendererInfo(0x1)");
    EXPECT_EQ(calls[4], "CGDisplayIDToOpenGLDisplayMask(2)") << "nothing was obtained to destroy";
    EXPECT_EQ(calls.back(), "CGLDestroyRendererInfo(info 1)");
}

TEST(DisplaysTest, renderer_without_a_memory_figure_is_measured_all_the_same) {
    const FakeTool tool(kOneRenderer + "fail memory 10001\n");
    const Finished run = tool.run();
    EXPECT_TRUE(run.exited_with(0));
    EXPECT_EQ(lines_of(run.err)[0], "*** cannot get renderer memory (10001)");
    EXPECT_EQ(lines_of(run.err)[1],
              kAppID + "[" + std::to_string(run.pid) + "] testing renderer: 132096");
    EXPECT_EQ(tool.records(), golden_records());
}

TEST(DisplaysTest, renderer_without_an_id_is_passed_over) {
    const FakeTool tool(
        "display 1 0x1\n"
        "renderer 0x1 1 0\n"
        "renderer 0x1 2 0\n"
        "fail ID 10001 1\n");
    const Finished run = tool.run();
    EXPECT_TRUE(run.exited_with(0));
    EXPECT_EQ(run.out, banner(run.pid,
                              "org.texprobe.texprobe2[{P}] found 1 displays:\n"
                              "found display 1 (1) renderer ID: 2 VRAM: 0 MB\n"));
    EXPECT_EQ(lines_of(run.err)[0], "*** cannot get renderer ID (10001)");
    EXPECT_EQ(tool.records(app_id("1")), Values());
    EXPECT_EQ(tool.records(app_id("2")), golden_records());
}

TEST(DisplaysTest, renderer_whose_memory_and_id_fail_prints_both) {
    const FakeTool tool(kOneRenderer + "fail memory 10003\nfail ID 10003\n");
    const Finished run = tool.run();
    EXPECT_TRUE(run.exited_with(0));
    EXPECT_EQ(run.err,
              "*** cannot get renderer memory (10003)\n*** cannot get renderer ID (10003)\n");
    EXPECT_EQ(run.out, banner(run.pid, "org.texprobe.texprobe2[{P}] found 1 displays:\n"));
}

TEST(DisplaysTest, renderer_of_two_displays_gets_two_runs_and_one_measurement) {
    const FakeTool tool(
        "display 5 0x1\n"
        "display 6 0x2\n"
        "renderer 0x3 255 1048576\n");
    const Finished run = tool.run();
    EXPECT_TRUE(run.exited_with(0));
    EXPECT_EQ(run.out, banner(run.pid,
                              "org.texprobe.texprobe2[{P}] found 2 displays:\n"
                              "found display 5 (1) renderer ID: ff VRAM: 1 MB\n"
                              "found display 6 (2) renderer ID: ff VRAM: 1 MB\n"));
    const std::string head = filled("{A}[{P}] testing renderer: 255\n{A}[{P}] ",
                                    {{"A", app_id("ff")}, {"P", std::to_string(run.pid)}});
    EXPECT_EQ(occurrences(run.err, head + "VERSION: 0.21\n"), 1u);
    EXPECT_EQ(occurrences(run.err, head + "UP TO DATE (version: 0.21 >= 0.21)\n"), 1u);
    EXPECT_EQ(occurrences(run.err, "supported: "), 16u);
    EXPECT_EQ(occurrences(run.err, "GL_VENDOR: Fake Vendor\n"), 2u);
    EXPECT_EQ(tool.records(app_id("ff")), golden_records());
}

TEST(DisplaysTest, renderers_do_not_inherit_each_others_extensions_or_records) {
    const FakeTool tool(
        "display 1 0x1\n"
        "renderer 0x1 1 0\n"
        "renderer 0x1 2 0\n"
        "string GL_EXTENSIONS none\n"
        "string GL_VENDOR Other\n"
        "renderer 0x1 3 0\n");
    ASSERT_TRUE(tool.run().exited_with(0));
    const Values first = tool.records(app_id("1"));
    const Values second = tool.records(app_id("2"));
    const Values third = tool.records(app_id("3"));
    EXPECT_EQ(first.at("GL_RGBA8_RENDERABLE"), "true");
    EXPECT_EQ(second.at("GL_RGBA8_RENDERABLE"), "false");
    EXPECT_EQ(third.at("GL_RGBA8_RENDERABLE"), "true");
    EXPECT_EQ(first.at("GL_RGBA8_UPLOAD_SET"), "true");
    EXPECT_EQ(second.at("GL_RGBA8_UPLOAD_SET"), "false");
    EXPECT_EQ(third.at("GL_RGBA8_UPLOAD_SET"), "true");
    EXPECT_EQ(first.at("GL_VENDOR"), "\"Fake Vendor\"");
    EXPECT_EQ(second.at("GL_VENDOR"), "\"Other\"");
    EXPECT_EQ(third.at("GL_VENDOR"), "\"Fake Vendor\"");
}

struct SetUpFailure {
    const char* call;
    const char* message;
    const char* lastCall;
};

class SetUpFailureTest : public testing::TestWithParam<SetUpFailure> {};

TEST_P(SetUpFailureTest, ends_the_process_with_1_and_a_message_without_line_feed) {
    const FakeTool tool(kOneRenderer + "fail " + GetParam().call + " 10002\nlog\n");
    const Finished run = tool.run();
    EXPECT_TRUE(run.exited_with(1));
    EXPECT_EQ(run.err, filled("{A}[{P}] testing renderer: 132096\n{A}[{P}] VERSION: 0.21\n",
                              {{"A", kAppID}, {"P", std::to_string(run.pid)}}) +
                           GetParam().message);
    EXPECT_EQ(lines_of(run.out).back(), "found display 1 (1) renderer ID: 20400 VRAM: 256 MB");
    EXPECT_EQ(tool.calls().back(), GetParam().lastCall) << "nothing is released";
    EXPECT_EQ(tool.records(), (Values{{"VERSION", "0.20999999999999999"}}));
}

INSTANTIATE_TEST_SUITE_P(
    FourCalls, SetUpFailureTest,
    testing::Values(SetUpFailure{"CGLChoosePixelFormat", "*** cannot choose pixel format",
                                 "CGLChoosePixelFormat({70, 132096, 0})"},
                    SetUpFailure{"CGLCreateContext", "*** cannot create OpenGL context",
                                 "CGLCreateContext(pixel format 1, NULL)"},
                    SetUpFailure{"CGLGetVirtualScreen", "*** cannot get virtual screen",
                                 "CGLGetVirtualScreen(context 1)"},
                    SetUpFailure{"CGLCreatePBuffer", "*** cannot create pixel buffer",
                                 "CGLCreatePBuffer(128, 128, GL_TEXTURE_2D, GL_RGBA, 0)"}),
    [](const auto& test) { return std::string(test.param.call); });

TEST(PixelFormatTest, attribute_list_names_the_renderer_alone) {
    const FakeTool tool("display 1 1\nrenderer 1 -2 0\nfail CGLChoosePixelFormat 1\nlog\n");
    EXPECT_TRUE(tool.run().exited_with(1));
    EXPECT_EQ(tool.calls().back(), "CGLChoosePixelFormat({70, -2, 0})");
}

}  // namespace
}  // namespace texprobe::tests
