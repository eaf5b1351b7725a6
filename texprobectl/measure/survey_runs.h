// Surveying: texprobe-survey, run as often as needed until everything that was chosen is recorded,
// with a time limit for each format, and with the cause of each death.

#ifndef TEXPROBECTL_SURVEY_RUNS_H
#define TEXPROBECTL_SURVEY_RUNS_H

#include <runs/supervised_run.h>

#include <set>
#include <string>
#include <vector>

#include "measure/measure.h"
#include "records/preferences.h"
#include "records/survey_store.h"

namespace texprobe::ctl {

/// `ids` are the record sets that must become complete; all of this machine's present build are
/// surveyed.
RunsResult run_survey(const MeasureOptions& options, const SurveyChoice& choice,
                      const std::vector<std::string>& ids, MeasureWatcher& watcher);

/// How a run ended that may have left records under way.
struct SurveyEnd {
    RunEnd end;
    /// It could not write its records, so those do not tell which use was under way.
    bool hasTroubleWithRecords = false;
    /// How long a format may take.
    int seconds = 0;
};

struct SurveyJudgement {
    /// The question or context that was under way, in words; empty for none.
    std::string inHand;
    KeyChanges changes;
};

/// Settles one renderer's records that a run has left under way: those that differ from `before`.
/// Remembers in `endedFromOutside` the use under way when a signal ended the run that may have come
/// from outside: twice the same is no accident.
SurveyJudgement judge_survey(const SurveyTexts& before, const SurveyTexts& now,
                             const SurveyEnd& end, std::set<std::string>* endedFromOutside);

}  // namespace texprobe::ctl

#endif
