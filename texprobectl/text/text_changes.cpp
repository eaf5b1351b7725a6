#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "measure/measure.h"
#include "records/compare.h"
#include "text/write_text.h"

namespace texprobe::ctl {

namespace {

/// An unmeasured verdict differs from none.
std::vector<Difference> measured_differences(const RecordSet& a, const RecordSet& b) {
    std::vector<Difference> measured = differences(a, b);
    std::erase_if(measured,
                  [](const Difference& each) { return !worth(each.a) || !worth(each.b); });
    return measured;
}

template <class IsSame>
const RecordSet* find_if_any(const RecordSets& sets, IsSame isSame) {
    const auto found = std::find_if(sets.begin(), sets.end(), isSame);
    return found == sets.end() ? nullptr : &*found;
}

void write_pairs(const char* heading, const std::vector<ComparedSets>& pairs,
                 const Terminal& terminal, std::ostream& stream) {
    for (const ComparedSets& pair : pairs) {
        stream << heading << "\n\n";
        write_comparison_text({{pair}, {}, {}}, terminal, stream);
        stream << '\n';
    }
}

}  // namespace

/// A set that was unfinished is compared with the build before, as a new one is.
void write_changes_text(const MeasureResult& result, const Terminal& terminal,
                        std::ostream& stream) {
    RecordSets fresh;
    std::vector<ComparedSets> now;
    std::vector<ComparedSets> builds;
    std::string equalBuilds;
    for (const RecordSet& after : result.after) {
        const RecordSet* before =
            find_if_any(result.before, [&](const RecordSet& set) { return set.id == after.id; });
        const RecordSet* build = find_if_any(result.predecessors, [&](const RecordSet& set) {
            return set.rendererID == after.rendererID;
        });
        if (before && (before->isComplete || !build)) {
            auto changed = differences(*before, after);
            if (!changed.empty()) now.push_back({*before, after, std::move(changed)});
        } else if (build) {
            auto changed = measured_differences(*build, after);
            if (!changed.empty()) {
                builds.push_back({*build, after, std::move(changed)});
                continue;
            }
            equalBuilds += after.unmeasured() == 0 ? "Nothing" : "Nothing measured yet";
            equalBuilds += " differs from the build before: " + build->id + '\n';
        } else {
            fresh.push_back(after);
        }
    }
    if (!fresh.empty()) write_sets_text(fresh, terminal, stream);
    write_pairs("Before (A) and now (B):", now, terminal, stream);
    write_pairs("The build before (A) and the present one (B):", builds, terminal, stream);
    stream << equalBuilds;
    if (fresh.empty() && now.empty() && builds.empty() && equalBuilds.empty()) {
        stream << "Nothing has changed.\n";
    }
}

}  // namespace texprobe::ctl
