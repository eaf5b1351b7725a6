// The application's process is its own: what verdicts leave as it is, and that at any moment
// texprobe_verdicts_close() leaves neither a process nor a thread.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <clocale>
#include <cstdlib>
#include <map>

#include "scripted_verdicts.h"
#include "support/process.h"
#include "support/text.h"

namespace texprobe::tests {
namespace {

using std::chrono::milliseconds;

/// Of one of this process's threads, as "fffffffe7ffbfeff" for "SigBlk:".
std::string status_of_thread(const std::string& thread, const std::string& name) {
    for (const std::string& line : lines_of(read_file("/proc/self/task/" + thread + "/status"))) {
        if (line.rfind(name, 0) == 0) return line.substr(name.size() + 1);
    }
    return {};
}

/// What belongs to the process, and the signals that its main thread blocks.
std::vector<std::string> state_of_process() {
    const std::string self = std::to_string(getpid());
    std::vector<std::string> state = {
        std::setlocale(LC_ALL, nullptr), std::filesystem::current_path(),
        status_of_thread(self, "Umask:"), status_of_thread(self, "SigBlk:")};
    for (int number = 1; number < NSIG; ++number) {
        struct sigaction action = {};
        sigaction(number, nullptr, &action);
        const auto handler = reinterpret_cast<std::uintptr_t>(action.sa_handler);
        state.push_back(std::to_string(handler) + " " + std::to_string(action.sa_flags));
    }
    for (char** variable = environ; *variable; ++variable) state.emplace_back(*variable);
    return state;
}

std::map<std::string, std::string> descriptors() {
    std::map<std::string, std::string> open;
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        const auto file = std::filesystem::read_symlink(entry.path(), ignored);
        if (!ignored) open[entry.path().filename()] = file;
    }
    return open;
}

std::vector<std::string> masks_of_other_threads() {
    std::vector<std::string> masks;
    for (const std::string& thread : threads_of_process()) {
        if (thread == std::to_string(getpid())) continue;
        masks.push_back(status_of_thread(thread, "SigBlk:"));
    }
    return masks;
}

using UndisturbedProcess = ScriptedVerdicts;

TEST_F(UndisturbedProcess, is_as_it_was_before_during_and_after) {
    script("sleep 300\n" + complete_set());
    const auto state = state_of_process();
    const auto files = descriptors();
    open();
    await_tool();
    // The C library blocks its own signals, too, until the start has returned.
    std::this_thread::sleep_for(milliseconds(100));
    EXPECT_EQ(state_of_process(), state);
    // Every signal but the two that cannot be blocked, and those of the C library.
    EXPECT_THAT(masks_of_other_threads(), testing::ElementsAre("fffffffe7ffbfeff"));
    ASSERT_EQ(verdicts_->wait(), TEXPROBE_READY);
    EXPECT_EQ(state_of_process(), state);
    verdicts_.reset();
    EXPECT_EQ(state_of_process(), state);
    EXPECT_EQ(descriptors(), files);
}

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
