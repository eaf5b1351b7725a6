// The survey of one renderer under one build of the system, as it is recorded or in a document.

#ifndef TEXPROBECTL_SURVEY_SET_H
#define TEXPROBECTL_SURVEY_SET_H

#include <table/promises.h>
#include <table/record_text.h>

#include <optional>
#include <string>
#include <vector>

#include "records/cells.h"

namespace texprobe::ctl {

/// One kind of context.
struct SurveyedProfile {
    survey::Profile profile = survey::Profile::kCompatibility;
    /// The context's GL_VERSION; none while it is not known, and where there is no context.
    std::optional<std::string> glVersion;
    /// Why there is no context: "not_offered", "crashed" or "hung". Empty where there is one.
    std::string lack;
    /// In the order of the survey's table. A use without a verdict is unmeasured.
    std::vector<survey::FormatRecord> formats =
        std::vector<survey::FormatRecord>(survey::formats().size());

    bool operator==(const SurveyedProfile&) const = default;
};

/// Those of which something is recorded, in their order.
using Survey = std::vector<SurveyedProfile>;

/// The verdict's name in documents; none for a use that the format does not have.
inline constexpr const char* kUnmeasuredUse = "unmeasured";

/// Broken promises, of which people are told in sentences.
bool is_told(survey::Verdict verdict);

/// "core profile"
const char* words_of(survey::Profile profile);

/// Why there is no such context, in a sentence.
std::string describe_lack(const SurveyedProfile& profile);

/// The part that is surveyed or shown: everything, unless it is named.
struct SurveyChoice {
    std::optional<survey::Profile> profile;
    const survey::Format* format = nullptr;

    bool has(survey::Profile other) const { return !profile || *profile == other; }
    bool has(const survey::Format& other) const { return !format || format == &other; }
};

/// Whether the survey has found that the transfer of a cell's test holds, with the same format,
/// layout and use; none where it has not judged it.
std::optional<bool> transfer_holds(const Survey& survey, const Cell& cell);

/// "GL_R8 in core profile of be457c6e is not recorded": the first missing part of the chosen
/// parts of a renderer's survey; empty when none is.
std::string describe_missing(const Survey& survey, const SurveyChoice& choice,
                             const std::string& rendererID);

}  // namespace texprobe::ctl

#endif
