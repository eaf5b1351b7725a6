// Names of signals.

#ifndef TEXPROBECTL_SIGNALS_H
#define TEXPROBECTL_SIGNALS_H

#include <csignal>
#include <string>

namespace texprobe::ctl {

/// "SIGSEGV", or "signal 42" for a rare one.
inline std::string signal_name(int number) {
    struct Named {
        int number;
        const char* name;
    };
    static constexpr Named kNamed[] = {
        {SIGHUP, "SIGHUP"},   {SIGINT, "SIGINT"},   {SIGQUIT, "SIGQUIT"}, {SIGILL, "SIGILL"},
        {SIGTRAP, "SIGTRAP"}, {SIGABRT, "SIGABRT"}, {SIGBUS, "SIGBUS"},   {SIGFPE, "SIGFPE"},
        {SIGKILL, "SIGKILL"}, {SIGUSR1, "SIGUSR1"}, {SIGSEGV, "SIGSEGV"}, {SIGUSR2, "SIGUSR2"},
        {SIGPIPE, "SIGPIPE"}, {SIGALRM, "SIGALRM"}, {SIGTERM, "SIGTERM"}, {SIGSYS, "SIGSYS"},
        {SIGXCPU, "SIGXCPU"}, {SIGXFSZ, "SIGXFSZ"}};
    for (const Named& named : kNamed) {
        if (named.number == number) return named.name;
    }
    return "signal " + std::to_string(number);
}

}  // namespace texprobe::ctl

#endif
