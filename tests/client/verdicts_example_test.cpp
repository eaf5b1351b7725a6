// The example with a window: its output.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "display_servers.h"
#include "support/tool_folder.h"

namespace texprobe::tests {
namespace {

using testing::HasSubstr;

class VerdictsExample : public testing::Test {
protected:
    void SetUp() override {
        if (!XServer().runs()) GTEST_SKIP() << "Xvfb does not run here";
    }

    /// The folder's "tool" is the example, which keeps its records beside itself.
    Finished run(const std::vector<std::string>& arguments) const {
        // It ends with its client.
        const XServer server;
        return folder_.run(
            arguments, {server.environment().at(0), "XDG_RUNTIME_DIR=" + folder_.path().string(),
                        "PATH=/nowhere"});
    }

    const ToolFolder folder_{EXAMPLE};
};

TEST_F(VerdictsExample, prints_the_table_with_a_core_profile) {
    // Beside the example, so that both use the same records.
    const std::string tool = folder_.path() / "tool";
    std::filesystem::copy_file(TOOL, tool);
    std::filesystem::copy_file(SURVEY, folder_.path() / "texprobe-survey");
    for (const std::string& path : {tool, std::string("/no/such/tool")}) {
        const Finished finished = run({path});
        EXPECT_TRUE(finished.exited_with(0)) << finished.err;
        EXPECT_EQ(finished.err, "");
        const auto all = lines_of(finished.out);
        ASSERT_EQ(all.size(), 19u);
        EXPECT_THAT(all[0], HasSubstr("llvmpipe"));
        EXPECT_EQ(
            all[2],
            "                            create   render      set    reset      get     read");
        EXPECT_EQ(
            all[6],
            "GL_RGBA8                       yes      yes      yes      yes      yes      yes");
    }
}

TEST_F(VerdictsExample, prints_why_there_are_no_verdicts) {
    const Finished finished = run({"/no/such/tool"});
    EXPECT_TRUE(finished.exited_with(1));
    EXPECT_EQ(finished.err, "texverdicts: \"/no/such/texprobe-survey\" was not found\n");
}

TEST_F(VerdictsExample, finds_what_it_runs_beside_it) {
    folder_.write_program("texprobe-survey", "echo it was I >&2");
    const Finished finished = run({});
    // A survey that records nothing.
    EXPECT_TRUE(finished.exited_with(1));
    EXPECT_THAT(finished.err, HasSubstr("no core context of this machine's renderers is"));
}

}  // namespace
}  // namespace texprobe::tests
