// The differences between record sets.

#ifndef TEXPROBECTL_COMPARE_H
#define TEXPROBECTL_COMPARE_H

#include <vector>

#include "records/catalogue.h"

namespace texprobe::ctl {

struct Difference {
    Cell cell;
    Verdict a;
    Verdict b;
};

struct ComparedSets {
    RecordSet a;
    RecordSet b;
    std::vector<Difference> differences;
};

struct Comparison {
    std::vector<ComparedSets> pairs;
    /// Without a counterpart.
    RecordSets onlyA;
    RecordSets onlyB;

    bool is_equal() const;
};

std::vector<Difference> differences(const RecordSet& a, const RecordSet& b);

/// Pairs the sets: two single sets with each other; of several, those of the same identifier, then
/// those of the same renderer where each side has one. The verdicts decide whether they are equal:
/// builds and drivers differ by nature.
Comparison compare(const RecordSets& a, const RecordSets& b);

/// Each set of the present build with the one before it. Empty when no renderer has two.
Comparison compare_builds(const RecordSets& all);

}  // namespace texprobe::ctl

#endif
