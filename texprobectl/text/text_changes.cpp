#include <fmt/format.h>

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

/// Of the verdicts that an application meets; none for one that is not there yet.
std::optional<int> worth(Verdict verdict) {
    switch (verdict) {
        case Verdict::kYes:
            return 2;
        case Verdict::kNo:
        case Verdict::kNotApplicable:
            return 1;
        case Verdict::kCrashed:
        case Verdict::kHung:
            return 0;
        default:
            return std::nullopt;
    }
}

std::string count_changes(const std::vector<Difference>& differences) {
    int worse = 0;
    int better = 0;
    for (const Difference& difference : differences) {
        const auto before = worth(difference.a);
        const auto now = worth(difference.b);
        if (!before || !now) continue;
        worse += *now < *before;
        better += *now > *before;
    }
    return fmt::format("{} worse, {} better.\n", worse, better);
}

/// An unmeasured verdict differs from none.
std::vector<Difference> measured_differences(const RecordSet& a, const RecordSet& b) {
    std::vector<Difference> measured = differences(a, b);
    measured.erase(
        std::remove_if(measured.begin(), measured.end(),
                       [](const Difference& each) { return !worth(each.a) || !worth(each.b); }),
        measured.end());
    return measured;
}

template <class IsSame>
const RecordSet* find_if_any(const RecordSets& sets, IsSame isSame) {
    const auto found = std::find_if(sets.begin(), sets.end(), isSame);
    return found == sets.end() ? nullptr : &*found;
}

class ChangeTable {
public:
    explicit ChangeTable(const MeasureResult& result) {
        for (const RecordSet& after : result.after) add(after, result);
    }

    void write(const Terminal& terminal, std::ostream& stream) const {
        if (!fresh_.empty()) write_sets_text(fresh_, terminal, stream);
        write_pairs("Before (A) and now (B):", now_, terminal, stream);
        write_pairs("The build before (A) and the present one (B):", builds_, terminal, stream);
        for (const std::string& line : equalBuilds_) stream << line << '\n';
        if (fresh_.empty() && now_.empty() && builds_.empty() && equalBuilds_.empty()) {
            stream << "Nothing has changed.\n";
        }
    }

private:
    /// A set that was unfinished is compared with the build before, as a new one is.
    void add(const RecordSet& after, const MeasureResult& result) {
        const RecordSet* before =
            find_if_any(result.before, [&](const RecordSet& set) { return set.id == after.id; });
        const RecordSet* build = find_if_any(result.predecessors, [&](const RecordSet& set) {
            return set.rendererID == after.rendererID;
        });
        if (before && (before->isComplete || !build)) {
            auto changed = differences(*before, after);
            if (!changed.empty()) now_.push_back({*before, after, std::move(changed)});
        } else if (build) {
            auto changed = measured_differences(*build, after);
            if (changed.empty()) {
                equalBuilds_.push_back(
                    (after.unmeasured() == 0 ? "Nothing" : "Nothing measured yet") +
                    (" differs from the build before: " + build->id));
            } else {
                builds_.push_back({*build, after, std::move(changed)});
            }
        } else {
            fresh_.push_back(after);
        }
    }

    static void write_pairs(const char* heading, const std::vector<ComparedSets>& pairs,
                            const Terminal& terminal, std::ostream& stream) {
        for (const ComparedSets& pair : pairs) {
            stream << heading << "\n\n";
            write_comparison_text({{pair}, {}, {}}, terminal, stream);
            stream << count_changes(pair.differences) << '\n';
        }
    }

    RecordSets fresh_;
    std::vector<ComparedSets> now_;
    std::vector<ComparedSets> builds_;
    std::vector<std::string> equalBuilds_;
};

}  // namespace

void write_changes_text(const MeasureResult& result, const Terminal& terminal,
                        std::ostream& stream) {
    ChangeTable(result).write(terminal, stream);
}

}  // namespace texprobe::ctl
