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

/// "yes", or why there is none; empty where it is not known.
std::string context_of(const SurveyedProfile& profile) {
    return profile.glVersion ? "yes" : profile.lack;
}

void compare_profiles(const SurveyedProfile& a, const SurveyedProfile& b,
                      std::vector<SurveyDifference>* found) {
    const std::string contextA = context_of(a);
    const std::string contextB = context_of(b);
    if (contextA != contextB && !contextA.empty() && !contextB.empty()) {
        found->push_back({a.profile, "", "context", contextA, contextB});
    }
    for (std::size_t i = 0; i < a.formats.size(); ++i) {
        for (const auto& [use, judged] : a.formats[i].uses) {
            const auto other = b.formats[i].uses.find(use);
            if (other == b.formats[i].uses.end()) continue;
            if (judged.verdict == other->second.verdict) continue;
            found->push_back({a.profile, survey::formats()[i].name, name_of(use),
                              name_of(judged.verdict), name_of(other->second.verdict)});
        }
    }
}

ComparedSets compare_pair(const RecordSet& a, const RecordSet& b) {
    ComparedSets pair = {a, b, differences(a, b)};
    for (const SurveyedProfile& own : a.survey) {
        for (const SurveyedProfile& other : b.survey) {
            if (own.profile == other.profile) compare_profiles(own, other, &pair.ofSurvey);
        }
    }
    return pair;
}

/// As worth() of a verdict of the tool.
std::optional<int> worth_of_survey(const std::string& verdict) {
    if (verdict == name_of(survey::Verdict::kUnknown)) return std::nullopt;
    if (verdict == name_of(survey::Verdict::kYes)) return 2;
    const bool hasDied =
        verdict == name_of(survey::Verdict::kCrashed) || verdict == name_of(survey::Verdict::kHung);
    return hasDied ? 0 : 1;
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
        comparison->pairs.push_back(compare_pair(a, *b));
        bs.erase(b);
        as.erase(as.begin() + static_cast<std::ptrdiff_t>(i));
    }
}

}  // namespace

bool Comparison::is_equal() const {
    return onlyA.empty() && onlyB.empty() &&
           std::all_of(pairs.begin(), pairs.end(),
                       [](const ComparedSets& pair) { return pair.is_equal(); });
}

std::optional<int> worth(Verdict verdict) {
    if (verdict == Verdict::kUnmeasured) return std::nullopt;
    if (verdict == Verdict::kYes) return 2;
    return verdict == Verdict::kCrashed || verdict == Verdict::kHung ? 0 : 1;
}

Balance balance_of(const ComparedSets& pair) {
    Balance balance;
    const auto weigh = [&](const std::optional<int>& a, const std::optional<int>& b) {
        balance.worse += a && b && *b < *a;
        balance.better += a && b && *b > *a;
    };
    for (const Difference& each : pair.differences) weigh(worth(each.a), worth(each.b));
    for (const SurveyDifference& each : pair.ofSurvey) {
        weigh(worth_of_survey(each.a), worth_of_survey(each.b));
    }
    return balance;
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
            comparison.pairs.push_back(compare_pair(*before, set));
        }
    }
    return comparison;
}

}  // namespace texprobe::ctl
