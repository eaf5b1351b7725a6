// The verdicts on one renderer as a line: 16 formats times six of y, n and ?, for unknown.

#ifndef TEXPROBE_TESTS_ANSWERS_H
#define TEXPROBE_TESTS_ANSWERS_H

#include <TexProbe.h>
#include <TexProbeVerdicts.h>

#include <string>

#include "support/formats.h"
#include "support/tool_folder.h"

namespace texprobe::tests {

/// What the C interface answers of one format.
inline std::string answers_of(const qor::TexProbeVerdicts& verdicts, unsigned format) {
    std::string line;
    for (int i = 0; i < 6; ++i) {
        const auto answer = verdicts.answer(format, static_cast<texprobe_capability>(i));
        line += answer == TEXPROBE_YES ? 'y' : answer == TEXPROBE_NO ? 'n' : '?';
    }
    return line;
}

/// What the class answers, which knows no unknown.
inline std::string answers_of(const qor::TexProbe& probe, unsigned format) {
    std::string line;
    for (const bool answer :
         {probe.IsTextureFormatSupported(format, false),
          probe.IsTextureFormatSupported(format, true), probe.IsTextureFormatSettable(format),
          probe.IsTextureFormatResettable(format), probe.IsTextureFormatGettable(format),
          probe.IsTextureFormatReadable(format)}) {
        line += answer ? 'y' : 'n';
    }
    return line;
}

/// Of a TexProbe or a TexProbeVerdicts.
template <class Asked>
std::string answers_of(const Asked& asked) {
    std::string line;
    for (const Format& format : kFormats) line += answers_of(asked, format.internalFormat);
    return line;
}

/// What is recorded.
inline std::string answers_of(const Records& records) {
    std::string line;
    for (const Format& format : kFormats) {
        for (const char* capability : kCapabilities) {
            const auto record = records.find(std::string(format.name) + "_" + capability);
            line += record == records.end() ? '?' : record->second == "boolean 1" ? 'y' : 'n';
        }
    }
    return line;
}

/// Of the only renderer of that name; empty without one.
inline std::string recorded_answers(const RecordSets& sets, const std::string& renderer) {
    std::string line;
    for (const auto& [application, records] : sets) {
        const auto found = records.find("GL_RENDERER");
        if (found == records.end() || found->second != "string " + renderer) continue;
        line += answers_of(records);
    }
    return line;
}

}  // namespace texprobe::tests

#endif
