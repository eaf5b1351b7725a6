#include "records/compare.h"

#include <algorithm>
#include <functional>

namespace texprobe::ctl {

namespace {

using Same = std::function<bool(const RecordSet&, const RecordSet&)>;

bool has_single(const RecordSets& sets, const RecordSet& set, const Same& same) {
    return std::count_if(sets.begin(), sets.end(),
                         [&](const RecordSet& other) { return same(other, set); }) == 1;
}

/// Moves those that have exactly one counterpart from both sides to the pairs.
void pair_up(Comparison* comparison, const Same& same) {
    RecordSets& as = comparison->onlyA;
    RecordSets& bs = comparison->onlyB;
    for (std::size_t i = 0; i < as.size();) {
        const RecordSet a = as[i];
        if (!has_single(as, a, same) || !has_single(bs, a, same)) {
            ++i;
            continue;
        }
        const auto b =
            std::find_if(bs.begin(), bs.end(), [&](const RecordSet& set) { return same(set, a); });
        comparison->pairs.push_back({a, *b, differences(a, *b)});
        bs.erase(b);
        as.erase(as.begin() + static_cast<std::ptrdiff_t>(i));
    }
}

}  // namespace

bool Comparison::is_equal() const {
    return onlyA.empty() && onlyB.empty() &&
           std::all_of(pairs.begin(), pairs.end(),
                       [](const ComparedSets& pair) { return pair.differences.empty(); });
}

std::vector<Difference> differences(const RecordSet& a, const RecordSet& b) {
    std::vector<Difference> found;
    for_each_cell([&](const Cell& cell) {
        if (a.verdict(cell) != b.verdict(cell)) {
            found.push_back({cell, a.verdict(cell), b.verdict(cell)});
        }
    });
    return found;
}

Comparison compare(const RecordSets& a, const RecordSets& b) {
    Comparison comparison{{}, a, b};
    if (a.size() == 1 && b.size() == 1) {
        pair_up(&comparison, [](const RecordSet&, const RecordSet&) { return true; });
    }
    pair_up(&comparison, [](const RecordSet& x, const RecordSet& y) { return x.id == y.id; });
    pair_up(&comparison,
            [](const RecordSet& x, const RecordSet& y) { return x.rendererID == y.rendererID; });
    return comparison;
}

Comparison compare_builds(const RecordSets& all) {
    Comparison comparison;
    for (const RecordSet& set : all) {
        if (!set.isPresent || !is_measured(set)) continue;
        if (const RecordSet* before = find_predecessor(set, all)) {
            comparison.pairs.push_back({*before, set, differences(*before, set)});
        }
    }
    return comparison;
}

}  // namespace texprobe::ctl
