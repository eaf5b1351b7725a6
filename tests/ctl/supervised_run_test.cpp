// One supervised run: what the program gets, what is handed over, and how it ends.

#include "runs/supervised_run.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <functional>
#include <thread>

#include "support/process.h"
#include "support/text.h"

namespace {

int inheritedPipes = 0;

}  // namespace

/// In front of the C library's: a program that another thread starts before the ends are closed in
/// programs inherits them.
extern "C" int pipe(int* ends) noexcept {
    ++inheritedPipes;
    return pipe2(ends, 0);
}

namespace texprobe::tests {
namespace {

using Wish = RunObserver::Wish;
using std::chrono::milliseconds;
using std::chrono::steady_clock;
using testing::Contains;
using testing::ElementsAre;
using Kind = RunEnd::Kind;

class Recorder : public RunObserver {
public:
    void started(int processID) override { process = processID; }
    bool line(Stream stream, std::string_view text) override {
        (stream == Stream::kOutput ? out : err).emplace_back(text);
        return text == "step";
    }
    Wish look() override { return onLook ? onLook() : Wish::kGoOn; }
    void before_kill() override { hadToKill = true; }

    int process = 0;
    std::vector<std::string> out;
    std::vector<std::string> err;
    std::function<Wish()> onLook;
    bool hadToKill = false;
};

RunEnd run_shell(const std::string& script, Recorder& recorder,
                 milliseconds limit = milliseconds(0)) {
    return run_supervised({"/bin/sh", {"-c", script}, limit, milliseconds(500)}, recorder);
}

/// An orphan's heir may be slow to reap it.
bool is_dead(int process) {
    for (int i = 0; i < 500; ++i) {
        const std::string state = read_file("/proc/" + std::to_string(process) + "/stat");
        if (state.empty() || state.find(") Z ") != std::string::npos) return true;
        std::this_thread::sleep_for(milliseconds(20));
    }
    return false;
}

TEST(SupervisedRun, tells_its_end_and_hands_over_its_lines) {
    using Lines = std::vector<std::string>;
    const Lines steps(6, "step");
    const struct {
        const char* script;
        int limit;
        RunEnd end;
        Lines out;
        Lines err;
    } rows[] = {{"echo one; echo two >&2; printf 'three'",
                 0,
                 {Kind::kExited, 0},
                 {"one", "three"},
                 {"two"}},
                {"exit 7", 0, {Kind::kExited, 7}, {}, {}},
                {"kill -SEGV $$", 0, {Kind::kSignalled, SIGSEGV}, {}, {}},
                {"exec 1>&- 2>&-; sleep 0.3; exit 5", 0, {Kind::kExited, 5}, {}, {}},
                // The limit begins anew with each step.
                {"for i in 1 2 3 4 5 6; do sleep 0.3; echo step; done",
                 1000,
                 {Kind::kExited, 0},
                 steps,
                 {}}};
    for (const auto& row : rows) {
        Recorder recorder;
        const RunEnd end = run_shell(row.script, recorder, milliseconds(row.limit));
        EXPECT_EQ(end.kind, row.end.kind) << row.script;
        EXPECT_EQ(end.number, row.end.number) << row.script;
        EXPECT_EQ(recorder.out, row.out);
        EXPECT_EQ(recorder.err, row.err);
    }
    Recorder recorder;
    const RunEnd end = run_supervised({"/no/such/program", {}}, recorder);
    EXPECT_EQ(end.kind, Kind::kNotStarted);
    EXPECT_EQ(end.number, ENOENT);
}

TEST(SupervisedRun, counts_the_time_between_steps_that_the_observer_does_not_excuse) {
    Recorder recorder;
    EXPECT_EQ(
        run_shell("while true; do sleep 0.05; echo noise; done", recorder, milliseconds(500)).kind,
        Kind::kTimeLimit);
    recorder.onLook = [] { return Wish::kGoOnAnew; };
    EXPECT_EQ(run_shell("sleep 1", recorder, milliseconds(300)).kind, Kind::kExited);
}

TEST(SupervisedRun, hands_over_all_that_is_written_before_the_end) {
    Recorder recorder;
    run_shell("i=0; while [ $i -lt 20000 ]; do echo $i; i=$((i+1)); done", recorder);
    ASSERT_EQ(recorder.out.size(), 20000u);
    EXPECT_EQ(recorder.out.back(), "19999");
}

TEST(SupervisedRun, takes_arguments_as_they_are) {
    Recorder recorder;
    run_supervised({"/usr/bin/printf", {"%s\n", "a b", "$HOME", "*"}}, recorder);
    EXPECT_THAT(recorder.out, ElementsAre("a b", "$HOME", "*"));
}

TEST(SupervisedRun, gives_the_program_three_descriptors_and_nothing_to_read) {
    // Without close-on-exec, and with a number that the shell does not use itself.
    const int leak = dup2(STDERR_FILENO, 50);
    Recorder recorder;
    run_shell("cat; for n in /proc/$$/fd/*; do echo ${n##*/}; done", recorder);
    close(leak);
    EXPECT_THAT(recorder.out, testing::Not(Contains(std::to_string(leak))));
    EXPECT_THAT(recorder.out, testing::IsSupersetOf({"0", "1", "2"}));
}

TEST(SupervisedRun, gives_the_program_an_empty_mask_and_default_actions) {
    sigset_t mask;
    sigset_t old;
    sigemptyset(&mask);
    sigaddset(&mask, SIGUSR1);
    pthread_sigmask(SIG_BLOCK, &mask, &old);
    const auto oldAction = std::signal(SIGUSR2, SIG_IGN);
    Recorder recorder;
    run_shell("grep -E 'SigBlk|SigIgn' /proc/self/status", recorder);
    std::signal(SIGUSR2, oldAction);
    pthread_sigmask(SIG_SETMASK, &old, nullptr);
    ASSERT_EQ(recorder.out.size(), 2u);
    EXPECT_EQ(recorder.out[0], "SigBlk:\t0000000000000000");
    // The C library keeps the signals 32 and 33 to itself, whatever they were.
    const unsigned long ignored = std::stoul(recorder.out[1].substr(8), nullptr, 16);
    EXPECT_EQ(ignored & ~(3UL << 31), 0u);
}

TEST(SupervisedRun, gives_the_program_a_group_of_its_own) {
    Recorder recorder;
    run_shell("ps -o pgid= -p $$ 2>/dev/null || cut -d' ' -f5 /proc/$$/stat", recorder);
    ASSERT_EQ(recorder.out.size(), 1u);
    EXPECT_EQ(std::stoi(recorder.out[0]), recorder.process);
}

TEST(SupervisedRun, kills_a_program_that_does_not_go_on_wherever_SIGCHLD_goes) {
    for (const auto action : {SIG_DFL, SIG_IGN}) {
        const auto old = std::signal(SIGCHLD, action);
        Recorder recorder;
        const auto begin = steady_clock::now();
        const RunEnd end = run_shell("trap '' TERM; sleep 100", recorder, milliseconds(300));
        std::signal(SIGCHLD, old);
        EXPECT_LT(steady_clock::now() - begin, std::chrono::seconds(50));
        EXPECT_EQ(end.kind, Kind::kTimeLimit);
        EXPECT_FALSE(end.isLeftBehind);
        EXPECT_TRUE(is_dead(recorder.process));
    }
}

/// How a caller's run ends that is stopped together with its program, for longer than any limit.
/// The caller goes on first. `wish` is the caller's once the program has written something.
Kind end_of_paused_run(const std::string& script, Wish wish) {
    int report[2];
    EXPECT_EQ(pipe2(report, O_CLOEXEC), 0);
    const pid_t caller = tests::start([&] {
        Recorder recorder;
        bool isReported = false;
        recorder.onLook = [&] {
            if (recorder.out.empty()) return Wish::kGoOn;
            if (!isReported) isReported = write(report[1], &recorder.process, sizeof(int)) > 0;
            return wish;
        };
        return static_cast<int>(run_shell(script, recorder, milliseconds(700)).kind);
    });
    int program = 0;
    EXPECT_EQ(read(report[0], &program, sizeof program), static_cast<ssize_t>(sizeof program));
    std::this_thread::sleep_for(milliseconds(50));
    for (const pid_t each : {caller, -program}) kill(each, SIGSTOP);
    std::this_thread::sleep_for(milliseconds(800));
    for (const pid_t each : {caller, -program}) {
        kill(each, SIGCONT);
        std::this_thread::sleep_for(milliseconds(50));
    }
    for (const int each : report) close(each);
    return static_cast<Kind>(WEXITSTATUS(tests::status_of(caller)));
}

TEST(SupervisedRun, takes_no_pause_for_a_hang) {
    EXPECT_EQ(end_of_paused_run("echo here; sleep 0.3", Wish::kGoOn), Kind::kExited);
}

TEST(SupervisedRun, does_not_count_a_pause_as_time_to_stop_in) {
    const std::string file = testing::TempDir() + "texprobe-ended-in-order";
    const std::string script =
        "trap 'sleep 0.2; echo >" + file + "; exit' TERM; echo here; while :; do sleep 0.01; done";
    EXPECT_EQ(end_of_paused_run(script, Wish::kStop), Kind::kStopped);
    EXPECT_EQ(unlink(file.c_str()), 0);
}

TEST(SupervisedRun, asks_a_program_to_stop_and_kills_one_that_does_not) {
    const struct {
        const char* script;
        std::vector<std::string> out;
        bool isKilled;
    } rows[] = {{"trap 'echo ended; exit 0' TERM; echo here; while true; do sleep 0.01; done",
                 {"here", "ended"},
                 false},
                {"trap '' TERM; echo here; sleep 100", {"here"}, true}};
    for (const auto& row : rows) {
        Recorder recorder;
        recorder.onLook = [&] { return recorder.out.empty() ? Wish::kGoOn : Wish::kStop; };
        EXPECT_EQ(run_shell(row.script, recorder).kind, Kind::kStopped);
        EXPECT_EQ(recorder.out, row.out);
        EXPECT_EQ(recorder.hadToKill, row.isKilled);
        EXPECT_TRUE(is_dead(recorder.process));
    }
}

TEST(SupervisedRun, ends_what_the_program_left_running) {
    Recorder recorder;
    const auto begin = steady_clock::now();
    const RunEnd end = run_shell("sleep 100 & echo $!; exit 3", recorder);
    EXPECT_EQ(end.kind, Kind::kExited);
    EXPECT_EQ(end.number, 3);
    EXPECT_LT(steady_clock::now() - begin, std::chrono::seconds(50));
    ASSERT_EQ(recorder.out.size(), 1u);
    EXPECT_TRUE(is_dead(std::stoi(recorder.out[0])));
}

TEST(SupervisedRun, does_not_know_the_status_where_other_code_takes_it) {
    const auto reapAll = [](int) {
        const int saved = errno;
        while (waitpid(-1, nullptr, WNOHANG) > 0) {
        }
        errno = saved;
    };
    for (void (*const action)(int) : {SIG_IGN, static_cast<void (*)(int)>(reapAll)}) {
        const auto old = std::signal(SIGCHLD, action);
        Recorder recorder;
        const RunEnd end = run_shell("echo done; sleep 0.2; exit 7", recorder);
        std::signal(SIGCHLD, old);
        EXPECT_EQ(end.kind, Kind::kUnknown);
        EXPECT_THAT(recorder.out, ElementsAre("done"));
    }
}

TEST(SupervisedRun, works_for_a_caller_without_standard_streams) {
    const pid_t child = tests::start([] {
        for (int i = 0; i < 64; ++i) close(i);
        Recorder recorder;
        const RunEnd end = run_shell("echo out; echo err >&2", recorder);
        const bool right = end.kind == Kind::kExited && end.number == 0 &&
                           recorder.out == std::vector<std::string>{"out"} &&
                           recorder.err == std::vector<std::string>{"err"};
        return right ? 0 : 1;
    });
    EXPECT_EQ(tests::status_of(child), 0);
}

TEST(SupervisedRun, leaves_no_descriptor_open) {
    const int before = open("/dev/null", O_RDONLY);
    close(before);
    Recorder recorder;
    run_shell("true", recorder);
    run_supervised({"/no/such/program", {}}, recorder);
    const int after = open("/dev/null", O_RDONLY);
    close(after);
    EXPECT_EQ(before, after);
}

TEST(SupervisedRun, makes_no_pipe_that_another_program_could_inherit) {
    inheritedPipes = 0;
    Recorder recorder;
    run_shell("true", recorder);
    EXPECT_EQ(inheritedPipes, 0);
}

TEST(SupervisedRun, cuts_an_endless_line_and_still_looks) {
    Recorder recorder;
    recorder.onLook = [&] {
        return recorder.out.size() > 3 ? RunObserver::Wish::kStop : RunObserver::Wish::kGoOn;
    };
    const RunEnd end = run_shell("tr '\\0' x </dev/zero", recorder);
    EXPECT_EQ(end.kind, Kind::kStopped);
    EXPECT_EQ(recorder.out[0].size(), 65536u);
}

}  // namespace
}  // namespace texprobe::tests
