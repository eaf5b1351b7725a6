// Names of which the same is said, told together.

#ifndef TEXPROBECTL_FOLDED_H
#define TEXPROBECTL_FOLDED_H

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace texprobe::ctl {

/// What is said, and of whom, in the order in which they came.
using Folded = std::vector<std::pair<std::string, std::vector<std::string>>>;

/// Adds a name to those of which the same is said.
inline void fold(const std::string& said, const std::string& name, Folded* folded) {
    const auto same = std::find_if(folded->begin(), folded->end(),
                                   [&](const auto& each) { return each.first == said; });
    if (same != folded->end()) return same->second.push_back(name);
    folded->push_back({said, {name}});
}

}  // namespace texprobe::ctl

#endif
