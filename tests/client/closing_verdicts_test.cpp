// texprobe_verdicts_close() at any moment leaves neither a process nor a thread.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdlib>

#include "scripted_verdicts.h"

namespace texprobe::tests {
namespace {

using std::chrono::milliseconds;

void expect_no_children() {
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

using ClosingVerdicts = ScriptedVerdicts;

TEST_F(ClosingVerdicts, end_the_tool_and_the_log) {
    std::string chatter;
    for (int i = 0; i < 2000; ++i) chatter += "say still here\nsleep 1\n";
    script(chatter);
    for (int delay = 0; delay < 300; delay += 30) {
        texprobe_verdicts* verdicts = open();
        std::this_thread::sleep_for(milliseconds(delay));
        texprobe_verdicts_close(verdicts);
        const std::size_t lines = log().size();
        expect_no_children();
        EXPECT_EQ(tools(), std::vector<pid_t>());
        EXPECT_EQ(threads_that_stay(), 1u);
        std::this_thread::sleep_for(milliseconds(5));
        EXPECT_EQ(log().size(), lines);
    }
}

TEST_F(ClosingVerdicts, end_a_tool_that_hangs) {
    script("hang\n");
    texprobe_verdicts* verdicts = open();
    while (tools().empty()) std::this_thread::sleep_for(milliseconds(1));
    texprobe_verdicts_close(verdicts);
    expect_no_children();
}

TEST_F(ClosingVerdicts, work_on_another_thread_while_one_waits) {
    script("hang\n");
    texprobe_verdicts* verdicts = open();
    std::atomic<bool> isWaiting{false};
    std::thread waiting([&] {
        isWaiting = true;
        EXPECT_EQ(texprobe_verdicts_wait(verdicts, -1), TEXPROBE_MEASURING);
    });
    while (!isWaiting) std::this_thread::yield();
    std::this_thread::sleep_for(milliseconds(50));
    std::thread([&] { texprobe_verdicts_close(verdicts); }).join();
    waiting.join();
    expect_no_children();
}

TEST_F(ClosingVerdicts, work_after_a_thread_was_cancelled_while_it_waited) {
    script("hang\n");
    const pid_t application = start([&]() -> int {
        alarm(20);
        texprobe_verdicts* verdicts = open();
        pthread_t waiting;
        const auto wait = [](void* opened) -> void* {
            texprobe_verdicts_wait(static_cast<texprobe_verdicts*>(opened), -1);
            return nullptr;
        };
        if (pthread_create(&waiting, nullptr, wait, verdicts) != 0) return 1;
        std::this_thread::sleep_for(milliseconds(50));
        void* end = nullptr;
        pthread_cancel(waiting);
        pthread_join(waiting, &end);
        texprobe_verdicts_close(verdicts);
        return end == PTHREAD_CANCELED ? 0 : 2;
    });
    EXPECT_EQ(status_of(application), 0);
    EXPECT_EQ(tools(), std::vector<pid_t>());
}

texprobe_verdicts* verdictsAtExit = nullptr;

TEST_F(ClosingVerdicts, work_at_the_end_of_the_process) {
    script("hang\n");
    const pid_t application = start([&]() -> int {
        std::atexit([] { texprobe_verdicts_close(verdictsAtExit); });
        verdictsAtExit = open();
        while (tools().empty()) std::this_thread::sleep_for(milliseconds(1));
        std::exit(0);
    });
    EXPECT_EQ(status_of(application), 0);
    EXPECT_EQ(tools(), std::vector<pid_t>());
}

TEST_F(ClosingVerdicts, do_nothing_in_a_child_of_the_process) {
    script("hang\n");
    texprobe_verdicts* verdicts = open();
    while (tools().empty()) std::this_thread::sleep_for(milliseconds(1));
    const pid_t child = start([&] {
        const bool isMeasuring = texprobe_verdicts_wait(verdicts, -1) == TEXPROBE_MEASURING;
        texprobe_verdicts_close(verdicts);
        return isMeasuring ? 0 : 1;
    });
    EXPECT_EQ(status_of(child), 0);
    EXPECT_EQ(tools().size(), 1u);
    texprobe_verdicts_close(verdicts);
}

}  // namespace
}  // namespace texprobe::tests
