// The survey of one profile on one renderer.

#ifndef TEXPROBE_SURVEY_PROFILE_SURVEY_H
#define TEXPROBE_SURVEY_PROFILE_SURVEY_H

#include <memory>
#include <string>

#include "opengl/judge.h"
#include "run/survey_records.h"
#include "uses/uses.h"

namespace texprobe::survey {

class ProfileSurvey {
public:
    /// `ofDeath` is the verdict on the use under way when an earlier run ended.
    ProfileSurvey(int rendererID, Profile profile, SurveyRecords* records, Verdict ofDeath)
        : rendererID_(rendererID), profile_(profile), records_(*records), ofDeath_(ofDeath) {}

    /// Surveys the format, unless that is recorded.
    void survey(const Format& format);
    bool is_recorded(const Format& format) const;
    /// The context's GL_RENDERER. Opens the context unless it is recorded; empty if there is none.
    std::string renderer();

private:
    struct Opened {
        Opened(int rendererID, Profile profile)
            : offscreen(rendererID, profile),
              context(offscreen.is_current() ? describe_current_context(profile) : SurveyContext{}),
              judge(context) {}
        const ProfileContext offscreen;
        const SurveyContext context;
        const Judge judge;
    };

    bool is_offered();
    bool survey_at_once(const Format& format, FormatRecord left);
    bool survey_one_by_one(const Format& format, const FormatRecord& left);
    bool record(const Format& format, const FormatRecord& record);
    Judged answer_one(const Format& format, const Question& question, const FormatRecord& record);

    const int rendererID_;
    const Profile profile_;
    SurveyRecords& records_;
    const Verdict ofDeath_;
    std::unique_ptr<const Opened> opened_;
    std::unique_ptr<const Work> work_;  ///< On the format in hand.
};

}  // namespace texprobe::survey

#endif
