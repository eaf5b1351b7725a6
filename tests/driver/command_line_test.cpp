// The command line, and safe mode.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstring>

#include "doubles/fake_tool.h"
#include "golden.h"

namespace texprobe::tests {
namespace {

using Words = std::vector<std::string>;

std::string supervisor_banner(const Finished& run) {
    return "texprobe[" + std::to_string(run.pid) + "] safe mode testing...\n";
}

/// A process, as the line at the start of its calls says it.
struct Process {
    pid_t pid;
    std::string words;  ///< "WORDS | VARIABLES"
};

std::vector<Process> processes(const FakeTool& tool) {
    std::vector<Process> found;
    for (const std::string& line : tool.calls()) {
        if (line.compare(0, 8, "process ") != 0) continue;
        found.push_back({std::stoi(line.substr(8)), line.substr(line.find(' ', 8) + 1)});
    }
    return found;
}

TEST(CommandLineTest, no_argument_is_one_direct_run) {
    const FakeTool tool(kOneRenderer + "log\n");
    const Finished run = tool.run();
    EXPECT_TRUE(run.exited_with(0));
    const std::vector<Process> found = processes(tool);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].pid, run.pid);
    EXPECT_EQ(found[0].words, tool.path() + " | TEXPROBE_TEST=inherited");
}

TEST(CommandLineTest, other_arguments_print_the_usage_and_exit_with_1) {
    const FakeTool tool(kOneRenderer + "log\n");
    for (const Words& arguments : {Words{"-s"},
                                   {"--saf"},
                                   {""},
                                   {"--Safe"},
                                   {"-safe-"},
                                   {" --safe"},
                                   {"--safe", "--safe"},
                                   {"--safe", ""},
                                   {"a", "b", "c"}}) {
        SCOPED_TRACE(arguments[0]);
        const Finished run = tool.run(arguments, "some name");
        EXPECT_TRUE(run.exited_with(1));
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err, "Usage: some name [--safe]\n");
        EXPECT_EQ(tool.calls(), Words());
    }
}

TEST(CommandLineTest, six_characters_select_safe_mode) {
    for (const std::string argument : {"--safe", "--safeXYZ", "--safe mode", "--safe=no"}) {
        SCOPED_TRACE(argument);
        const FakeTool tool(kOneRenderer + "log\n");
        const Finished run = tool.run({argument});
        EXPECT_TRUE(run.exited_with(0));
        const std::vector<Process> found = processes(tool);
        ASSERT_EQ(found.size(), 2u);
        EXPECT_EQ(found[0].pid, run.pid);
        EXPECT_EQ(found[0].words, tool.path() + " " + argument + " | TEXPROBE_TEST=inherited");
        EXPECT_NE(found[1].pid, run.pid);
        EXPECT_EQ(found[1].words, tool.path() + " |") << "no other argument, no environment";
        // The banner is printed once.
        EXPECT_EQ(run.out, golden_out(found[1].pid) + supervisor_banner(run));
        const Words calls = tool.calls();
        EXPECT_EQ(std::count(calls.begin(), calls.end(), "fork()"), 1);
        EXPECT_EQ(std::count(calls.begin(), calls.end(), "waitpid(child, 2)"), 1) << "WUNTRACED";
        EXPECT_EQ(tool.records(), golden_records());
    }
}

// The other ways of dying, at any call, are tried in tests/crash.
TEST(SafeModeTest, death_is_followed_by_a_child_that_goes_on_behind_the_test) {
    for (const char* way : {"SIGSEGV", "exit(255)", "SIGSTOP"}) {
        SCOPED_TRACE(way);
        const FakeTool tool(kOneRenderer + "die " + way + " in GL_RGB8_UPLOAD_SET 5\nlog\n");
        const Finished run = tool.run({"--safe"});
        EXPECT_TRUE(run.exited_with(0));
        EXPECT_EQ(tool.has_stopped(), way == std::string("SIGSTOP"));
        Values expected = golden_records();
        expected["GL_RGB8_UPLOAD_SET"] = "false";
        EXPECT_EQ(tool.records(), expected);
        const std::vector<Process> found = processes(tool);
        ASSERT_EQ(found.size(), 3u);
        // From the last line of the first child on.
        const std::size_t second = run.err.find(
            of_run(found[2].pid, "Testing UPLOAD SET...\n{A}[{P}] testing renderer: 132096\n"));
        ASSERT_NE(second, std::string::npos);
        const Words rest = lines_of(run.err.substr(second));
        EXPECT_EQ(rest[2], of_run(found[2].pid, "{A}[{P}] UP TO DATE (version: 0.21 >= 0.21)"));
        EXPECT_EQ(rest[5], "Testing UPLOAD RESET...");
        EXPECT_EQ(rest[7], of_run(found[2].pid, "{A}[{P}] GL_RGB8 upload RESET: 1"));
        // What was stopped stays so.
        const Words calls = tool.calls();
        const std::string fill =
            "glBufferData(GL_PIXEL_UNPACK_BUFFER, 49152, NULL, GL_STREAM_DRAW)";
        EXPECT_EQ(std::count(calls.begin(), calls.end(), fill), 1) << "that of UPLOAD RESET";
    }
}

