// The command line, and safe mode.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>

#include <algorithm>

#include "doubles/fake_tool.h"
#include "golden.h"

namespace texprobe::tests {
namespace {

using Words = std::vector<std::string>;

std::string supervisor_banner(const Finished& run) {
    return "texprobe[" + std::to_string(run.pid) + "] safe mode testing...\n";
}

/// The output of a child that has measured kOneRenderer completely.
std::string child_out(const std::string& pid) {
    return filled(
        "texprobe[{P}] testing...\n"
        "org.texprobe.texprobe2[{P}] testing...\n"
        "org.texprobe.texprobe2[{P}] found 1 displays:\n"
        "found display 1 (1) renderer ID: 20400 VRAM: 256 MB\n",
        {{"P", pid}});
}

/// The lines at the start of each process's calls: "process PID WORDS | VARIABLES".
Words processes(const FakeTool& tool) {
    Words lines = tool.calls();
    lines.erase(
        std::remove_if(lines.begin(), lines.end(),
                       [](const std::string& line) { return line.compare(0, 8, "process ") != 0; }),
        lines.end());
    return lines;
}

std::string pid_of(const std::string& processLine) {
    return processLine.substr(8, processLine.find(' ', 8) - 8);
}

TEST(CommandLineTest, no_argument_is_one_direct_run) {
    const FakeTool tool(kOneRenderer + "log\n");
    const Finished run = tool.run();
    EXPECT_TRUE(run.exited_with(0));
    EXPECT_EQ(processes(tool), (Words{"process " + std::to_string(run.pid) + " " + tool.path() +
                                      " | TEXPROBE_TEST=inherited"}));
    EXPECT_EQ(run.out, child_out(std::to_string(run.pid)));
}

class UsageTest : public testing::TestWithParam<Words> {};

TEST_P(UsageTest, other_arguments_print_the_usage_and_exit_with_1) {
    const FakeTool tool(kOneRenderer + "log\n");
    const Finished run = tool.run(GetParam());
    EXPECT_TRUE(run.exited_with(1));
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err, "Usage: " + tool.path() + " [--safe]\n");
    EXPECT_EQ(tool.calls(), Words());
}

INSTANTIATE_TEST_SUITE_P(Wrong, UsageTest,
                         testing::Values(Words{"-s"}, Words{"--saf"}, Words{""}, Words{"--Safe"},
                                         Words{"-safe-"}, Words{" --safe"},
                                         Words{"--safe", "--safe"}, Words{"--safe", ""},
                                         Words{"a", "b", "c"}));

TEST(CommandLineTest, usage_names_the_program_as_it_was_called) {
    const FakeTool tool(kOneRenderer);
    EXPECT_EQ(tool.run({"--help"}, "some name").err, "Usage: some name [--safe]\n");
}

class SafeArgumentTest : public testing::TestWithParam<const char*> {};

TEST_P(SafeArgumentTest, six_characters_select_safe_mode) {
    const FakeTool tool(kOneRenderer);
    const Finished run = tool.run({GetParam()});
    EXPECT_TRUE(run.exited_with(0));
    EXPECT_NE(run.out.find(supervisor_banner(run)), std::string::npos);
    EXPECT_EQ(tool.records(), golden_records());
}

INSTANTIATE_TEST_SUITE_P(Prefix, SafeArgumentTest,
                         testing::Values("--safe", "--safeXYZ", "--safe mode", "--safe=no"));

TEST(SafeModeTest, child_has_an_empty_environment_and_the_path_as_its_only_argument) {
    const FakeTool tool(kOneRenderer + "log\n");
    const Finished run = tool.run({"--safe"});
    EXPECT_TRUE(run.exited_with(0));
    const Words lines = processes(tool);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0], "process " + std::to_string(run.pid) + " " + tool.path() +
                            " --safe | TEXPROBE_TEST=inherited");
    EXPECT_EQ(lines[1], "process " + pid_of(lines[1]) + " " + tool.path() + " |");
    EXPECT_NE(pid_of(lines[0]), pid_of(lines[1]));
}

TEST(SafeModeTest, clean_child_ends_the_supervisor_and_the_banner_is_printed_once) {
    const FakeTool tool(kOneRenderer + "log\n");
    const Finished run = tool.run({"--safe"});
    EXPECT_TRUE(run.exited_with(0));
    EXPECT_EQ(run.out, child_out(pid_of(processes(tool).at(1))) + supervisor_banner(run));
    const Words calls = tool.calls();
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "fork()"), 1);
    EXPECT_EQ(std::count(calls.begin(), calls.end(), "waitpid(child, 2)"), 1) << "WUNTRACED";
}

TEST(SafeModeTest, direct_run_reads_the_records_that_safe_mode_wrote) {
    const FakeTool tool(kOneRenderer);
    ASSERT_TRUE(tool.run({"--safe"}).exited_with(0));
    const Finished run = tool.run();
    EXPECT_NE(run.err.find("UP TO DATE"), std::string::npos);
    EXPECT_EQ(run.err.find("supported:"), std::string::npos);
}

class DeathTest : public testing::TestWithParam<const char*> {};

