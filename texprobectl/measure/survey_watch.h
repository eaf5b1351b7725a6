// One run of the survey's program while it lasts: its lines and its progress.

#ifndef TEXPROBECTL_SURVEY_WATCH_H
#define TEXPROBECTL_SURVEY_WATCH_H

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

#include "measure/watched_run.h"
#include "records/survey_set.h"

namespace texprobe::ctl {

/// A format in a profile of a renderer.
struct SurveyStep {
    std::string id;
    survey::Profile profile = survey::Profile::kCompatibility;
    const survey::Format* format = nullptr;
    bool isDone = false;
};

class SurveyWatch : public WatchedRun {
public:
    /// The whole survey began at `begin`, with `doneAtBegin` of the steps.
    SurveyWatch(std::vector<SurveyStep> steps, std::chrono::steady_clock::time_point begin,
                std::size_t doneAtBegin, MeasureWatcher& watcher)
        : WatchedRun(watcher), steps_(std::move(steps)), begin_(begin), doneAtBegin_(doneAtBegin) {}

    bool line(Stream stream, std::string_view text) override;
    /// Shows how far it is, as it is recorded, once the program has spoken.
    void show(std::vector<SurveyStep> steps);
    /// The renderer that was spoken of last.
    const std::string& current_id() const { return currentID_; }

protected:
    void go_on() override { tell_progress(); }

private:
    bool take_step(std::string_view text);
    void tell_progress();

    std::vector<SurveyStep> steps_;
    const std::chrono::steady_clock::time_point begin_;
    const std::size_t doneAtBegin_;
    std::string currentID_;
};

std::size_t count_done(const std::vector<SurveyStep>& steps);

/// "core GL_RGBA8"
std::string words_of(const SurveyStep& step);

}  // namespace texprobe::ctl

#endif
