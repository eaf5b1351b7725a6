#include "scripted_survey.h"

#include <utility>

#include "support/text.h"
#include "table/record_keys.h"

namespace texprobe::tests {

ScriptedSurvey::ScriptedSurvey() {
    // The tool's program does both.
    std::filesystem::create_hard_link(folder_.tool(), folder_.path() / "texprobe-survey");
    machine().version = "4.5 (Core Profile) Driver 1.2";
    machine().profile = 1;
}

std::string ScriptedSurvey::complete_survey(const std::string& application, survey::Profile profile,
                                            const std::string& version, const std::string& renderer,
                                            const Except& except) {
    const std::string set = "set " + application + " ";
    std::string lines = set + key_of(profile) + " text " + version + "\n" + set +
                        survey::vendor_key_of(profile) + " text Vendor\n" + set +
                        survey::renderer_key_of(profile) + " text " + renderer + "\n";
    for (const survey::Format& format : survey::formats()) {
        lines += set + key_of(profile, format) + " text ";
        for (const survey::Question& question : questions_of(format, profile)) {
            const auto verdict = except ? except(format, question) : survey::Verdict::kYes;
            lines += name_of(question) + ' ' + name_of(verdict) + "%n";
        }
        lines += "\n";
    }
    return lines + "sync " + application + "\n";
}

std::string ScriptedSurvey::core_survey(const Except& except) {
    return complete_survey(kFirstSurvey, survey::Profile::kCore, "4.6 (Core Profile) Driver 1.2",
                           "Renderer", except);
}

void ScriptedSurvey::script_survey(const std::string& lines) const {
    write_file(folder_.path() / "survey-script", lines);
}

void ScriptedSurvey::script_survey(const std::string& lines, int run) const {
    write_file(folder_.path() / ("survey-script." + std::to_string(run)), lines);
}

std::vector<std::string> ScriptedSurvey::survey_runs() const {
    return lines_of(read_file(folder_.path() / "survey-runs"));
}

texprobe_options ScriptedSurvey::options() {
    texprobe_options options = {};
    options.size = sizeof options;
    options.tool = tool_.c_str();
    return options;
}

texprobe_state ScriptedSurvey::open_and_wait(const texprobe_options& options) {
    verdicts_.emplace(&options);
    const texprobe_state state = verdicts_->wait();
    reason_ = verdicts_->reason();
    return state;
}

}  // namespace texprobe::tests