TEST_P(DeathTest, is_followed_by_a_child_that_goes_on_behind_the_test) {
    const FakeTool tool(kOneRenderer + "die " + GetParam() + " in GL_RGB8_UPLOAD_SET 5\nlog\n");
    const Finished run = tool.run({"--safe"});
    EXPECT_FALSE(run.hung);
    EXPECT_TRUE(run.exited_with(0));
    Values expected = golden_records();
    expected["GL_RGB8_UPLOAD_SET"] = "false";
    EXPECT_EQ(tool.records(), expected);
    const Words lines = processes(tool);
    ASSERT_EQ(lines.size(), 3u);
    const std::string child = kAppID + "[" + pid_of(lines[2]) + "] ";
    const std::size_t second = run.err.find(child + "testing renderer: 132096\n");
    ASSERT_NE(second, std::string::npos);
    EXPECT_EQ(run.err.compare(second - 22, 22, "Testing UPLOAD SET...\n"), 0)
        << "the last line of the first child";
    const Words rest = lines_of(run.err.substr(second));
    EXPECT_EQ(rest[1], child + "UP TO DATE (version: 0.21 >= 0.21)");
    EXPECT_EQ(rest[4], "Testing UPLOAD RESET...");
    EXPECT_EQ(rest[6], child + "GL_RGB8 upload RESET: 1");
}

INSTANTIATE_TEST_SUITE_P(Ways, DeathTest,
                         testing::Values("SIGSEGV", "SIGABRT", "SIGBUS", "SIGKILL", "_exit(1)",
                                         "exit(255)", "SIGSTOP"),
                         [](const auto& test) {
                             std::string name = test.param;
                             std::replace_if(
                                 name.begin(), name.end(),
                                 [](char c) { return c == '(' || c == ')'; }, '_');
                             return name;
                         });

TEST(SafeModeTest, stopped_child_stays_stopped_while_the_next_one_works) {
    const FakeTool tool(kOneRenderer + "die SIGSTOP in GL_RGB8_UPLOAD_SET 5\nlog\n");
    EXPECT_TRUE(tool.run({"--safe"}).exited_with(0));
    EXPECT_TRUE(tool.has_stopped());
    const Words calls = tool.calls();
    const std::string fill = "glBufferData(GL_PIXEL_UNPACK_BUFFER, 49152, NULL, GL_STREAM_DRAW)";
    EXPECT_EQ(std::count(calls.begin(), calls.end(), fill), 1) << "that of UPLOAD RESET";
}

TEST(SafeModeTest, set_up_failure_that_repeats_keeps_it_starting_children) {
    const FakeTool tool(kOneRenderer + "fail CGLCreateContext 10004\n");
    const Finished run = tool.run_until(12, {"--safe"}, "");
    EXPECT_TRUE(WIFSIGNALED(run.status)) << "it has to be killed";
    const Words lines = lines_of(run.out);
    ASSERT_GE(lines.size(), 12u);
    for (std::size_t child = 0; child < 3; ++child) {
        const std::string& first = lines[4 * child];
        const std::string pid = first.substr(9, first.find(']') - 9);
        EXPECT_EQ(lines_of(child_out(pid)),
                  Words(lines.begin() + static_cast<std::ptrdiff_t>(4 * child),
                        lines.begin() + static_cast<std::ptrdiff_t>(4 * child + 4)));
    }
    EXPECT_NE(run.err.find("*** cannot create OpenGL context" + kAppID), std::string::npos);
}

class ExecFailureTest : public testing::TestWithParam<const char*> {};

TEST_P(ExecFailureTest, repeats_the_buffered_banner_for_each_child) {
    const FakeTool tool(kOneRenderer);
    const Finished run = tool.run_until(5, {"--safe"}, GetParam());
    EXPECT_TRUE(WIFSIGNALED(run.status)) << "it has to be killed";
    EXPECT_GE(run.out.size(), 5 * supervisor_banner(run).size());
    for (const std::string& line : lines_of(run.out)) {
        EXPECT_EQ(line + "\n", supervisor_banner(run));
    }
    EXPECT_EQ(run.err, "");
}

INSTANTIATE_TEST_SUITE_P(Programs, ExecFailureTest,
                         testing::Values("/nonexistent/texprobe", "texprobe"),
                         [](const auto& test) {
                             return std::string(test.index == 0 ? "missing" : "no_directory_part");
                         });

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
        const std::string line = "texprobe[" + std::to_string(run.pid) + "] *** " + message + "\n";
        EXPECT_NE(run.err.find(line), std::string::npos) << run.err;
    }
}

std::string padded(const std::string& path, std::size_t length) {
    return std::string(length - path.size(), '/') + path;
}

TEST(SafeModeTest, path_of_1023_bytes_is_accepted) {
    const FakeTool tool(kOneRenderer);
    EXPECT_TRUE(tool.run({"--safe"}, padded(tool.path(), 1023)).exited_with(0));
    EXPECT_EQ(tool.records(), golden_records());
}

class LongPathTest : public testing::TestWithParam<std::size_t> {};

TEST_P(LongPathTest, is_refused) {
    const FakeTool tool(kOneRenderer + "log\n");
    const Finished run = tool.run({"--safe"}, padded(tool.path(), GetParam()));
    EXPECT_TRUE(run.exited_with(1));
    EXPECT_EQ(run.out, supervisor_banner(run));
    EXPECT_EQ(run.err, "texprobe[" + std::to_string(run.pid) + "] *** path too long : " +
                           std::to_string(GetParam()) + " bytes, at most 1023\n");
    EXPECT_EQ(tool.calls(), Words());
}

INSTANTIATE_TEST_SUITE_P(Lengths, LongPathTest, testing::Values(1024, 1025, 3000));

TEST(CommandLineTest, path_of_any_length_is_good_for_a_direct_run) {
    const FakeTool tool(kOneRenderer);
    EXPECT_TRUE(tool.run({}, padded(tool.path(), 2000)).exited_with(0));
}

}  // namespace
}  // namespace texprobe::tests
