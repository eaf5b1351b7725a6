// The application's process is its own: what verdicts leave as it is.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <clocale>
#include <fstream>
#include <map>

#include "scripted_verdicts.h"

namespace texprobe::tests {
namespace {

/// What belongs to a process, by name.
std::map<std::string, std::string> state_of_process() {
    std::map<std::string, std::string> state;
    for (int number = 1; number < NSIG; ++number) {
        struct sigaction action = {};
        if (sigaction(number, nullptr, &action) != 0) continue;
        state["signal " + std::to_string(number)] =
            std::to_string(reinterpret_cast<std::uintptr_t>(action.sa_handler)) + " " +
            std::to_string(action.sa_flags);
    }
    sigset_t mask;
    pthread_sigmask(SIG_SETMASK, nullptr, &mask);
    for (int number = 1; number < NSIG; ++number) {
        if (sigismember(&mask, number) == 1) state["blocked " + std::to_string(number)] = "yes";
    }
    state["locale"] = std::setlocale(LC_ALL, nullptr);
    state["folder"] = std::filesystem::current_path();
    const mode_t mode = umask(0);
    umask(mode);
    state["mode"] = std::to_string(mode);
    for (char** variable = environ; *variable; ++variable) state[*variable] = "set";
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

/// A line "SigBlk: fffffffe7ffbfeff" of each of the process's other threads.
std::vector<std::string> masks_of_other_threads() {
    std::vector<std::string> masks;
    for (const std::string& thread : threads_of_process()) {
        if (thread == std::to_string(getpid())) continue;
        std::ifstream status("/proc/self/task/" + thread + "/status");
        for (std::string line; std::getline(status, line);) {
            if (line.rfind("SigBlk:\t", 0) == 0) masks.push_back(line.substr(8));
        }
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
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_EQ(state_of_process(), state);
    // Every signal but the two that cannot be blocked, and those of the C library.
    EXPECT_THAT(masks_of_other_threads(), testing::ElementsAre("fffffffe7ffbfeff"));
    ASSERT_EQ(verdicts_->wait(), TEXPROBE_READY);
    EXPECT_EQ(state_of_process(), state);
    verdicts_.reset();
    EXPECT_EQ(state_of_process(), state);
    EXPECT_EQ(descriptors(), files);
}

}  // namespace
}  // namespace texprobe::tests
