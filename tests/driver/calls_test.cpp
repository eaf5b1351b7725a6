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

/// The calls from the synchronize after the provisional false of `key` to its verdict.
std::vector<std::string> calls_in_test(const FakeTool& tool, const std::string& key) {
    const std::vector<std::string> calls = calls_of(tool);
    const auto writesKey = [&](const std::string& line) {
        return line.rfind("CFPreferencesSetAppValue(" + key + ", ", 0) == 0;
    };
    const auto first = std::find_if(calls.begin(), calls.end(), writesKey);
    if (calls.end() - first < 2) return {};
    return std::vector<std::string>(first + 2, std::find_if(first + 1, calls.end(), writesKey));
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

TEST(CallsTest, without_framebuffer_objects_the_front_buffer_is_drawn_and_read) {
    const FakeTool tool(kOneRenderer + "string GL_EXTENSIONS GL_ARB_pixel_buffer_object\nlog\n");
    ASSERT_TRUE(tool.run().exited_with(0));
    const std::vector<std::string> calls = calls_of(tool);
    const auto check =
        std::find(calls.begin(), calls.end(), "gluCheckExtension(GL_ARB_pixel_buffer_object)");
    ASSERT_GE(calls.end() - check, 5);
    EXPECT_EQ(std::vector<std::string>(check + 1, check + 5),
              (std::vector<std::string>{
                  "glDrawBuffer(GL_FRONT)", "glReadBuffer(GL_FRONT)", "glViewport(0, 0, 128, 128)",
                  "CFPreferencesGetAppBooleanValue(GL_RGB32F_ARB_SUPPORTED, " + kAppID + ")"}));
}

TEST(CallsTest, renderable_asks_nothing_of_an_incomplete_target) {
    const FakeTool tool(kOneRenderer + "incomplete GL_RGBA8\nlog\n");
    ASSERT_TRUE(tool.run().exited_with(0));
    std::vector<std::string> expected = expected_calls(kFormats[7], "RENDERABLE", 0);
    expected.pop_back();
    EXPECT_EQ(calls_in_test(tool, "GL_RGBA8_RENDERABLE"), expected);
}

TEST(CallsTest, tests_that_cannot_run_touch_nothing) {
    const FakeTool tool(kOneRenderer + "string GL_EXTENSIONS GL_EXT_framebuffer_object\nlog\n");
    ASSERT_TRUE(tool.run().exited_with(0));
    for (const char* capability : {"UPLOAD_SET", "UPLOAD_RESET", "DOWNLOAD_GET", "DOWNLOAD_READ"}) {
        EXPECT_EQ(calls_in_test(tool, std::string("GL_RGBA8_") + capability),
                  std::vector<std::string>());
    }
}

TEST(CallsTest, every_renderer_gets_a_fresh_context_and_the_same_object_names) {
    const FakeTool tool(
        "display 1 0x1\n"
        "renderer 0x1 255 0\n"
        "renderer 0x1 256 0\n"
        "log\n");
    ASSERT_TRUE(tool.run().exited_with(0));
    const std::vector<std::string> calls = calls_of(tool);
    const auto position = [&](const std::string& call) {
        return std::find(calls.begin(), calls.end(), call) - calls.begin();
    };
    const std::ptrdiff_t destroyed = position("CGLDestroyContext(context 1)");
    const std::ptrdiff_t created = position("CGLCreateContext(pixel format 2, NULL)");
    EXPECT_LT(destroyed, created);
    EXPECT_LT(created, static_cast<std::ptrdiff_t>(calls.size()));
    const auto ofGl = [](std::vector<std::string>::const_iterator begin,
                         std::vector<std::string>::const_iterator end) {
        std::vector<std::string> result;
        std::copy_if(begin, end, std::back_inserter(result),
                     [](const std::string& call) { return call.compare(0, 2, "gl") == 0; });
        return result;
    };
    expect_same(ofGl(calls.begin() + created, calls.end()),
                ofGl(calls.begin(), calls.begin() + destroyed));
}

}  // namespace
}  // namespace texprobe::tests
