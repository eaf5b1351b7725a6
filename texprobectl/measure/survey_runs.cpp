#include "measure/survey_runs.h"

#include <table/record_keys.h>

#include <algorithm>
#include <map>
#include <utility>

#include "measure/judgement.h"
#include "measure/repeated_runs.h"
#include "measure/tool_output.h"
#include "records/survey_set.h"
#include "records/turn.h"

namespace texprobe::ctl {

namespace {

/// Does this end say nothing of the driver that was at work?
bool is_from_outside(const SurveyEnd& survey, const std::string& inHand,
                     std::set<std::string>* former) {
    const RunEnd& end = survey.end;
    if (end.kind == RunEnd::Kind::kStopped || survey.hasTroubleWithRecords) return true;
    const bool isSignal = end.kind == RunEnd::Kind::kSignalled && !is_fault(end.number);
    if (!isSignal && end.kind != RunEnd::Kind::kUnknown) return false;
    return former->insert(inHand).second;
}

KeyChange judge_profile(const SurveyTexts& before, const std::string& key, const std::string& text,
                        bool isOutside, const RunEnd& end) {
    if (isOutside) {
        const auto old = before.find(key);
        return old == before.end() ? KeyChange() : KeyChange(old->second);
    }
    // The next run opens it again, or finds that it has been opened twice.
    const bool isHung = end.kind == RunEnd::Kind::kTimeLimit && text == survey::kOpeningAgain;
    return KeyChange(isHung ? survey::kContextHung : text);
}

KeyChange judge_format(survey::FormatRecord record, const std::string& text, bool isOutside,
                       const SurveyEnd& survey) {
    const auto underWay = record.underWay;
    // The next run does it again, with a record before each use.
    if (!isOutside && !underWay) return KeyChange(text);
    record = survey::after_outside_end(std::move(record));
    if (isOutside) {
        return record.uses.empty() ? KeyChange() : KeyChange(write_record(record));
    }
    const bool isHung = survey.end.kind == RunEnd::Kind::kTimeLimit;
    const auto cause = cause_of(survey.end, survey.seconds);
    record.uses[underWay->question] = {isHung ? survey::Verdict::kHung : survey::Verdict::kCrashed,
                                       cause ? describe(*cause) : ""};
    return KeyChange(write_record(record));
}

/// A format in a profile of a renderer.
struct SurveyStep {
    std::string id;
    survey::Profile profile = survey::Profile::kCompatibility;
    const survey::Format* format = nullptr;
    bool isDone = false;
};

std::size_t count_done(const std::vector<SurveyStep>& steps) {
    return static_cast<std::size_t>(std::count_if(
        steps.begin(), steps.end(), [](const SurveyStep& step) { return step.isDone; }));
}

/// "core GL_RGBA8"
std::string name_of_step(const SurveyStep& step) {
    return std::string(name_of(step.profile)) + ' ' + step.format->name;
}

/// One run of the program while it lasts: its lines and its progress.
class SurveyWatch : public WatchedRun {
public:
    SurveyWatch(std::vector<SurveyStep> steps, const Beginning& begin, MeasureWatcher& watcher)
        : WatchedRun(watcher), steps_(std::move(steps)), begin_(begin) {}

    bool line(Stream, std::string_view text) override {
        const ToolLine line = parse_line(text);
        if (line.kind != ToolLine::kTrouble) return take_step(text);
        take_trouble(line.text);
        return true;
    }
    /// Shows how far it is, as it is recorded, once the program has spoken.
    void show(std::vector<SurveyStep> steps) {
        steps_ = std::move(steps);
        if (!currentID_.empty()) tell_progress();
    }

protected:
    void go_on() override { tell_progress(); }

private:
    bool take_step(std::string_view text);
    void tell_progress();

    std::vector<SurveyStep> steps_;
    const Beginning begin_;
};

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
            subject == name_of_step(step) || (hasNoFormats && subject == name_of(step.profile));
    }
    tell_progress();
    return true;
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
    if (inHand) progress.test = name_of_step(*inHand);
    progress.estimate(begin_);
    watcher_.progress(progress);
}

class Surveying : public RepeatedRuns {
public:
    Surveying(const MeasureOptions& options, const SurveyChoice& choice,
              const std::vector<std::string>& ids, MeasureWatcher& watcher)
        : RepeatedRuns("texprobe-survey", options, ids, watcher), choice_(choice) {
        begin_.done = count_done(find_steps());
        if (choice.profile) arguments_ = {"--profile", name_of(*choice.profile)};
        if (choice.format) {
            arguments_.insert(arguments_.end(), {"--format", choice.format->name});
        }
    }

