// The signals by which a user stops a command: remembered, so that the command can end in order.

#ifndef TEXPROBECTL_STOP_SIGNALS_H
#define TEXPROBECTL_STOP_SIGNALS_H

#include <array>
#include <csignal>
#include <exception>

namespace texprobe::ctl {

/// Thrown out of a command that was stopped; the program ends with status 128 + `signal`.
class Interrupted : public std::exception {
public:
    explicit Interrupted(int signal) : signal_(signal) {}
    int signal() const { return signal_; }
    const char* what() const noexcept override { return "interrupted"; }

private:
    int signal_;
};

/// As long as it lives, SIGINT, SIGTERM and SIGHUP are remembered instead of ending the process.
/// Those that were ignored stay ignored, as nohup wants it. One object at a time.
class StopSignals {
public:
    StopSignals();
    ~StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

    /// The signal that came last; 0 for none.
    static int received();
    /// Throws Interrupted if one came.
    static void check();

private:
    static constexpr std::array<int, 3> kNumbers = {SIGINT, SIGTERM, SIGHUP};
    std::array<struct sigaction, kNumbers.size()> old_ = {};
};

}  // namespace texprobe::ctl

#endif
