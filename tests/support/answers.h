// The verdicts on one renderer as a line: 16 formats times six of y, n and ?, for unknown.

#ifndef TEXPROBE_TESTS_ANSWERS_H
#define TEXPROBE_TESTS_ANSWERS_H

#include <TexProbeVerdicts.h>

#include <map>
#include <string>

#include "support/formats.h"

namespace texprobe::tests {

/// What the C interface answers.
inline std::string answers_of(const texprobe_verdicts* verdicts) {
    std::string line;
    for (const Format& format : kFormats) {
        for (int i = 0; i < 6; ++i) {
            const auto capability = static_cast<texprobe_capability>(i);
            const auto answer =
                texprobe_verdicts_answer(verdicts, format.internalFormat, capability);
            line += answer == TEXPROBE_YES ? 'y' : answer == TEXPROBE_NO ? 'n' : '?';
        }
    }
    return line;
}

/// What is recorded, as ToolFolder reads it.
inline std::string answers_of(const std::map<std::string, std::string>& records) {
    std::string line;
    for (const Format& format : kFormats) {
        for (const char* capability : kCapabilities) {
            const auto record = records.find(std::string(format.name) + "_" + capability);
            line += record == records.end() ? '?' : record->second == "boolean 1" ? 'y' : 'n';
        }
    }
    return line;
}

}  // namespace texprobe::tests

#endif
