#include "runs/interruption.h"

#include <pthread.h>
#include <signal.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

namespace texprobe {

namespace {

constexpr unsigned kSecondsForTestInHand = 2;
// timeout(1) signals a process and its group. A closed terminal and the end of a session signal
// twice, too. Signals this close together are one interruption.
constexpr int kMillisecondsOfOne = 100;
// From the terminal, and from limits of a run: a batch system, ulimit(1), an alarm set before the
// tool was executed. All of them end a process by default.
constexpr int kInterruptions[] = {SIGINT,  SIGTERM, SIGHUP,  SIGQUIT,
                                  SIGXCPU, SIGALRM, SIGUSR1, SIGUSR2};

// Drivers have threads, and any of them may receive the signal.
std::atomic<int> remembered{0};
std::atomic<unsigned> timeOfFirst{0};
std::atomic<bool (*)()> tooLateCheck{nullptr};
static_assert(std::atomic<int>::is_always_lock_free && std::atomic<unsigned>::is_always_lock_free,
              "handlers use them");

/// In milliseconds; never 0.
unsigned now() {
    timespec time = {};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return static_cast<unsigned>(time.tv_sec * 1000 + time.tv_nsec / 1000000) | 1;
}

sigset_t set_of(int number) {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, number);
    return set;
}

void unblock(int number) {
    const sigset_t set = set_of(number);
    pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
}

/// Dies of the signal as if there were no handler. Works inside a handler, too.
void die_of(int number) {
    signal(number, SIG_DFL);
    unblock(number);
    raise(number);
}

void end_by_remembered(int /*alarm*/) {
    die_of(remembered);
}

void handle(int number, siginfo_t* info, void* /*context*/) {
    const int error = errno;
    // A signal from this process itself comes from a driver that gives up.
    if (info->si_pid == getpid() || tooLateCheck.load()()) {
        die_of(number);
        return;
    }
    const unsigned time = now();
    unsigned first = 0;
    if (timeOfFirst.compare_exchange_strong(first, time)) {
        remembered = number;
        signal(SIGALRM, end_by_remembered);
        alarm(kSecondsForTestInHand);
    } else if (static_cast<int>(time - first) > kMillisecondsOfOne) {
        die_of(number);
    }
    errno = error;
}

}  // namespace

void survive_closed_outputs() {
    signal(SIGPIPE, SIG_IGN);
    signal(SIGXFSZ, SIG_IGN);
}

void remember_interruptions(bool (*isTooLate)()) {
    tooLateCheck = isTooLate;
    struct sigaction action = {};
    action.sa_sigaction = handle;
    // Drivers must not see interrupted system calls.
    action.sa_flags = SA_SIGINFO | SA_RESTART;
    sigemptyset(&action.sa_mask);
    for (const int number : kInterruptions) sigaddset(&action.sa_mask, number);
    for (const int number : kInterruptions) {
        struct sigaction former;
        const bool isIgnored =
            sigaction(number, nullptr, &former) == 0 && former.sa_handler == SIG_IGN;
        if (!isIgnored) sigaction(number, &action, nullptr);
    }
    unblock(SIGALRM);
}

bool is_interrupted() {
    return remembered != 0;
}

void end_by_interruption() {
    die_of(remembered);
    // Not reached: raise() has ended the process.
    _exit(1);
}

}  // namespace texprobe
