// What is said of a run of the tool that did not measure to the end.

#ifndef TEXPROBE_VERDICTS_RUN_ENDS_H
#define TEXPROBE_VERDICTS_RUN_ENDS_H

#include <unistd.h>

#include <cerrno>
#include <string>
#include <system_error>

#include "runs/supervised_run.h"

namespace texprobe {

namespace {

/// A reason is one line, whatever a path, a driver or the tool has put into it.
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

/// "texprobe ..."
inline std::string describe_end(const RunEnd& end, int limit) {
    using Kind = RunEnd::Kind;
    switch (end.kind) {
        case Kind::kExited:
            return "texprobe ended with status " + std::to_string(end.number);
        case Kind::kSignalled:
            return "texprobe was ended by signal " + std::to_string(end.number);
        case Kind::kTimeLimit:
            return "texprobe made no progress for " + std::to_string(limit) + " ms and was killed";
        default:
            return "texprobe ended, and its status is unknown, because this application reaps "
                   "every "
                   "child";
    }
}

}  // namespace

}  // namespace texprobe

#endif
