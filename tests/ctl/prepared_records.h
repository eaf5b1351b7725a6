// Scripts of record sets for the scripted tool.

#ifndef TEXPROBE_TESTS_PREPARED_RECORDS_H
#define TEXPROBE_TESTS_PREPARED_RECORDS_H

#include <map>
#include <string>

#include "support/formats.h"

namespace texprobe::tests {

/// A complete set: every verdict is yes but these, by their key, and what needs a no has none.
inline std::string complete_set(const std::string& id, const std::string& version,
                                const std::map<std::string, bool>& verdicts = {},
                                const std::string& renderer = "a renderer") {
    std::string text = "set " + id + " VERSION number 0.21\nset " + id +
                       " GL_VENDOR text Mesa\nset " + id + " GL_VERSION text " + version +
                       "\nset " + id + " GL_RENDERER text " + renderer + "\n";
    for (const Format& format : kFormats) {
        bool isSupported = true;
        bool isRenderable = true;
        for (std::size_t i = 0; i < kCapabilities.size(); ++i) {
            if (!isSupported || (i >= 4 && !isRenderable)) continue;
            const std::string key = std::string(format.name) + '_' + kCapabilities[i];
            const auto found = verdicts.find(key);
            const bool verdict = found == verdicts.end() || found->second;
            if (i == 0) isSupported = verdict;
            if (i == 1) isRenderable = verdict;
            text.append("set ").append(id).append(" ").append(key);
            text += verdict ? " true\n" : " false\n";
        }
    }
    return text + "sync " + id + '\n';
}

inline const std::string kIDPrefix = "org.texprobe.texprobe2.";

}  // namespace texprobe::tests

#endif
