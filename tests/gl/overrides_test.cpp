// With Mesa's variables that change what the software renderer offers, the tool measures another
// renderer.

#include <gtest/gtest.h>

#include <string>

#include "support/tool_folder.h"

namespace texprobe::tests {
namespace {

class Overrides : public testing::TestWithParam<const char*> {
protected:
    const ToolFolder folder_{TOOL};
};

TEST_P(Overrides, leave_the_plain_renderer_s_records_alone) {
    ASSERT_TRUE(folder_.run().exited_with(0));
    const RecordSets plain = folder_.records();

    // Its end is not looked at: with GALLIUM_NOOP, Mesa 25.0 crashes after the last verdict.
    folder_.run({}, {GetParam()});
    RecordSets both = folder_.records();
    EXPECT_EQ(both.size(), 2 * plain.size());
    for (const auto& [application, records] : plain) {
        EXPECT_EQ(both[application], records) << application;
        both.erase(application);
    }
    for (const auto& [application, records] : both) EXPECT_NE(records, plain.begin()->second);
}

TEST_P(Overrides, are_not_seen_by_safe_mode_s_children) {
    const ToolFolder plain(TOOL);
    ASSERT_TRUE(plain.run().exited_with(0));
    ASSERT_TRUE(folder_.run({"--safe"}, {GetParam()}).exited_with(0));
    EXPECT_EQ(folder_.records(), plain.records());
}

INSTANTIATE_TEST_SUITE_P(OfMesa, Overrides,
                         testing::Values("MESA_EXTENSION_OVERRIDE=-GL_EXT_framebuffer_object",
                                         "MESA_GL_VERSION_OVERRIDE=2.1", "GALLIUM_NOOP=1",
                                         "LP_NATIVE_VECTOR_WIDTH=128"),
                         [](const auto& variable) {
                             const std::string text = variable.param;
                             return text.substr(0, text.find('='));
                         });

}  // namespace
}  // namespace texprobe::tests
