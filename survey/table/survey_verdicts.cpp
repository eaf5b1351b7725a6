#include "table/survey_verdicts.h"

#include <cstddef>
#include <iterator>

namespace texprobe::survey {

namespace {

constexpr const char* kVerdictNames[] = {"yes",         "refused",        "wrong",
                                         "not_offered", "not_applicable", "crashed",
                                         "hung",        "unknown",        "started"};

}  // namespace

const char* name_of(Verdict verdict) {
    return kVerdictNames[static_cast<std::size_t>(verdict)];
}

std::optional<Verdict> find_verdict(std::string_view name) {
    for (std::size_t i = 0; i < std::size(kVerdictNames); ++i) {
        if (name == kVerdictNames[i]) return static_cast<Verdict>(i);
    }
    return std::nullopt;
}

Judged judge(const Finding& finding, const std::string& promise) {
    const std::string& who = promise.empty() ? finding.promise : promise;
    if (finding.kind == Finding::Kind::kHolds) return {Verdict::kYes, ""};
    if (finding.kind == Finding::Kind::kNotApplicable) return {Verdict::kNotApplicable, ""};
    if (finding.kind == Finding::Kind::kCannotTell) return {Verdict::kUnknown, finding.text};
    if (who.empty() || !finding.isPromised) return {Verdict::kNotOffered, finding.text};
    const bool isRefused = finding.kind == Finding::Kind::kRefused;
    return {isRefused ? Verdict::kRefused : Verdict::kWrong,
            finding.text + ", although " + who + " promises it"};
}

}  // namespace texprobe::survey
