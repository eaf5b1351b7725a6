// The parts that a child of texprobectl is run with: the child, the signals that stop it, and the
// folder that goes with it. And where the tool is found.

#include "process/child.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>

#include "measure/find_program.h"
#include "process/private_folder.h"
#include "process/stop_signals.h"
#include "support/tool_folder.h"

namespace texprobe::tests {
namespace {

using namespace std::chrono_literals;
using ctl::describe_failure;
using testing::ElementsAre;

class ChildOfShell : public testing::Test {
protected:
    /// A program that gets a child's arguments, and does what `script` says.
    RunEnd run(const std::string& script, std::chrono::seconds limit = 60s) {
        const auto file = folder_.path() / "program";
        write_file(file, "#!/bin/sh\n" + script + '\n');
        std::filesystem::permissions(file, std::filesystem::perms::owner_all);
        return ctl::run_child({file, "task", {"one", "two"}, limit, [&](Stream, auto text) {
                                   lines_.emplace_back(text);
                                   if (text == "stop") raise(SIGTERM);
                                   return text == "step";
                               }});
    }

    ctl::PrivateFolder folder_;
    std::vector<std::string> lines_;
};

TEST_F(ChildOfShell, gets_the_hidden_word_its_task_and_the_arguments) {
    EXPECT_EQ(describe_failure(run("echo $*"), 60s), "");
    EXPECT_THAT(lines_, ElementsAre("--as-child task one two"));
}

TEST_F(ChildOfShell, that_fails_is_said_in_one_clause) {
    EXPECT_EQ(describe_failure(run("exit 3"), 60s), "ended with status 3");
    EXPECT_EQ(describe_failure(run("kill -SEGV $$"), 60s), "was ended by SIGSEGV");
    EXPECT_EQ(describe_failure(run("sleep 30", 1s), 1s), "did not end within 1 s");
    const RunEnd end = ctl::run_child({folder_.file("nothing"), "task", {}, 1s, {}});
    EXPECT_EQ(describe_failure(end, 1s), "could not be started: No such file or directory");
}

TEST_F(ChildOfShell, ends_when_a_signal_stops_its_parent) {
    const ctl::StopSignals stopSignals;
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_THROW(run("echo stop; exec sleep 30"), ctl::Interrupted);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 20s);
}

TEST(StopSignals, leave_the_actions_as_they_were_and_are_forgotten) {
    struct sigaction before = {};
    sigaction(SIGINT, nullptr, &before);
    {
        const ctl::StopSignals stopSignals;
        raise(SIGINT);
        EXPECT_EQ(ctl::StopSignals::received(), SIGINT);
    }
    struct sigaction after = {};
    sigaction(SIGINT, nullptr, &after);
    EXPECT_EQ(after.sa_handler, before.sa_handler);
    EXPECT_EQ(ctl::StopSignals::received(), 0);
}

TEST(StopSignals, do_not_hear_what_is_ignored) {
    signal(SIGHUP, SIG_IGN);
    const ctl::StopSignals stopSignals;
    raise(SIGHUP);
    EXPECT_EQ(ctl::StopSignals::received(), 0);
    signal(SIGHUP, SIG_DFL);
}

TEST(PrivateFolder, is_for_its_owner_and_goes_with_what_is_in_it) {
    std::filesystem::path path;
    {
        const ctl::PrivateFolder folder;
        path = folder.path();
        struct stat status = {};
        ASSERT_EQ(stat(path.c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 0777, 0700u);
        write_file(folder.file("a"), "bytes");
        std::filesystem::create_directory(folder.file("b"));
    }
    EXPECT_FALSE(std::filesystem::exists(path));
}

class SearchForTool : public testing::Test {
protected:
    SearchForTool() {
        for (const char* name : {"relative", "absolute"}) {
            std::filesystem::create_directory(folder_.file(name));
            std::filesystem::copy_file("/bin/true", folder_.file(name) / "texprobe");
        }
        std::filesystem::current_path(folder_.path());
    }
    ~SearchForTool() override {
        std::filesystem::current_path("/");
        setenv("PATH", path_.c_str(), 1);
    }

    static std::string find_with(const std::string& path) {
        setenv("PATH", path.c_str(), 1);
        return ctl::find_program("", "texprobe");
    }

    const std::string path_ = std::getenv("PATH");
    const ctl::PrivateFolder folder_;
};

TEST_F(SearchForTool, passes_over_relative_folders_of_the_path) {
    if (!find_with("/nowhere").empty()) GTEST_SKIP() << "a tool is installed on this machine";
    EXPECT_EQ(find_with("relative::./relative:" + folder_.file("absolute").string()),
              folder_.file("absolute/texprobe"));
    EXPECT_EQ(find_with("relative"), "");
}

}  // namespace
}  // namespace texprobe::tests
