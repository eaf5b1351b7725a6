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
#include <string_view>
#include <utility>
#include <vector>

#include "records/record_texts.h"
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

/// Null for a record that is not whole.
template <class Texts>
auto* find_whole(Texts& texts, const survey::Format& format, survey::Profile profile) {
    const auto found = texts.find(key_of(profile, format));
    const bool isWhole = found != texts.end() && is_whole(format, profile, found->second);
    return isWhole ? &found->second : nullptr;
}

/// Made on the thread whose context is current; used on another afterwards.
class SurveysOfMachine {
public:
    explicit SurveysOfMachine(const std::vector<int>& rendererIDs) {
        for (const int rendererID : rendererIDs) {
            sets_.push_back(
                {CFStringCreateWithFormat(nullptr, nullptr, CFSTR("%s.%x.%s"), survey::kDomain,
                                          static_cast<unsigned>(rendererID), get_system_version()),
                 {}});
        }
    }
    ~SurveysOfMachine() {
        for (const Set& set : sets_) release(set.appID);
    }
    SurveysOfMachine(const SurveysOfMachine&) = delete;
    SurveysOfMachine& operator=(const SurveysOfMachine&) = delete;

    // The context's.
    survey::Profile profile() const { return facts_.profile; }
    const std::string& renderer() const { return renderer_; }

    /// Reads all records anew. A record that is under way is not complete, whichever process writes
    /// it.
    SurveyFinding look() {
        SurveyFinding finding;
        finding.isRead = refresh();
        for (Set& set : sets_) {
            if (!is_of_context(set)) continue;
            auto texts = take_if_whole(&set);
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

    /// False if they cannot be read.
    bool refresh() {
        bool isRead = true;
        for (Set& set : sets_) {
            auto texts = read_record_texts(set.appID, name_of(facts_.profile));
            isRead &= texts.has_value();
            if (texts) set.texts = std::move(*texts);
        }
        return isRead;
    }

    // Of the last reading, after a look that found nothing.

    /// Would another run find nothing to do?
    bool are_all_surveyed() const { return count_done() == count_all(); }
    std::size_t count_done() const {
        std::size_t count = 0;
        for (const Set& set : sets_) {
            const bool hasNone = survey::has_no_formats(profile_record(set));
            for (const survey::Format& format : survey::formats()) {
                count += hasNone || find_whole(set.texts, format, facts_.profile) ? 1 : 0;
            }
        }
        return count;
    }
    std::size_t count_all() const { return sets_.size() * survey::formats().size(); }
    /// Changes whenever a record does.
    std::size_t fingerprint() const {
        std::string all;
        for (const Set& set : sets_) {
            for (const auto& [key, text] : set.texts) {
                all.append(key).append("\n").append(text).append("\n");
            }
            all += '\n';
        }
        return std::hash<std::string>()(all);
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
        for (const Set& set : sets_) {
            if (is_of_context(set)) {
                return "the survey of \"" + renderer_ + "\" is not complete";
            }
            recorded += (recorded.empty() ? "" : ", ") + describe_recorded(set);
        }
        return std::string("no ") + name_of(facts_.profile) +
               " context of this machine's renderers is the context's, \"" + renderer_ +
               "\" of \"" + vendor_ + "\", driver \"" + driver_ + "\"; surveyed: " + recorded;
    }

private:
    /// Of one renderer.
    struct Set {
        CFStringRef appID;
        RecordTexts texts;  ///< Of the context's kind.
    };

    /// Empty if there is none.
    static std::string_view text_at(const Set& set, const std::string& key) {
        const auto found = set.texts.find(key);
        return found == set.texts.end() ? std::string_view() : found->second;
    }

    std::string profile_record(const Set& set) const {
        return std::string(text_at(set, survey::key_of(facts_.profile)));
    }

    bool is_of_context(const Set& set) const {
        return !renderer_.empty() &&
               text_at(set, survey::renderer_key_of(facts_.profile)) == renderer_ &&
               text_at(set, survey::vendor_key_of(facts_.profile)) == vendor_ &&
               driver_of_version(profile_record(set)) == driver_;
    }

    /// All formats', in the order of the table; the set has none of them afterwards.
    std::optional<std::vector<std::string>> take_if_whole(Set* set) const {
        std::vector<std::string*> found;
        for (const survey::Format& format : survey::formats()) {
            found.push_back(find_whole(set->texts, format, facts_.profile));
            if (!found.back()) return std::nullopt;
        }
        std::vector<std::string> texts;
        texts.reserve(found.size());
        for (std::string* text : found) texts.push_back(std::move(*text));
        set->texts.clear();
        return texts;
    }

    std::string describe_recorded(const Set& set) const {
        const std::string renderer(text_at(set, survey::renderer_key_of(facts_.profile)));
        const std::string vendor(text_at(set, survey::vendor_key_of(facts_.profile)));
        if (renderer.empty()) return "nothing";
        return '"' + renderer + "\" of \"" + vendor + "\", driver \"" +
               driver_of_version(profile_record(set)) + '"';
    }

    const survey::ContextFacts facts_ = facts_of_context();
    const std::string vendor_ = string_of_context(GL_VENDOR);
    const std::string renderer_ = string_of_context(GL_RENDERER);
    const std::string driver_ = driver_of_version(string_of_context(GL_VERSION));
    std::vector<Set> sets_;
};

}  // namespace

}  // namespace texprobe

#endif