    RunsResult run() {
        if (watcher_.is_interrupted()) interrupt();
        return run_until_complete();
    }

private:
    using Texts = std::map<std::string, SurveyTexts>;

    Texts read_texts() const {
        Texts texts;
        for (const std::string& id : ids_) texts[id] = read_survey_texts(id);
        return texts;
    }

    std::vector<SurveyStep> find_steps() const {
        std::vector<SurveyStep> steps;
        for (const std::string& id : ids_) {
            const Survey survey = parse_survey(read_survey_texts(id));
            for (const survey::Profile profile : survey::kProfiles) {
                for (const survey::Format& format : survey::formats()) {
                    if (!choice_.has(profile) || !choice_.has(format)) continue;
                    const bool isDone =
                        ctl::describe_missing(survey, {profile, &format}, "").empty();
                    steps.push_back({id, profile, &format, isDone});
                }
            }
        }
        return steps;
    }

    std::string describe_missing(const std::string& id) const override {
        return ctl::describe_missing(parse_survey(read_survey_texts(id)), choice_,
                                     parse_id(id).value_or(SetIdentity{}).rendererID);
    }

    bool run_once() override {
        const Texts before = read_texts();
        SurveyWatch watch(find_steps(), begin_, watcher_);
        // The program has the turn then, and the next run to get it finds no record of the format.
        watch.onKill = [&] {
            if (!is_in_group(turn_holder(), watch.process())) return;
            settle(before, watch, {RunEnd::Kind::kStopped});
        };
        const RunEnd end = run_program(watch, arguments_);
        if (end.kind == RunEnd::Kind::kNotStarted) return false;
        std::string inHand;
        const bool isUnderWay = std::any_of(ids_.begin(), ids_.end(), [&](const std::string& id) {
            std::set<std::string> ignored;
            return !judge_survey(before.at(id), read_survey_texts(id), {end}, &ignored)
                        .inHand.empty();
        });
        if (isUnderWay) change_records([&] { inHand = settle(before, watch, end); });
        tell_death(watch, end, inHand);
        watch.show(find_steps());
        conclude(end);
        return read_texts() != before;
    }

    /// The question or context that was under way, in words.
    std::string settle(const Texts& before, const SurveyWatch& watch, const RunEnd& end) {
        std::string inHand;
        for (const std::string& id : ids_) {
            const SurveyJudgement judgement = judge_survey(
                before.at(id), read_survey_texts(id),
                {end, watch.has_trouble_with_records(), options_.seconds}, &endedFromOutside_[id]);
            if (!judgement.inHand.empty()) inHand = judgement.inHand;
            if (!judgement.changes.empty()) write(survey_of(id), judgement.changes);
        }
        return inHand;
    }

    const SurveyChoice& choice_;
    std::vector<std::string> arguments_;
    std::map<std::string, std::set<std::string>> endedFromOutside_;
};

}  // namespace

SurveyJudgement judge_survey(const SurveyTexts& before, const SurveyTexts& now,
                             const SurveyEnd& end, std::set<std::string>* endedFromOutside) {
    SurveyJudgement judgement;
    for (const auto& [key, text] : now) {
        const auto old = before.find(key);
        // That was left by another run, and this one has not come to it.
        if (old != before.end() && old->second == text) continue;
        const bool isProfile = key.find('.') == std::string::npos;
        const auto record = isProfile ? std::nullopt : survey::read_record(text);
        const bool isInUse = record && record->underWay;
        const bool isUnderWay =
            isProfile ? survey::is_opening(text) : isInUse || (record && record->isMeasuring);
        if (!isUnderWay) continue;
        std::string inHand = key;
        std::replace(inHand.begin(), inHand.end(), '.', ' ');
        if (isProfile) inHand = "opening a context of " + key;
        if (isInUse) inHand += ' ' + name_of(record->underWay->question);
        const bool isOutside = is_from_outside(end, inHand, endedFromOutside);
        const KeyChange change = isProfile ? judge_profile(before, key, text, isOutside, end.end)
                                           : judge_format(*record, text, isOutside, end);
        const bool isSame = change && std::get<std::string>(*change) == text;
        if (!isSame) judgement.changes[key] = change;
        judgement.inHand = std::move(inHand);
    }
    return judgement;
}

RunsResult run_survey(const MeasureOptions& options, const SurveyChoice& choice,
                      const std::vector<std::string>& ids, MeasureWatcher& watcher) {
    return Surveying(options, choice, ids, watcher).run();
}

}  // namespace texprobe::ctl
