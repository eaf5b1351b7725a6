// A run that its user interrupts dies of that signal after its current test. Calls of the fakes
// determine the moment.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>

#include <chrono>
#include <thread>

#include "doubles/fake_tool.h"
#include "golden.h"

namespace texprobe::tests {
namespace {

const std::string kTest = "GL_RGBA32F_ARB_UPLOAD_SET";

bool ended_by(const Finished& run, int signal) {
    return WIFSIGNALED(run.status) && WTERMSIG(run.status) == signal;
}

/// The number of the call that is `offset` calls after the first synchronize of kTest.
unsigned call_in_test(unsigned offset) {
    return golden_call("(" + kTest + ", false, ") + 1 + offset;
}

std::string interrupt_in_test(const std::string& signals) {
    return kOneRenderer + "interrupt " + std::to_string(call_in_test(5)) + " " + signals + "\n";
}

Values records_with_failed_test() {
    Values records = golden_records();
    records[kTest] = "false";
    return records;
}

class InterruptionTest : public testing::TestWithParam<std::pair<const char*, int>> {
protected:
    const std::string name_ = GetParam().first;
    const int signal_ = GetParam().second;
};

/// Batch systems, limits and the terminal send others besides.
class AnySignalTest : public InterruptionTest {};

TEST_P(AnySignalTest, ends_the_run_by_its_signal_after_the_test_in_hand) {
    FakeTool tool(interrupt_in_test(name_));
    const Finished run = tool.run();
    EXPECT_TRUE(ended_by(run, signal_)) << run.status;
    EXPECT_EQ(lines_of(run.err).back(),
              kAppID + "[" + std::to_string(run.pid) + "] GL_RGBA32F_ARB upload SET: 1");
    EXPECT_EQ(lines_of(run.out).size(), 4u) << "what was printed is not lost";
    EXPECT_EQ(tool.record(kTest), "true");
    EXPECT_EQ(tool.records().count("GL_RGBA32F_ARB_UPLOAD_RESET"), 0u) << "the next was not begun";
    EXPECT_EQ(tool.records().count("GL_VENDOR"), 0u);

    tool.set_script(kOneRenderer);
    EXPECT_TRUE(tool.run().exited_with(0));
    EXPECT_EQ(tool.records(), golden_records());
}

TEST_P(InterruptionTest, is_one_when_its_signal_comes_twice_within_a_moment) {
    const FakeTool tool(interrupt_in_test(name_ + " 0 SIGTERM"));
    EXPECT_TRUE(WIFSIGNALED(tool.run().status));
    EXPECT_EQ(tool.record(kTest), "true");
}

TEST_P(AnySignalTest, ends_the_run_at_once_the_second_time) {
    // After the first signal, the alarm limits the test.
    const std::string first = signal_ == SIGALRM ? name_ : "SIGTERM";
    FakeTool tool(interrupt_in_test(first + " 300 " + name_));
    const Finished run = tool.run();
    EXPECT_TRUE(ended_by(run, signal_)) << run.status;
    EXPECT_EQ(lines_of(run.err).back(), "Testing UPLOAD SET...");
    EXPECT_EQ(tool.record(kTest), "false");

    tool.set_script(kOneRenderer);
    tool.run();
    EXPECT_EQ(tool.records(), records_with_failed_test()) << "as after a crash";
}

TEST_P(InterruptionTest, ends_a_test_that_hangs_after_two_seconds) {
    const FakeTool tool(interrupt_in_test(name_) + "pause " + std::to_string(call_in_test(6)) +
                        " 60000\n");
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_TRUE(ended_by(tool.run(), signal_));
    const auto time = std::chrono::steady_clock::now() - begin;
    EXPECT_GE(time, std::chrono::seconds(1));
    EXPECT_LT(time, std::chrono::seconds(30));
    EXPECT_EQ(tool.record(kTest), "false");
}

TEST_P(InterruptionTest, is_no_matter_to_a_run_that_was_told_to_ignore_it) {
    const FakeTool tool(interrupt_in_test(name_));
    const auto former = signal(signal_, SIG_IGN);
    const Finished run = tool.run();
    signal(signal_, former);
    EXPECT_TRUE(run.exited_with(0));
    EXPECT_EQ(tool.records(), golden_records());
}

TEST_P(InterruptionTest, that_the_driver_raises_is_a_death) {
    FakeTool tool(kOneRenderer + "die " + name_ + " in " + kTest + " 5\n");
    const Finished run = tool.run();
    EXPECT_TRUE(ended_by(run, signal_));
    EXPECT_EQ(lines_of(run.err).back(), "Testing UPLOAD SET...");
    tool.run();
    EXPECT_EQ(tool.records(), records_with_failed_test());
}

TEST_P(InterruptionTest, of_another_program_that_runs_the_tests_is_that_program_s) {
    const FakeTool application(interrupt_in_test(name_), APPLICATION_ON_FAKES);
    const Finished run = application.run();
    EXPECT_TRUE(ended_by(run, signal_));
    EXPECT_EQ(lines_of(run.err).back(), "Testing UPLOAD SET...") << "it died at once";
    EXPECT_EQ(application.record(kTest), "false");
}

TEST_P(InterruptionTest, ends_a_run_that_waits_for_its_turn) {
    FakeTool tool(kOneRenderer + "pause once " + std::to_string(call_in_test(5)) + " 60000\n");
    const pid_t first = tool.start();
    while (!tool.has_died()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    const pid_t second = tool.start();
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    kill(second, signal_);
    const Finished run = tool.finish(second);
    EXPECT_TRUE(ended_by(run, signal_));
    kill(first, SIGKILL);
    tool.finish(first);
}

constexpr std::pair<const char*, int> kSignals[] = {
    {"SIGINT", SIGINT},   {"SIGTERM", SIGTERM}, {"SIGHUP", SIGHUP},   {"SIGQUIT", SIGQUIT},
    {"SIGXCPU", SIGXCPU}, {"SIGALRM", SIGALRM}, {"SIGUSR1", SIGUSR1}, {"SIGUSR2", SIGUSR2}};
const auto nameOfSignal = [](const auto& test) { return std::string(test.param.first); };

INSTANTIATE_TEST_SUITE_P(By, AnySignalTest, testing::ValuesIn(kSignals), nameOfSignal);
INSTANTIATE_TEST_SUITE_P(By, InterruptionTest, testing::ValuesIn(kSignals, kSignals + 3),
                         nameOfSignal);

}  // namespace
}  // namespace texprobe::tests
