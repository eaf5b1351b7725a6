// The record set of one renderer under one build of the system.

#ifndef TEXPROBECTL_RECORD_SET_H
#define TEXPROBECTL_RECORD_SET_H

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "records/cells.h"
#include "records/survey_set.h"

namespace texprobe::ctl {

/// The domain of the tool's records: "<domain>.<renderer ID>.<system build>" is a set's identifier.
inline constexpr std::string_view kDomain = "org.texprobe.texprobe2";

/// Records of an older version are measured again.
inline constexpr double kCurrentVersion = 0.21;

enum class Verdict {
    kYes,
    kNo,
    /// No record yet.
    kUnmeasured,
    /// No record, because a capability that it needs is a no.
    kNotApplicable,
    /// A no, because the run died in the test.
    kCrashed,
    /// A no, because the test did not come back.
    kHung,
};
inline constexpr std::size_t kVerdictCount = 6;
inline constexpr std::array<const char*, kVerdictCount> kVerdictNames = {
    "yes", "no", "unmeasured", "not_applicable", "crashed", "hung"};

inline const char* name_of(Verdict verdict) {
    return kVerdictNames[static_cast<std::size_t>(verdict)];
}

/// A no of any kind: the application must not rely on it.
inline constexpr std::array<Verdict, 3> kFailures = {Verdict::kNo, Verdict::kCrashed,
                                                     Verdict::kHung};
inline bool is_failure(Verdict verdict) {
    return std::find(kFailures.begin(), kFailures.end(), verdict) != kFailures.end();
}

// How a false record came about, as far as `measure` has seen it.
struct Crashed {
    /// "SIGSEGV"; signals have different numbers on different systems.
    std::string signal;
    bool operator==(const Crashed&) const = default;
};
struct Exited {
    int status = 0;
    bool operator==(const Exited&) const = default;
};
struct Hung {
    int seconds = 0;
    bool operator==(const Hung&) const = default;
};
/// The test came back and said no.
struct Seen {
    /// kTest: the driver was right, and the test's comparison said no. kOther: not that, as far as
    /// it could be found out.
    enum class Whose { kNotAsked, kTest, kOther };
    Whose whose = Whose::kNotAsked;
    bool operator==(const Seen&) const = default;
};
using Cause = std::variant<Crashed, Exited, Hung, Seen>;

/// One crash, one hang, or one no that is the test's own.
struct Detail {
    Cell cell;
    Cause cause;

    bool is_of_test() const { return std::holds_alternative<Seen>(cause); }
    bool operator==(const Detail&) const = default;
};

using VerdictTable = CellTable<Verdict>;

struct RecordSet {
    std::string id;
    /// Lower-case hexadecimal, as in the identifier.
    std::string rendererID;
    std::string systemBuild;
    std::optional<double> version;
    /// Of a renderer that this machine lists now, and of its present build.
    bool isPresent = false;
    /// Current, with its three strings, and without a verdict that is still to be measured.
    bool isComplete = false;
    /// Draws on the processor, as far as the platform or the renderer's name tells.
    bool isSoftware = false;
    std::optional<std::string> vendor;
    std::optional<std::string> glVersion;
    std::optional<std::string> renderer;
    /// When `measure` recorded the last of its verdicts: "2026-11-21T19:56:43Z". None where others
    /// did.
    std::optional<std::string> measured;
    VerdictTable verdicts = {};
    std::vector<Detail> details;
    /// Some plain no was recorded outside `measure`, and may have been a crash. Not in documents.
    bool hasUnseenNo = false;
    /// Of the same renderer and build. It says nothing of whether this set is complete.
    Survey survey;

    Verdict verdict(const Cell& cell) const { return verdicts[cell]; }
    std::size_t unmeasured() const;
    const Detail* detail(const Cell& cell) const;
    /// A no of a right driver: the comparison has rules of its own.
    bool is_of_test(const Cell& cell) const;
    bool operator==(const RecordSet&) const = default;
};

using RecordSets = std::vector<RecordSet>;

/// An identifier taken apart.
struct SetIdentity {
    std::string rendererID;
    std::string systemBuild;
};
/// None for an identifier that is no record set's.
std::optional<SetIdentity> parse_id(std::string_view id);

std::string make_id(std::string_view rendererID, std::string_view systemBuild);

/// The recorded flags, and the causes of the false ones, by cell.
struct Flags {
    CellTable<std::optional<bool>> recorded;
    CellTable<std::optional<Cause>> causes;
};

/// The verdicts that follow from them. A remembered cause counts only while its record is false.
/// The survey decides whose a no is where it has judged the same transfer.
struct Decided {
    VerdictTable verdicts = {};
    std::vector<Detail> details;
    bool hasUnseenNo = false;
};
Decided decide_verdicts(const Flags& flags, const Survey& survey = {});

/// Is the set current, does it name its renderer, and is nothing in it unmeasured? An application
/// takes a set by its version and its three strings alone.
bool is_complete(const RecordSet& set);

/// Has the tool recorded anything? Else there is no more than a survey.
bool is_measured(const RecordSet& set);

/// "ended by SIGSEGV" and the like.
std::string describe(const Cause& cause);

/// "GL_RGBA8 upload set"
std::string words_of(const Cell& cell);

/// The format of this name, as kFormats has it.
std::optional<std::size_t> format_named(std::string_view name);

/// The capability of this name in documents.
std::optional<Capability> capability_named(std::string_view member);

}  // namespace texprobe::ctl

#endif
