// The sums over many machines: verdicts per renderer and build. Adding sets and adding merged
// counts come to the same in any order, so parts can be merged anywhere.

#ifndef TEXPROBECTL_MERGE_H
#define TEXPROBECTL_MERGE_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "records/record_set.h"

namespace texprobe::ctl {

using Count = std::uint64_t;
/// Also of machines: more than there are computers, and far below the overflow of a sum.
inline constexpr Count kMostSets = 1'000'000'000'000;
/// How many sets have each verdict.
using VerdictCounts = std::array<Count, kVerdictCount>;

/// The machines that something is true of: how many there are, and the first of their names. What
/// is kept does not grow with their number, and is the same in whatever order they come.
class MachineNames {
public:
    /// `document` is the number of the machine's document, whose repetitions count once.
    void add(const std::string& name, std::size_t document);
    /// `count` machines, of which these are some.
    void add(Count count, const std::vector<std::string>& names);

    Count count() const { return count_; }
    /// Sorted, and at most kMost: the first.
    const std::vector<std::string>& names() const { return names_; }

private:
    void keep(const std::string& name);

    /// As many as a person looks at.
    static constexpr std::size_t kMost = 20;
    Count count_ = 0;
    /// 0 before the first.
    std::size_t lastDocument_ = 0;
    std::vector<std::string> names_;
};

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

/// A no of some kind.
struct Failure {
    Cell cell;
    Verdict verdict = Verdict::kNo;

    bool operator<(const Failure& other) const;
};

/// A promise of the survey that is broken.
struct SurveyFailure {
    survey::Profile profile = survey::Profile::kCompatibility;
    /// Empty for the context itself.
    std::string format;
    std::string use;
    std::string verdict;

    bool operator<(const SurveyFailure& other) const;
};

/// A set with no more than a survey is in no other count.
struct SurveyCounts {
    Count sets = 0;
    std::map<SurveyFailure, Count> failures;

    void add(const Survey& survey);
    void add(const SurveyCounts& other);
};

struct Counted {
    Count sets = 0;
    Count complete = 0;
    bool isSoftware = false;
    CellTable<VerdictCounts> cells = {};
    /// In how many sets a no is the test's own.
    CellTable<Count> ofTest = {};
    /// Whose they are.
    std::map<Failure, MachineNames> failures;
    SurveyCounts survey;

    Count count(const Cell& cell, Verdict verdict) const {
        return cells[cell][static_cast<std::size_t>(verdict)];
    }
    /// The verdict of most sets; of as many, the yes.
    Verdict usual(const Cell& cell) const;
    bool is_outlier(const Failure& failure) const { return usual(failure.cell) != failure.verdict; }

    void add(const Counted& other);
};

/// A statement on a machine as a whole.
struct MachineState {
    enum Kind { kNoRecords, kIncomplete, kSoftware };
    Kind kind = kNoRecords;
    /// Of kSoftware: the name of the software, as short as it is known.
    std::string renderer;

    bool operator<(const MachineState& other) const;
};

class Merged {
public:
    /// The sets that are added next are this machine's, until end_machine().
    void begin_machine(const std::string& name);
    void add(const RecordSet& set);
    /// A machine without a set until here is left out.
    void end_machine();
    void add(const Driver& driver, const Counted& counted);
    void add(const MachineState& state, Count count, const std::vector<std::string>& names);

    const std::map<Driver, Counted>& drivers() const { return drivers_; }
    const std::map<MachineState, MachineNames>& states() const { return states_; }
    /// Software is nothing to be said where there is nothing else.
    bool is_outlier(const MachineState& state) const;
    /// Of all drivers together.
    Count sets() const { return sets_; }
    Counted total() const;

private:
    /// Of the machine in hand; the sets of its present build where it has some.
    struct Now {
        std::string name;
        std::size_t number = 0;
        bool hasSet = false;
        bool hasPresent = false;
        bool hasHardware = false;
        bool hasIncomplete = false;
        std::string software;
    };

    void count_verdicts(const RecordSet& set, Counted* counted);

    Now now_;
    Count sets_ = 0;
    std::map<Driver, Counted> drivers_;
    std::map<MachineState, MachineNames> states_;
};

struct MachineFile {
    std::string machine;
    /// "-" is standard input.
    std::string file;
};

/// The files that are not in the sums.
struct LeftOut {
    /// With nothing in them.
    std::vector<std::string> empty;
    /// Of a machine that another file is of.
    std::vector<MachineFile> repeated;
};

/// Reads exported and merged documents. An exported one is of the machine that it is given with,
/// which counts once; a merged one is of no machine, and counts whenever it is given. Throws
/// DocumentError, also for more than kMostSets: a merged document can be merged again.
Merged merge_files(const std::vector<MachineFile>& files, LeftOut* leftOut);

}  // namespace texprobe::ctl

#endif
