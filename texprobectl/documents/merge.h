// The sums over many machines: verdicts per renderer and build. Adding sets and adding merged
// counts come to the same in any order, so parts can be merged anywhere.

#ifndef TEXPROBECTL_MERGE_H
#define TEXPROBECTL_MERGE_H

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "records/record_set.h"

namespace texprobe::ctl {

using Count = std::uint64_t;
/// More than there are computers, and far below the overflow of a sum.
inline constexpr Count kMostSets = 1'000'000'000'000;
/// How many sets have each verdict.
using VerdictCounts = std::array<Count, kVerdictCount>;
using CellCounts = std::array<std::array<VerdictCounts, kCapabilityCount>, kFormatCount>;

/// Sets with the same of all this are of the same driver.
struct Driver {
    std::string rendererID;
    std::string systemBuild;
    std::optional<std::string> vendor;
    std::optional<std::string> glVersion;
    std::optional<std::string> renderer;

    // Not <=>, which not every library has for texts.
    bool operator<(const Driver& other) const;
};

struct Counted {
    Count sets = 0;
    Count complete = 0;
    CellCounts cells = {};

    void add(const Counted& other);
};

class Merged {
public:
    void add(const RecordSet& set);
    void add(const Driver& driver, const Counted& counted);

    const std::map<Driver, Counted>& drivers() const { return drivers_; }
    /// Of all drivers together.
    Count sets() const { return sets_; }
    Counted total() const;

private:
    Count sets_ = 0;
    std::map<Driver, Counted> drivers_;
};

/// Reads exported and merged documents; "-" is standard input. Adds to `empty` those that have
/// nothing in them. Throws DocumentError, also for more than kMostSets: what is merged can be
/// merged again.
Merged merge_files(const std::vector<std::string>& files, std::vector<std::string>* empty);

}  // namespace texprobe::ctl

#endif
