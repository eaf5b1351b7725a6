// Records of a survey, and a survey's program that does what a script tells it.

#ifndef TEXPROBE_TESTS_SCRIPTED_SURVEY_H
#define TEXPROBE_TESTS_SCRIPTED_SURVEY_H

#include <string>
#include <vector>

#include "scripted_verdicts.h"
#include "table/record_text.h"

namespace texprobe::tests {

constexpr char kFirstSurvey[] = "org.texprobe.survey1.ff.22G120";
constexpr char kSecondSurvey[] = "org.texprobe.survey1.1021a00.22G120";

/// The verdict on one question of the survey, in one layout or in all.
struct ExceptUse {
    const char* format;  ///< Null: each.
    survey::Use use;
    survey::Verdict verdict;
    survey::Layout layout = {};
};

/// Both programs are scripted. The context is one of the core profile, of the first renderer.
class ScriptedSurvey : public ScriptedVerdicts {
protected:
    ScriptedSurvey();

    /// The lines of a script that records a whole survey of one profile: every verdict is yes, but
    /// for what `except` says.
    static std::string survey_of(survey::Profile profile, const std::string& version,
                                 const std::vector<ExceptUse>& except = {},
                                 const std::string& application = kFirstSurvey);
    static std::string core_survey(const std::vector<ExceptUse>& except = {},
                                   const std::string& application = kFirstSurvey);
    static std::string compatibility_survey(const std::vector<ExceptUse>& except = {});
    /// The record of one format in the core profile.
    static std::string format_record(const std::string& text) {
        return std::string("set ") + kFirstSurvey + " core.GL_R8 text " + text + "\nsync " +
               kFirstSurvey + "\n";
    }

    void script_survey(const std::string& lines) const;
    void script_survey(const std::string& lines, int run) const;
    /// The arguments of each run, as "run --profile core".
    std::vector<std::string> survey_runs() const;

    texprobe_state measure_as_wished(int what);
};

}  // namespace texprobe::tests

#endif
