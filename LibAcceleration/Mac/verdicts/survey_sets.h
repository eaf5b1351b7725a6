// The survey's records of this machine's renderers, and which of them are of the current context's
// renderer and kind.

#ifndef TEXPROBE_VERDICTS_SURVEY_SETS_H
#define TEXPROBE_VERDICTS_SURVEY_SETS_H

#include <CoreFoundation/CoreFoundation.h>
#include <table/record_keys.h>

#include <algorithm>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "records/records.h"
#include "verdicts/context.h"
#include "verdicts/survey_answers.h"

namespace texprobe {

namespace {

struct SurveyFinding {
    bool isRead = true;
    std::optional<SurveyAnswers> answers;
    /// How many verdicts are unknown because two renderers carry the context's strings.
    std::size_t differences = 0;
};

/// Made on the thread whose context is current; used on another afterwards.
class SurveysOfMachine {
public:
    explicit SurveysOfMachine(const std::vector<int>& rendererIDs) {
        for (const int rendererID : rendererIDs) {
            appIDs_.push_back(
                CFStringCreateWithFormat(nullptr, nullptr, CFSTR("%s.%x.%s"), survey::kDomain,
                                         static_cast<unsigned>(rendererID), get_system_version()));
        }
    }
    ~SurveysOfMachine() {
        for (const CFStringRef appID : appIDs_) release(appID);
    }
    SurveysOfMachine(const SurveysOfMachine&) = delete;
    SurveysOfMachine& operator=(const SurveysOfMachine&) = delete;

    survey::Profile profile() const { return facts_.profile; }

    /// Reads all records anew. A record that is under way is not complete, whoever writes it.
    SurveyFinding look() const {
        SurveyFinding finding;
        for (const CFStringRef appID : appIDs_) {
            finding.isRead &= CFPreferencesAppSynchronize(appID) != 0;
            if (!is_of_context(appID)) continue;
            auto texts = read_whole(appID);
            if (!texts) continue;
            SurveyAnswers answers(facts_, std::move(*texts));
            if (finding.answers) {
                finding.differences += finding.answers->agree_with(answers);
            } else {
                finding.answers = std::move(answers);
            }
        }
        return finding;
    }

    // Of what was read last.

    /// Would another run find nothing to do?
    bool are_all_surveyed() const { return count_done() == count_all(); }
    std::size_t count_done() const {
        std::size_t count = 0;
        for (const CFStringRef appID : appIDs_) {
            const bool hasNone = survey::has_no_formats(profile_record(appID));
            for (const survey::Format& format : survey::formats()) {
                count += hasNone || read_whole(appID, format) ? 1 : 0;
            }
        }
        return count;
    }
    std::size_t count_all() const { return appIDs_.size() * survey::formats().size(); }
    /// Changes whenever a record does.
    std::size_t fingerprint() const {
        std::string all;
        for (const CFStringRef appID : appIDs_) {
            all += profile_record(appID) + '\n';
            for (const survey::Format& format : survey::formats()) {
                all += text_at(appID, key_of(facts_.profile, format)) + '\n';
            }
        }
        return std::hash<std::string>()(all);
    }

    void refresh() const {
        for (const CFStringRef appID : appIDs_) CFPreferencesAppSynchronize(appID);
    }

    /// Empty without any.
    std::string describe_differences(std::size_t differences) const {
        if (differences == 0) return {};
        return "unknown where two renderers of this machine differ, both \"" + renderer_ +
               "\": " + std::to_string(differences) + " verdicts of the survey";
    }

    /// Why nothing was found.
    std::string describe_mismatch() const {
        std::string recorded;
        for (const CFStringRef appID : appIDs_) {
            if (is_of_context(appID)) {
                return "the survey of \"" + renderer_ + "\" is not complete";
            }
            recorded += (recorded.empty() ? "" : ", ") + describe_recorded(appID);
        }
        return std::string("no ") + name_of(facts_.profile) +
               " context of this machine's renderers is the context's, \"" + renderer_ +
               "\" of \"" + vendor_ + "\", driver \"" + driver_ + "\"; surveyed: " + recorded;
    }

private:
    static std::string text_at(CFStringRef appID, const std::string& key) {
        const CFStringRef name =
            CFStringCreateWithCString(nullptr, key.c_str(), kCFStringEncodingASCII);
        const CFTypeRef value = CFPreferencesCopyAppValue(name, appID);
        std::string text;
        if (value && CFGetTypeID(value) == CFStringGetTypeID()) {
            const auto string = static_cast<CFStringRef>(value);
            text.resize(static_cast<std::size_t>(CFStringGetLength(string)) + 1);
            const bool isASCII = CFStringGetCString(
                string, text.data(), static_cast<CFIndex>(text.size()), kCFStringEncodingASCII);
            text.resize(isASCII ? text.size() - 1 : 0);
        }
        release(value);
        release(name);
        return text;
    }

    std::string profile_record(CFStringRef appID) const {
        return text_at(appID, survey::key_of(facts_.profile));
    }

    bool is_of_context(CFStringRef appID) const {
        return !renderer_.empty() &&
               text_at(appID, survey::renderer_key_of(facts_.profile)) == renderer_ &&
               text_at(appID, survey::vendor_key_of(facts_.profile)) == vendor_ &&
               driver_of_version(profile_record(appID)) == driver_;
    }

    /// None for a record that is not whole.
    std::optional<std::string> read_whole(CFStringRef appID, const survey::Format& format) const {
        std::string text = text_at(appID, key_of(facts_.profile, format));
        if (!is_whole(format, facts_.profile, text)) return std::nullopt;
        return text;
    }

    std::optional<std::vector<std::string>> read_whole(CFStringRef appID) const {
        std::vector<std::string> texts;
        for (const survey::Format& format : survey::formats()) {
            auto text = read_whole(appID, format);
            if (!text) return std::nullopt;
            texts.push_back(std::move(*text));
        }
        return texts;
    }

    std::string describe_recorded(CFStringRef appID) const {
        const std::string renderer = text_at(appID, survey::renderer_key_of(facts_.profile));
        if (renderer.empty()) return "nothing";
        return '"' + renderer + "\" of \"" + text_at(appID, survey::vendor_key_of(facts_.profile)) +
               "\", driver \"" + driver_of_version(profile_record(appID)) + '"';
    }

    const survey::ContextFacts facts_ = facts_of_context();
    const std::string vendor_ = string_of_context(GL_VENDOR);
    const std::string renderer_ = string_of_context(GL_RENDERER);
    const std::string driver_ = driver_of_version(string_of_context(GL_VERSION));
    std::vector<CFStringRef> appIDs_;
};

}  // namespace

}  // namespace texprobe

#endif
