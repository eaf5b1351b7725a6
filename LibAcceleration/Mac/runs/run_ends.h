// How a run of the tool ended that did not measure to the end, in one line.

#ifndef TEXPROBE_RUN_ENDS_H
#define TEXPROBE_RUN_ENDS_H

#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <string>
#include <system_error>

#include "runs/supervised_run.h"

namespace texprobe {

namespace {

/// A reason is one line, even if a path, a driver or the tool has put a line break into it.
inline std::string one_line(std::string text) {
    for (char& c : text) {
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = '?';
    }
    return text;
}

inline std::string describe_failed_start(const std::string& tool, int error) {
    const std::string quotedTool = "\"" + tool + "\"";
    switch (error) {
        case ENOENT:
        case ENOTDIR:
            // Also the error of a program whose loader or interpreter is missing.
            return access(tool.c_str(), F_OK) == 0
                       ? quotedTool +
                             " cannot be started: it is of another architecture, or its "
                             "interpreter is missing"
                       : quotedTool + " was not found";
        case EACCES:
            return quotedTool + " is not executable";
        case ENOEXEC:
            return quotedTool + " is no program, or of another architecture";
        default:
            return quotedTool + " cannot be started: " + std::generic_category().message(error);
    }
}

/// "SIGSEGV", or "signal 42" for one that is seldom met.
inline std::string name_of_signal(int number) {
    struct NamedSignal {
        int number;
        const char* name;
    };
    static constexpr NamedSignal kNamed[] = {
        {SIGHUP, "SIGHUP"},   {SIGINT, "SIGINT"},   {SIGQUIT, "SIGQUIT"}, {SIGILL, "SIGILL"},
        {SIGTRAP, "SIGTRAP"}, {SIGABRT, "SIGABRT"}, {SIGBUS, "SIGBUS"},   {SIGFPE, "SIGFPE"},
        {SIGKILL, "SIGKILL"}, {SIGUSR1, "SIGUSR1"}, {SIGSEGV, "SIGSEGV"}, {SIGUSR2, "SIGUSR2"},
        {SIGPIPE, "SIGPIPE"}, {SIGALRM, "SIGALRM"}, {SIGTERM, "SIGTERM"}, {SIGSYS, "SIGSYS"},
        {SIGXCPU, "SIGXCPU"}, {SIGXFSZ, "SIGXFSZ"}};
    for (const NamedSignal& named : kNamed) {
        if (named.number == number) return named.name;
    }
    return "signal " + std::to_string(number);
}

/// As applications' logs have it.
inline std::string number_of_signal(int number) {
    return "signal " + std::to_string(number);
}

/// How a run has ended, to follow the name of what ran: "was ended by SIGSEGV". `late` is for one
/// that was killed at its limit.
inline std::string describe_end(const RunEnd& end, const std::string& late,
                                std::string (*signal)(int) = name_of_signal) {
    switch (end.kind) {
        case RunEnd::Kind::kExited:
            return "ended with status " + std::to_string(end.number);
        case RunEnd::Kind::kSignalled:
            return "was ended by " + signal(end.number);
        case RunEnd::Kind::kTimeLimit:
            return late;
        case RunEnd::Kind::kNotStarted:
            return "could not be started: " + std::generic_category().message(end.number);
        default:
            return "ended, and its status is unknown";
    }
}

}  // namespace

}  // namespace texprobe

#endif
