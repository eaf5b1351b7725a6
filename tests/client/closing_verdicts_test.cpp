// texprobe_verdicts_close() at any moment leaves neither a process nor a thread.

#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdlib>

#include "scripted_verdicts.h"
#include "support/process.h"

namespace texprobe::tests {
namespace {

using std::chrono::milliseconds;

class ClosingVerdicts : public ScriptedVerdicts {
protected:
    void expect_no_children() const {
        EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
        EXPECT_EQ(errno, ECHILD);
        EXPECT_EQ(tools(), std::vector<pid_t>());
    }
};

TEST_F(ClosingVerdicts, end_the_tool_and_the_log) {
    std::string chatter;
    for (int i = 0; i < 2000; ++i) chatter += "say still here\nsleep 1\n";
    script(chatter);
    for (int delay = 0; delay < 300; delay += 30) {
        open();
        std::this_thread::sleep_for(milliseconds(delay));
        verdicts_.reset();
        const std::size_t lines = log().size();
        expect_no_children();
        EXPECT_EQ(threads_that_stay(), 1u);
        std::this_thread::sleep_for(milliseconds(5));
        EXPECT_EQ(log().size(), lines);
    }
}

TEST_F(ClosingVerdicts, end_a_tool_that_hangs_while_another_thread_waits) {
    script("hang\n");
    texprobe_options wish = options();
    texprobe_verdicts* verdicts = texprobe_verdicts_open(&wish);
    std::atomic<bool> isWaiting{false};
    std::thread waiting([&] {
        isWaiting = true;
        EXPECT_EQ(texprobe_verdicts_wait(verdicts, -1), TEXPROBE_MEASURING);
    });
    await_tool();
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
        open();
        pthread_t waiting;
        const auto wait = [](void* opened) -> void* {
            static_cast<qor::TexProbeVerdicts*>(opened)->wait();
            return nullptr;
        };
        if (pthread_create(&waiting, nullptr, wait, &*verdicts_) != 0) return 1;
        std::this_thread::sleep_for(milliseconds(50));
        void* end = nullptr;
        pthread_cancel(waiting);
        pthread_join(waiting, &end);
        verdicts_.reset();
        return end == PTHREAD_CANCELED ? 0 : 2;
    });
    EXPECT_EQ(status_of(application), 0);
    expect_no_children();
}

TEST_F(ClosingVerdicts, work_at_the_end_of_the_process) {
    script("hang\n");
    const pid_t application = start([&]() -> int {
        const texprobe_options wish = options();
        static const qor::TexProbeVerdicts closedAtExit(&wish);
        await_tool();
        std::exit(0);
    });
    EXPECT_EQ(status_of(application), 0);
    expect_no_children();
}

TEST_F(ClosingVerdicts, do_nothing_in_a_child_of_the_process) {
    script("hang\n");
    open();
    await_tool();
    const pid_t child = start([&] {
        const bool isMeasuring = verdicts_->wait() == TEXPROBE_MEASURING;
        verdicts_.reset();
        return isMeasuring ? 0 : 1;
    });
    EXPECT_EQ(status_of(child), 0);
    EXPECT_EQ(tools().size(), 1u);
}

}  // namespace
}  // namespace texprobe::tests