TEST(SafeModeTest, set_up_failure_that_repeats_keeps_it_starting_children) {
    const FakeTool tool(kOneRenderer + "fail CGLCreateContext 10004\n");
    const Finished run = tool.run_until(12, {"--safe"}, "");
    EXPECT_TRUE(WIFSIGNALED(run.status)) << "it has to be killed";
    const Words lines = lines_of(run.out);
    ASSERT_GE(lines.size(), 12u);
    std::string expected;
    for (const std::size_t line : {0u, 4u, 8u}) {
        expected += golden_out(std::stoi(lines[line].substr(std::strlen("texprobe["))));
    }
    EXPECT_EQ(run.out.substr(0, expected.size()), expected);
    EXPECT_NE(run.err.find("*** cannot create OpenGL context" + kAppID), std::string::npos);
}

TEST(SafeModeTest, program_that_cannot_be_run_repeats_the_buffered_banner_for_each_child) {
    for (const char* program : {"/nonexistent/texprobe", "texprobe"}) {
        const FakeTool tool(kOneRenderer);
        const Finished run = tool.run_until(5, {"--safe"}, program);
        EXPECT_TRUE(WIFSIGNALED(run.status)) << "it has to be killed";
        EXPECT_GE(run.out.size(), 5 * supervisor_banner(run).size());
        for (const std::string& line : lines_of(run.out)) {
            EXPECT_EQ(line + "\n", supervisor_banner(run));
        }
        EXPECT_EQ(run.err, "");
    }
}

TEST(SafeModeTest, failed_system_call_ends_it_with_1) {
    const std::pair<std::string, std::string> failures[] = {
        {"fail fork 11", "fork() failed : Resource temporarily unavailable (11)"},
        {"die SIGKILL in GL_RGB8_SUPPORTED 1\nfail fork 12 2",
         "fork() failed : Cannot allocate memory (12)"},
        {"fail waitpid 10", "waitpid() failed : No child processes (10)"}};
    for (const auto& [order, message] : failures) {
        const FakeTool tool(kOneRenderer + order + "\n");
        const Finished run = tool.run({"--safe"});
        EXPECT_TRUE(run.exited_with(1)) << order;
        // A child that nobody waits for goes on printing.
        EXPECT_NE(run.err.find(of_run(run.pid, "texprobe[{P}] *** " + message + "\n")),
                  std::string::npos)
            << run.err;
    }
}

std::string padded(const std::string& path, std::size_t length) {
    return std::string(length - path.size(), '/') + path;
}

TEST(SafeModeTest, path_of_1023_bytes_is_the_longest) {
    const FakeTool tool(kOneRenderer + "log\n");
    for (const std::size_t length : {1024u, 1025u, 3000u}) {
        const Finished run = tool.run({"--safe"}, padded(tool.path(), length));
        EXPECT_TRUE(run.exited_with(1));
        EXPECT_EQ(run.out, supervisor_banner(run));
        EXPECT_EQ(run.err, of_run(run.pid, "texprobe[{P}] *** path too long : " +
                                               std::to_string(length) + " bytes, at most 1023\n"));
        EXPECT_EQ(tool.calls(), Words());
    }
    EXPECT_TRUE(tool.run({"--safe"}, padded(tool.path(), 1023)).exited_with(0));
    EXPECT_EQ(tool.records(), golden_records());
    EXPECT_TRUE(tool.run({}, padded(tool.path(), 2000)).exited_with(0)) << "any for a direct run";
}

}  // namespace
}  // namespace texprobe::tests
