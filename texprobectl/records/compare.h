// The differences between record sets.

#ifndef TEXPROBECTL_COMPARE_H
#define TEXPROBECTL_COMPARE_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "records/catalogue.h"

namespace texprobe::ctl {

struct Difference {
    Cell cell;
    Verdict a;
    Verdict b;
};

/// Of a question that both surveys have asked.
struct SurveyDifference {
    survey::Profile profile = survey::Profile::kCompatibility;
    /// Empty for the context itself.
    std::string format;
    std::string use;
    std::string a;
    std::string b;
};

struct ComparedSets {
    RecordSet a;
    RecordSet b;
    std::vector<Difference> differences;
    std::vector<SurveyDifference> ofSurvey = {};

    bool is_equal() const { return differences.empty() && ofSurvey.empty(); }
};

struct Comparison {
    std::vector<ComparedSets> pairs;
    /// Without a counterpart.
    RecordSets onlyA;
    RecordSets onlyB;

    bool is_equal() const;
};

/// A verdict's worth to an application: more is better. None for one that is not there yet.
std::optional<int> worth(Verdict verdict);

/// How many verdicts are worse in B, and how many better.
struct Balance {
    std::size_t worse = 0;
    std::size_t better = 0;
};
Balance balance_of(const ComparedSets& pair);

/// A no is a no, whosever it is.
std::vector<Difference> differences(const RecordSet& a, const RecordSet& b);

/// Pairs the sets: two single sets with each other; of several, those of the same identifier, then
/// those of the same renderer where each side has one. The verdicts decide whether they are equal:
/// builds and drivers differ by nature.
Comparison compare(const RecordSets& a, const RecordSets& b);

/// Each set of the present build with the one before it. Empty when no renderer has two.
Comparison compare_builds(const RecordSets& all);

}  // namespace texprobe::ctl

#endif
