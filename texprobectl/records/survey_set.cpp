#include "records/survey_set.h"

#include <table/layout_table.h>
#include <table/record_keys.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace texprobe::ctl {

bool is_told(survey::Verdict verdict) {
    return verdict == survey::Verdict::kRefused || verdict == survey::Verdict::kWrong ||
           verdict == survey::Verdict::kCrashed || verdict == survey::Verdict::kHung;
}

const char* words_of(survey::Profile profile) {
    if (profile == survey::Profile::kEs) return "OpenGL ES";
    return profile == survey::Profile::kCore ? "core profile" : "compatibility profile";
}

std::string describe_lack(const SurveyedProfile& profile) {
    return std::string("There is no context of ") + words_of(profile.profile) + ": " +
           (profile.lack == survey::kContextNotOffered ? "the driver does not offer it."
            : profile.lack == survey::kContextCrashed  ? "opening one has crashed."
                                                       : "opening one has hung.");
}

std::optional<bool> transfer_holds(const Survey& surveyed, const Cell& cell) {
    using survey::Use;
    constexpr std::pair<Capability, Use> kTransfers[] = {{kUploadSet, Use::kUploadBuffer},
                                                         {kUploadReset, Use::kDefineBuffer},
                                                         {kDownloadGet, Use::kGetBuffer},
                                                         {kDownloadRead, Use::kReadBuffer}};
    const Format& format = kFormats[cell.format];
    const auto* const transfer =
        std::find_if(std::begin(kTransfers), std::end(kTransfers),
                     [&](const auto& each) { return each.first == cell.capability; });
    if (transfer == std::end(kTransfers)) return std::nullopt;
    const survey::Question question(transfer->second, {static_cast<unsigned>(format.order),
                                                       static_cast<unsigned>(format.type)});
    for (const SurveyedProfile& profile : surveyed) {
        for (std::size_t i = 0; i < profile.formats.size(); ++i) {
            if (profile.profile != survey::Profile::kCompatibility ||
                survey::formats()[i].value != format.internalFormat) {
                continue;
            }
            const auto found = profile.formats[i].uses.find(question);
            if (found == profile.formats[i].uses.end()) continue;
            const survey::Verdict verdict = found->second.verdict;
            if (verdict == survey::Verdict::kYes) return true;
            const bool isBroken =
                verdict == survey::Verdict::kRefused || verdict == survey::Verdict::kWrong;
            if (isBroken) return false;
        }
    }
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
