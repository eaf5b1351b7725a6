#include "records/survey_store.h"

#include <table/record_keys.h>

#include <string_view>
#include <utility>

#include "records/preferences.h"
#include "records/record_set.h"

namespace texprobe::ctl {

namespace {

/// False if nothing is recorded of it.
bool parse_profile(const SurveyTexts& texts, SurveyedProfile* profile) {
    const auto found = texts.find(key_of(profile->profile));
    bool isThere = found != texts.end();
    if (isThere && survey::has_no_formats(found->second)) {
        profile->lack = found->second;
        return true;
    }
    if (isThere && !survey::is_opening(found->second)) profile->glVersion = found->second;
    for (std::size_t i = 0; i < profile->formats.size(); ++i) {
        const auto text = texts.find(key_of(profile->profile, survey::formats()[i]));
        if (text == texts.end()) continue;
        isThere = true;
        const auto record = survey::read_record(text->second);
        // A question under way has no verdict.
        if (record) profile->formats[i] = survey::after_outside_end(*record);
    }
    return isThere;
}

}  // namespace

std::string survey_of(const std::string& id) {
    return survey::kDomain + id.substr(kDomain.size());
}

std::string set_of_survey(const std::string& application) {
    const std::string_view domain = survey::kDomain;
    if (application.compare(0, domain.size(), domain) != 0) return {};
    std::string id = std::string(kDomain) + application.substr(domain.size());
    return parse_id(id) ? id : std::string();
}

std::vector<std::string> survey_keys() {
    std::vector<std::string> keys;
    for (const survey::Profile profile : survey::kProfiles) {
        keys.insert(keys.end(),
                    {key_of(profile), vendor_key_of(profile), renderer_key_of(profile)});
        for (const survey::Format& format : survey::formats()) {
            keys.push_back(key_of(profile, format));
        }
    }
    return keys;
}

SurveyTexts read_survey_texts(const std::string& id) {
    const std::string application = survey_of(id);
    refresh(application);
    SurveyTexts texts;
    for (std::string& key : survey_keys()) {
        auto text = read_text(application, key);
        if (text) texts.emplace(std::move(key), std::move(*text));
    }
    return texts;
}

Survey parse_survey(const SurveyTexts& texts) {
    Survey survey;
    for (const survey::Profile each : survey::kProfiles) {
        SurveyedProfile profile;
        profile.profile = each;
        if (parse_profile(texts, &profile)) survey.push_back(std::move(profile));
    }
    return survey;
}

}  // namespace texprobe::ctl
