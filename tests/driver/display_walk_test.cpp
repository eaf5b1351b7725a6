// The walk over displays and renderers, and what its failures print.

#include <gtest/gtest.h>

#include "doubles/fake_tool.h"
#include "golden.h"

namespace texprobe::tests {
namespace {

std::string app_id(const std::string& rendererID) {
    return "org.texprobe.texprobe2." + rendererID + ".TESTBUILD";
}

std::size_t occurrences(const std::string& text, const std::string& word) {
    std::size_t count = 0;
    for (std::size_t at = text.find(word); at != std::string::npos; at = text.find(word, at + 1)) {
        ++count;
    }
    return count;
}

TEST(DisplaysTest, failed_list_prints_its_code_and_still_exits_with_0) {
    for (const char* code : {"1001", "-50"}) {
        const FakeTool tool(kOneRenderer + "fail CGGetActiveDisplayList " + code + "\n");
        const Finished run = tool.run();
        EXPECT_TRUE(run.exited_with(0));
        EXPECT_EQ(run.out, of_run(run.pid,
                                  "texprobe[{P}] testing...\n"
                                  "org.texprobe.texprobe2[{P}] testing...\n"));
        EXPECT_EQ(run.err, std::string("*** cannot get active display list (") + code + ")\n");
    }
}

TEST(DisplaysTest, without_a_renderer_of_theirs_nothing_is_measured) {
    std::string thirtyThree;
    for (int i = 1; i <= 33; ++i) thirtyThree += "display " + std::to_string(i) + " 0\n";
    const struct {
        const char* what;
        std::string script;
        int displays;
        const char* errors;
        const char* lastCall;
    } rows[] = {{"no display is a normal return", "", 0, "", "CGGetActiveDisplayList(32)"},
                {"at most 32 are visited", thirtyThree, 32, "", "CGLDestroyRendererInfo(info 32)"},
                {"the renderer is another display's", "display 1 1\nrenderer 2 255 0\n", 1, "",
                 "CGLDestroyRendererInfo(info 1)"},
                {"its memory and ID fail", kOneRenderer + "fail memory 10003\nfail ID 10004\n", 1,
                 "*** cannot get renderer memory (10003)\n*** cannot get renderer ID (10004)\n",
                 "CGLDestroyRendererInfo(info 1)"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        const FakeTool tool(row.script + "log\n");
        const Finished run = tool.run();
        EXPECT_TRUE(run.exited_with(0));
        EXPECT_EQ(run.out, golden_out(run.pid, row.displays, ""));
        EXPECT_EQ(run.err, row.errors);
        EXPECT_EQ(tool.calls().back(), row.lastCall);
    }
}

TEST(DisplaysTest, failure_of_one_goes_on_with_the_next) {
    const struct {
        const char* what;
        std::string script;
        int displays;
        const char* renderers;
        const char* error;
    } rows[] = {
        {"a display's renderers",
         "display 1 0x1\ndisplay 2 0x2\nrenderer 0x3 255 0\nfail CGLQueryRendererInfo 10006 1\n", 2,
         "found display 2 (2) renderer ID: ff VRAM: 0 MB\n",
         "*** cannot query renderer info (10006)"},
        {"a renderer's ID", "display 1 1\nrenderer 1 1 0\nrenderer 1 255 0\nfail ID 10001 1\n", 1,
         "found display 1 (1) renderer ID: ff VRAM: 0 MB\n", "*** cannot get renderer ID (10001)"},
        {"its memory is not needed", "display 1 1\nrenderer 1 255 0\nfail memory 10001\n", 1,
         "found display 1 (1) renderer ID: ff VRAM: 0 MB\n",
         "*** cannot get renderer memory (10001)"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        const FakeTool tool(row.script);
        const Finished run = tool.run();
        EXPECT_TRUE(run.exited_with(0));
        EXPECT_EQ(run.out, golden_out(run.pid, row.displays, row.renderers));
        const std::vector<std::string> lines = lines_of(run.err);
        EXPECT_EQ(lines[0], row.error);
        EXPECT_EQ(lines[1],
                  app_id("ff") + "[" + std::to_string(run.pid) + "] testing renderer: 255");
        EXPECT_EQ(tool.records(app_id("ff")), golden_records());
    }
}

TEST(DisplaysTest, renderer_of_two_displays_gets_two_runs_and_one_measurement) {
    const FakeTool tool(
        "display 5 0x1\n"
        "display 6 0x2\n"
        "renderer 0x3 0x20400 1048576\n");
    const Finished run = tool.run();
    EXPECT_TRUE(run.exited_with(0));
    EXPECT_EQ(run.out, golden_out(run.pid, 2,
                                  "found display 5 (1) renderer ID: 20400 VRAM: 1 MB\n"
                                  "found display 6 (2) renderer ID: 20400 VRAM: 1 MB\n"));
    const std::string head = of_run(run.pid, "{A}[{P}] testing renderer: 132096\n{A}[{P}] ");
    EXPECT_EQ(occurrences(run.err, head + "VERSION: 0.21\n"), 1u);
    EXPECT_EQ(occurrences(run.err, head + "UP TO DATE (version: 0.21 >= 0.21)\n"), 1u);
    EXPECT_EQ(occurrences(run.err, "supported: "), 16u);
    EXPECT_EQ(occurrences(run.err, "GL_VENDOR: Fake Vendor\n"), 2u);
    EXPECT_EQ(tool.records(), golden_records());
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
    const Values second = tool.records(app_id("2"));
    EXPECT_EQ(second.at("GL_RGBA8_RENDERABLE"), "false");
    EXPECT_EQ(second.at("GL_RGBA8_UPLOAD_SET"), "false");
    EXPECT_EQ(second.at("GL_VENDOR"), "\"Other\"");
    for (const char* other : {"1", "3"}) EXPECT_EQ(tool.records(app_id(other)), golden_records());
}

TEST(SetUpTest, failure_ends_the_process_with_1_and_a_message_without_line_feed) {
    const struct {
        std::string call;
        std::string arguments;
        const char* message;
    } rows[] = {{"CGLChoosePixelFormat", "({70, 132096, 0})", "*** cannot choose pixel format"},
                {"CGLCreateContext", "(pixel format 1, NULL)", "*** cannot create OpenGL context"},
                {"CGLGetVirtualScreen", "(context 1)", "*** cannot get virtual screen"},
                {"CGLCreatePBuffer", "(128, 128, GL_TEXTURE_2D, GL_RGBA, 0)",
                 "*** cannot create pixel buffer"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.call);
        const FakeTool tool(kOneRenderer + "fail " + row.call + " 10002\nlog\n");
        const Finished run = tool.run();
        EXPECT_TRUE(run.exited_with(1));
        EXPECT_EQ(run.err, of_run(run.pid,
                                  "{A}[{P}] testing renderer: 132096\n"
                                  "{A}[{P}] VERSION: 0.21\n") +
                               row.message);
        EXPECT_EQ(run.out, golden_out(run.pid));
        EXPECT_EQ(tool.calls().back(), row.call + row.arguments) << "nothing is released";
        EXPECT_EQ(tool.records(), (Values{{"VERSION", "0.20999999999999999"}}));
    }
}

}  // namespace
}  // namespace texprobe::tests
