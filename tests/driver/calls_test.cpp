// The order and the arguments of every call of a renderer run and of each of the six tests.

#include <gtest/gtest.h>

#include <algorithm>

#include "doubles/fake_tool.h"
#include "golden.h"

namespace texprobe::tests {
namespace {

/// The calls of the first process.
std::vector<std::string> calls_of(const FakeTool& tool) {
    std::vector<std::string> calls = tool.calls();
    if (!calls.empty()) calls.erase(calls.begin());
    return calls;
}

/// Compares long lists and reports the first line that differs.
void expect_same(std::vector<std::string> actual, std::vector<std::string> expected) {
    actual.emplace_back("(the end)");
    expected.emplace_back("(the end)");
    for (std::size_t i = 0; i < std::min(actual.size(), expected.size()); ++i) {
        ASSERT_EQ(actual[i], expected[i]) << "at call " << i + 1;
    }
}

TEST(CallsTest, first_run_makes_exactly_these_calls) {
    const FakeTool tool(kOneRenderer + "log\n");
    ASSERT_TRUE(tool.run().exited_with(0));
    expect_same(calls_of(tool), golden_first_run());
}

TEST(CallsTest, second_run_sets_up_a_context_and_makes_no_test_call) {
    FakeTool tool(kOneRenderer);
    ASSERT_TRUE(tool.run().exited_with(0));
    tool.set_script(kOneRenderer + "log\n");
    ASSERT_TRUE(tool.run().exited_with(0));
    expect_same(calls_of(tool), golden_second_run());
}

/// After the first `common` ones, the calls of a run with that order are others than usual.
void expect_other_calls(const std::string& order, unsigned common,
                        const std::vector<std::string>& others) {
    const FakeTool tool(kOneRenderer + order + "\nlog\n");
    ASSERT_TRUE(tool.run().exited_with(0));
    std::vector<std::string> expected = golden_first_run();
    expected.resize(common);
    expected.insert(expected.end(), others.begin(), others.end());
    std::vector<std::string> calls = calls_of(tool);
    calls.resize(expected.size());
    expect_same(calls, expected);
}

TEST(CallsTest, without_framebuffer_objects_the_front_buffer_is_drawn_and_read) {
    expect_other_calls(
        "string GL_EXTENSIONS GL_ARB_pixel_buffer_object",
        golden_call("gluCheckExtension(GL_ARB_pixel_buffer_object)"),
        {"glDrawBuffer(GL_FRONT)", "glReadBuffer(GL_FRONT)", "glViewport(0, 0, 128, 128)",
         "CFPreferencesGetAppBooleanValue(GL_RGB32F_ARB_SUPPORTED, " + kAppID + ")"});
}

TEST(CallsTest, renderable_asks_nothing_of_an_incomplete_target) {
    // Neither the query before the verdict nor that verdict.
    expect_other_calls("incomplete GL_RGBA8", golden_call("(GL_RGBA8_RENDERABLE, true, ") - 2,
                       {"CFPreferencesSetAppValue(GL_RGBA8_RENDERABLE, false, " + kAppID + ")"});
}

TEST(CallsTest, every_renderer_gets_a_fresh_context_and_the_same_object_names) {
    const FakeTool tool("display 1 1\nrenderer 1 255 0\nrenderer 1 256 0\nlog\n");
    ASSERT_TRUE(tool.run().exited_with(0));
    std::vector<std::string> ofGl;
    std::vector<std::string> ofContexts;
    for (const std::string& call : calls_of(tool)) {
        if (call.compare(0, 2, "gl") == 0) ofGl.push_back(call);
        if (call.find("CreateContext") != std::string::npos ||
            call.find("DestroyContext") != std::string::npos)
            ofContexts.push_back(call);
    }
    std::vector<std::string> expected;
    for (int renderer = 0; renderer < 2; ++renderer) {
        for (const std::string& call : golden_first_run()) {
            if (call.compare(0, 2, "gl") == 0) expected.push_back(call);
        }
    }
    expect_same(ofGl, expected);
    EXPECT_EQ(ofContexts,
              (std::vector<std::string>{
                  "CGLCreateContext(pixel format 1, NULL)", "CGLDestroyContext(context 1)",
                  "CGLCreateContext(pixel format 2, NULL)", "CGLDestroyContext(context 2)"}));
}

}  // namespace
}  // namespace texprobe::tests
