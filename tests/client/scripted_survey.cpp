#include "scripted_survey.h"

#include <algorithm>

#include "support/text.h"
#include "table/record_keys.h"

namespace texprobe::tests {

ScriptedSurvey::ScriptedSurvey() {
    // The tool's program does both.
    std::filesystem::create_hard_link(folder_.tool(), folder_.path() / "texprobe-survey");
    write_file(folder_.path() / "survey-runs", "");
    be_in("4.5 (Core Profile) Driver 1.2", 1);
}

std::string ScriptedSurvey::survey_of(survey::Profile profile, const std::string& version,
                                      const std::vector<ExceptUse>& except,
                                      const std::string& application) {
    const std::string set = "set " + application + " ";
    std::string lines = set + key_of(profile) + " text " + version + "\n" + set +
                        survey::vendor_key_of(profile) + " text Vendor\n" + set +
                        survey::renderer_key_of(profile) + " text Renderer\n";
    for (const survey::Format& format : survey::formats()) {
        lines += set + key_of(profile, format) + " text ";
        for (const survey::Question& question : questions_of(format, profile)) {
            const auto found =
                std::find_if(except.begin(), except.end(), [&](const ExceptUse& each) {
                    return (!each.format || std::string(format.name) == each.format) &&
                           question.use == each.use &&
                           (each.layout.is_none() || question.layout == each.layout);
                });
            const bool isYes = found == except.end();
            lines += name_of(question) + ' ' +
                     name_of(isYes ? survey::Verdict::kYes : found->verdict) + "%n";
        }
        lines += "\n";
    }
    return lines + "sync " + application + "\n";
}

std::string ScriptedSurvey::core_survey(const std::vector<ExceptUse>& except,
                                        const std::string& application) {
    return survey_of(survey::Profile::kCore, "4.6 (Core Profile) Driver 1.2", except, application);
}

std::string ScriptedSurvey::compatibility_survey(const std::vector<ExceptUse>& except) {
    return survey_of(survey::Profile::kCompatibility, "4.6 (Compatibility Profile) Version",
                     except);
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

texprobe_state ScriptedSurvey::measure_as_wished(int what) {
    texprobe_options wish = options();
    wish.measure = what;
    return measure(wish);
}

}  // namespace texprobe::tests
