// The example application: its whole output.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>

#include "support/tool_folder.h"

namespace texprobe::tests {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

const std::array<const char*, 16> kFormatNames = {
    "GL_LUMINANCE8",       "GL_LUMINANCE8_ALPHA8",      "GL_RGB8",       "GL_RGBA8",
    "GL_LUMINANCE16",      "GL_LUMINANCE16_ALPHA16",    "GL_RGB16",      "GL_RGBA16",
    "GL_LUMINANCE16F_ARB", "GL_LUMINANCE_ALPHA16F_ARB", "GL_RGB16F_ARB", "GL_RGBA16F_ARB",
    "GL_LUMINANCE32F_ARB", "GL_LUMINANCE_ALPHA32F_ARB", "GL_RGB32F_ARB", "GL_RGBA32F_ARB"};
const std::array<const char*, 6> kKeyEndings = {"_SUPPORTED",    "_RENDERABLE",   "_UPLOAD_SET",
                                                "_UPLOAD_RESET", "_DOWNLOAD_GET", "_DOWNLOAD_READ"};

std::string right_aligned(const std::string& text, std::size_t visibleWidth) {
    std::string result(9 - visibleWidth, ' ');
    result += text;
    return result;
}

/// A container may have no terminals.
bool has_terminals() {
    int ends[2];
    if (openpty(&ends[0], &ends[1], nullptr, nullptr, nullptr) != 0) return false;
    for (const int end : ends) close(end);
    return true;
}

class Example : public testing::Test {
protected:
    Example() { std::filesystem::copy_file(EXAMPLE, program()); }

    std::filesystem::path program() const { return folder_.path() / "texformats"; }

    /// A session folder without a Wayland socket. If the variable is not set, GLFW 3.4 lets
    /// Wayland's library print an error.
    std::string session() const { return "XDG_RUNTIME_DIR=" + folder_.path().string(); }

    /// Runs the example with shell words as arguments in an environment of `variables`. Returns its
    /// output and standard error together.
    std::string run(const std::string& arguments, const std::string& variables = "") {
        std::string command = "env -i '" + session() + "' " + variables + " '";
        command += program();
        command += "' " + arguments;
        const Finished finished = tests::run({"sh", {"-c", command}});
        status_ = finished.status;
        return finished.out + finished.err;
    }

    /// Runs it on a terminal and returns what a person would see, with colours.
    std::string run_on_terminal(const char* variable) {
        int terminal = -1;
        const std::string folder = session();
        const pid_t process = forkpty(&terminal, nullptr, nullptr, nullptr);
        if (process == 0) {
            execle(program().c_str(), program().c_str(), nullptr,
                   std::array<const char*, 3>{variable, folder.c_str(), nullptr}.data());
            _exit(127);
        }
        std::string text = read_all(terminal);
        close(terminal);
        waitpid(process, &status_, 0);
        // The terminal's own line ends.
        for (std::size_t at = 0; (at = text.find('\r')) != std::string::npos;) text.erase(at, 1);
        return text;
    }

    /// The table of the recorded verdicts.
    std::string table(bool colour) const {
        const RecordSets sets = folder_.records();
        EXPECT_EQ(sets.size(), 1u);
        const Records& records = sets.begin()->second;
        std::string text = records.at("GL_RENDERER").substr(std::string("string ").size()) + "\n\n";
        text += "                            create   render      set    reset      get     read\n";
        for (const std::string format : kFormatNames) {
            text += format + std::string(25 - format.size(), ' ');
            for (const char* capability : kKeyEndings) {
                const bool verdict = records.at(format + capability) == "boolean 1";
                if (colour) {
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
    int status_ = -1;
};

TEST_F(Example, measures_once_with_the_tool_beside_it_and_prints_the_table) {
    const std::string first = run("2>/dev/null");
    EXPECT_THAT(first, EndsWith(table(false)));
    EXPECT_THAT(first, HasSubstr("] testing...\n"));
    EXPECT_EQ(status_, 0);
    EXPECT_EQ(run("2>&1"), table(false));
    EXPECT_EQ(status_, 0);
}

TEST_F(Example, measures_once_in_each_of_two_environments_that_take_turns) {
    const std::string other = "MESA_GL_VERSION_OVERRIDE=2.1";
    EXPECT_THAT(run("2>&1"), HasSubstr("] testing...\n"));
    EXPECT_THAT(run("2>&1", other), HasSubstr("] testing...\n"));
    EXPECT_THAT(run("2>&1"), Not(HasSubstr("testing")));
    EXPECT_THAT(run("2>&1", other), Not(HasSubstr("testing")));
    EXPECT_EQ(status_, 0);
}

TEST_F(Example, prints_ticks_and_crosses_in_colour_on_a_terminal) {
    if (!has_terminals()) GTEST_SKIP() << "no pseudo-terminal can be had";
    folder_.run();
    EXPECT_EQ(run_on_terminal("TERM=dumb"), table(true));
    EXPECT_EQ(status_, 0);
}

TEST_F(Example, prints_words_on_a_terminal_of_who_wants_no_colour) {
    if (!has_terminals()) GTEST_SKIP() << "no pseudo-terminal can be had";
    folder_.run();
    EXPECT_EQ(run_on_terminal("NO_COLOR=1"), table(false));
    // An empty value does not count.
    EXPECT_EQ(run_on_terminal("NO_COLOR="), table(true));
}

TEST_F(Example, takes_the_path_of_a_tool) {
    EXPECT_THAT(run("/no/such/tool 2>&1"), EndsWith(": /no/such/tool: not found\n"
                                                    "Running texprobe failed\n"
                                                    "*** texprobe() failed\n"
                                                    "unsupported texture format: 0x8058\n"));
    EXPECT_EQ(WEXITSTATUS(status_), 1);
}

TEST_F(Example, says_how_it_is_used) {
    std::string usage = "Usage: ";
    usage += program();
    usage += " [TOOL]\n";
    for (const char* arguments : {"--help 2>&1", "one two 2>&1", "-x 2>&1"}) {
        EXPECT_EQ(run(arguments), usage);
        EXPECT_EQ(WEXITSTATUS(status_), 1);
    }
}

}  // namespace
}  // namespace texprobe::tests
