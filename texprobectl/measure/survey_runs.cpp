#include "measure/survey_runs.h"

#include <table/record_keys.h>

#include <algorithm>
#include <map>
#include <utility>

#include "measure/judgement.h"
#include "measure/repeated_runs.h"
#include "measure/survey_watch.h"
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

class Surveying : public RepeatedRuns {
public:
    Surveying(const MeasureOptions& options, const SurveyChoice& choice,
              std::vector<std::string> ids, MeasureWatcher& watcher)
        : RepeatedRuns("texprobe-survey", options, watcher),
          choice_(choice),
          ids_(std::move(ids)),
          doneAtBegin_(count_done(find_steps())) {
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
                    const bool isDone = describe_missing(survey, {profile, &format}, "").empty();
                    steps.push_back({id, profile, &format, isDone});
                }
            }
        }
        return steps;
    }

    std::string find_missing() const override {
        for (const std::string& id : ids_) {
            std::string missing = describe_missing(parse_survey(read_survey_texts(id)), choice_,
                                                   parse_id(id).value_or(SetIdentity{}).rendererID);
            if (!missing.empty()) return missing;
        }
        return {};
    }

    bool run_once() override {
        const Texts before = read_texts();
        SurveyWatch watch(find_steps(), begin_, doneAtBegin_, watcher_);
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
        const auto death = death_of(end, !inHand.empty(), options_.seconds);
        const auto identity = parse_id(watch.current_id());
        if (death && identity) watcher_.died(identity->rendererID, inHand, *death);
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
    const std::vector<std::string> ids_;
    std::vector<std::string> arguments_;
    std::map<std::string, std::set<std::string>> endedFromOutside_;
    const std::size_t doneAtBegin_;
    const std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
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
