#include "records/survey_set.h"

#include <algorithm>

namespace texprobe::ctl {

bool is_told(survey::Verdict verdict) {
    return verdict == survey::Verdict::kRefused || verdict == survey::Verdict::kWrong ||
           verdict == survey::Verdict::kCrashed || verdict == survey::Verdict::kHung;
}

const char* words_of(survey::Profile profile) {
    switch (profile) {
        case survey::Profile::kCompatibility:
            return "compatibility profile";
        case survey::Profile::kCore:
            return "core profile";
        default:
            return "OpenGL ES";
    }
}

std::optional<bool> transfer_holds(const Survey& /*survey*/, const Cell& /*cell*/) {
    return std::nullopt;
}

std::string describe_missing(const Survey& survey, const SurveyChoice& choice,
                             const std::string& rendererID) {
    const std::string rest = " of " + rendererID + " is not recorded";
    for (const survey::Profile profile : survey::kProfiles) {
        if (!choice.has(profile)) continue;
        const auto found =
            std::find_if(survey.begin(), survey.end(),
                         [&](const SurveyedProfile& each) { return each.profile == profile; });
        if (found != survey.end() && !found->lack.empty()) continue;
        if (found == survey.end() || !found->glVersion) {
            return std::string("the context of ") + words_of(profile) + rest;
        }
        for (std::size_t i = 0; i < found->formats.size(); ++i) {
            const survey::Format& format = survey::formats()[i];
            if (choice.has(format) && !is_complete(format, profile, found->formats[i])) {
                return std::string(format.name) + " in " + words_of(profile) + rest;
            }
        }
    }
    return {};
}

}  // namespace texprobe::ctl
