#include "process/stop_signals.h"

namespace texprobe::ctl {

namespace {

volatile std::sig_atomic_t lastSignal = 0;

extern "C" void remember_stop(int number) {
    lastSignal = number;
}

}  // namespace

StopSignals::StopSignals() {
    lastSignal = 0;
    struct sigaction action = {};
    action.sa_handler = remember_stop;
    for (std::size_t i = 0; i < kNumbers.size(); ++i) {
        if (sigaction(kNumbers[i], nullptr, &old_[i]) == 0 && old_[i].sa_handler == SIG_IGN) {
            continue;
        }
        sigaction(kNumbers[i], &action, nullptr);
    }
}

StopSignals::~StopSignals() {
    for (std::size_t i = 0; i < kNumbers.size(); ++i) sigaction(kNumbers[i], &old_[i], nullptr);
    lastSignal = 0;
}

int StopSignals::received() {
    return lastSignal;
}

void StopSignals::check() {
    if (received() != 0) throw Interrupted(received());
}

}  // namespace texprobe::ctl
