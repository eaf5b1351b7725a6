// Records of a survey, and a survey's program that does what a script tells it.

#ifndef TEXPROBE_TESTS_SCRIPTED_SURVEY_H
#define TEXPROBE_TESTS_SCRIPTED_SURVEY_H

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "scripted_verdicts.h"
#include "table/record_text.h"

namespace texprobe::tests {

constexpr char kFirstSurvey[] = "org.texprobe.survey1.ff.22G120";
constexpr char kSecondSurvey[] = "org.texprobe.survey1.1021a00.22G120";

/// Both programs are scripted. The context is one of the core profile, of the first renderer.
class ScriptedSurvey : public ScriptedVerdicts {
protected:
    ScriptedSurvey();

    /// The verdict on one question of one format; all others are yes.
    using Except = std::function<survey::Verdict(const survey::Format&, const survey::Question&)>;

    /// The lines of a script that records a whole survey of one profile.
    static std::string complete_survey(const std::string& application, survey::Profile profile,
                                       const std::string& version,
                                       const std::string& renderer = "Renderer",
                                       const Except& except = nullptr);
    /// That of the first renderer's core profile.
    static std::string core_survey(const Except& except = nullptr);

    void script_survey(const std::string& lines) const;
    void script_survey(const std::string& lines, int run) const;
    /// The arguments of each run, as "run --profile core".
    std::vector<std::string> survey_runs() const;

    texprobe_options options();
    /// Opens with these and waits until it is over. Keeps the reason.
    texprobe_state open_and_wait(const texprobe_options& options);
    texprobe_state open_and_wait() { return open_and_wait(options()); }

    texprobe_answer answer(unsigned format, texprobe_capability capability) const {
        return verdicts_->answer(format, capability);
    }

    std::optional<qor::TexProbeVerdicts> verdicts_;
};

}  // namespace texprobe::tests

#endif
