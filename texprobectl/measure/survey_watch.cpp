#include "measure/survey_watch.h"

#include <table/record_keys.h>

#include <algorithm>
#include <utility>

#include "measure/tool_output.h"
#include "records/record_set.h"
#include "records/survey_store.h"

namespace texprobe::ctl {

std::size_t count_done(const std::vector<SurveyStep>& steps) {
    return static_cast<std::size_t>(std::count_if(
        steps.begin(), steps.end(), [](const SurveyStep& step) { return step.isDone; }));
}

std::string words_of(const SurveyStep& step) {
    return std::string(name_of(step.profile)) + ' ' + step.format->name;
}

bool SurveyWatch::line(Stream, std::string_view text) {
    const ToolLine line = parse_line(text);
    if (line.kind != ToolLine::kTrouble) return take_step(text);
    take_trouble(line.text);
    return true;
}

/// "<application>[4711] core GL_RGBA8: create yes, ..." or "<application>[4711] core: 4.6 ..."
bool SurveyWatch::take_step(std::string_view line) {
    const auto spoken = find_line_of(survey::kDomain, line);
    const std::string id = spoken ? set_of_survey(spoken->application) : "";
    if (id.empty()) return false;
    currentID_ = id;
    const std::string text(spoken->text);
    const std::size_t colon = text.find(": ");
    const std::string subject = text.substr(0, colon);
    const bool hasNoFormats =
        colon != std::string::npos && survey::has_no_formats(text.substr(colon + 2));
    for (SurveyStep& step : steps_) {
        if (step.id != id) continue;
        step.isDone |=
            subject == words_of(step) || (hasNoFormats && subject == name_of(step.profile));
    }
    tell_progress();
    return true;
}

void SurveyWatch::show(std::vector<SurveyStep> steps) {
    steps_ = std::move(steps);
    if (!currentID_.empty()) tell_progress();
}

void SurveyWatch::tell_progress() {
    // The first one of this renderer that is not done is in hand.
    const SurveyStep* inHand = nullptr;
    MeasureProgress progress;
    progress.unit = "formats";
    progress.done = count_done(steps_);
    progress.all = steps_.size();
    const std::string id = currentID_.empty() && !steps_.empty() ? steps_.front().id : currentID_;
    for (const SurveyStep& step : steps_) {
        if (step.id != id) continue;
        ++progress.allHere;
        progress.doneHere += step.isDone;
        if (!step.isDone && !inHand) inHand = &step;
    }
    const auto identity = parse_id(id);
    if (!identity) return;
    progress.rendererID = identity->rendererID;
    if (inHand) progress.test = words_of(*inHand);
    progress.estimate(begin_, doneAtBegin_);
    watcher_.progress(progress);
}

}  // namespace texprobe::ctl
