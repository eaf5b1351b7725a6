// The example application: its whole output.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include "ctl/terminal_run.h"
#include "support/formats.h"
#include "support/tool_folder.h"

namespace texprobe::tests {
namespace {

using testing::EndsWith;
using testing::HasSubstr;

std::string right_aligned(const std::string& text, std::size_t visibleWidth) {
    return std::string(9 - visibleWidth, ' ') + text;
}

class Example : public testing::Test {
protected:
    Example() { std::filesystem::copy_file(EXAMPLE, program()); }

    std::filesystem::path program() const { return folder_.path() / "texformats"; }

    /// With a session folder without a Wayland socket. If that variable is not set, GLFW 3.4 lets
    /// Wayland's library print an error.
    Environment environment(Environment variables) const {
        variables.push_back("XDG_RUNTIME_DIR=" + folder_.path().string());
        return variables;
    }
    Finished run(const std::vector<std::string>& arguments = {},
                 const Environment& variables = {}) const {
        return tests::run({program(), arguments, environment(variables)});
    }

    /// What a person sees of the records of an earlier run.
    std::string run_on_terminal(const std::string& variable) const {
        const Finished finished = TerminalRun(program(), {}, environment({variable})).finish();
        EXPECT_TRUE(finished.exited_with(0)) << finished.status;
        return finished.out;
    }

    /// The table of the recorded verdicts.
    std::string table(bool isColoured) const {
        const RecordSets sets = folder_.records();
        EXPECT_EQ(sets.size(), 1u);
        const Records& records = sets.begin()->second;
        std::string text = records.at("GL_RENDERER").substr(std::string("string ").size()) + "\n\n";
        text += "                            create   render      set    reset      get     read\n";
        for (const std::string format : kNamesForApplications) {
            text += format + std::string(25 - format.size(), ' ');
            for (const char* capability : kCapabilities) {
                const bool verdict = records.at(format + "_" + capability) == "boolean 1";
                if (isColoured) {
                    text += right_aligned(verdict ? "\033[32m✓\033[0m" : "\033[31m✗\033[0m", 1);
                } else {
                    text += verdict ? right_aligned("yes", 3) : right_aligned("no", 2);
                }
            }
            text += '\n';
        }
        return text;
    }

    const ToolFolder folder_{TOOL};
};

TEST_F(Example, measures_once_with_the_tool_beside_it_and_prints_the_table) {
    const Finished first = run();
    EXPECT_THAT(first.out, EndsWith(table(false)));
    EXPECT_THAT(first.out, HasSubstr("] testing...\n"));
    EXPECT_TRUE(first.exited_with(0));
    const Finished second = run();
    EXPECT_EQ(second.out, table(false));
    EXPECT_EQ(second.err, "");
    EXPECT_TRUE(second.exited_with(0));
}

TEST_F(Example, measures_once_in_each_of_two_environments_that_take_turns) {
    for (const bool isMeasured : {true, false}) {
        for (const Environment& variables :
             {Environment(), Environment{"MESA_GL_VERSION_OVERRIDE=2.1"}}) {
            const Finished finished = run({}, variables);
            EXPECT_TRUE(finished.exited_with(0));
            EXPECT_EQ(finished.out.find("] testing...\n") != std::string::npos, isMeasured);
        }
    }
}

TEST_F(Example, prints_ticks_and_crosses_on_a_terminal_of_who_does_not_refuse_colour) {
    folder_.run();
    EXPECT_EQ(run_on_terminal("TERM=dumb"), table(true));
    EXPECT_EQ(run_on_terminal("NO_COLOR=1"), table(false));
    // An empty value does not count.
    EXPECT_EQ(run_on_terminal("NO_COLOR="), table(true));
}

TEST_F(Example, takes_the_path_of_a_tool) {
    const Finished finished = run({"/no/such/tool"});
    EXPECT_THAT(finished.err, EndsWith(": /no/such/tool: not found\n"
                                       "Running texprobe failed\n"
                                       "*** texprobe() failed\n"
                                       "unsupported texture format: 0x8058\n"));
    EXPECT_EQ(finished.out, "");
    EXPECT_TRUE(finished.exited_with(1));
}

TEST_F(Example, says_how_it_is_used) {
    const std::vector<std::string> rows[] = {{"--help"}, {"one", "two"}, {"-x"}};
    for (const auto& arguments : rows) {
        const Finished finished = run(arguments);
        EXPECT_EQ(finished.err, "Usage: " + program().string() + " [TOOL]\n");
        EXPECT_TRUE(finished.exited_with(1));
    }
}

}  // namespace
}  // namespace texprobe::tests
