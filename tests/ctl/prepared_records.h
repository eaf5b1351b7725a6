// Scripts of record sets for the scripted tool.

#ifndef TEXPROBE_TESTS_PREPARED_RECORDS_H
#define TEXPROBE_TESTS_PREPARED_RECORDS_H

#include <map>
#include <string>

#include "support/formats.h"

namespace texprobe::tests {

/// A complete set in which everything works but what `failing` names by its key.
inline std::string complete_set(const std::string& id, const std::string& version,
                                const std::map<std::string, bool>& verdicts = {}) {
    std::string text = "set " + id + " VERSION number 0.21\nset " + id +
                       " GL_VENDOR text Mesa\nset " + id + " GL_VERSION text " + version +
                       "\nset " + id + " GL_RENDERER text a renderer\n";
    for (const Format& format : kFormats) {
        for (const char* capability : kCapabilities) {
            const std::string key = std::string(format.name) + '_' + capability;
            const auto found = verdicts.find(key);
            const bool verdict = found == verdicts.end() || found->second;
            text.append("set ").append(id).append(" ").append(key);
            text += verdict ? " true\n" : " false\n";
        }
    }
    return text + "sync " + id + '\n';
}

inline const std::string kIDPrefix = "org.texprobe.texprobe2.";

}  // namespace texprobe::tests

#endif
