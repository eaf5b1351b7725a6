// One run of the tool while it lasts: its lines and progress, whether it has the turn, and the
// process for which it waits.

#ifndef TEXPROBECTL_RUN_WATCH_H
#define TEXPROBECTL_RUN_WATCH_H

#include <chrono>
#include <map>
#include <string>

#include "measure/judgement.h"
#include "measure/measure.h"
#include "measure/running_tool.h"
#include "measure/tool_output.h"
#include "measure/watched_run.h"

namespace texprobe::ctl {

/// The flags of each set that is measured, by identifier.
using FlagsByID = std::map<std::string, Flags>;

/// The flags as they are recorded now; none of a set that the tool will clear before it measures.
Flags read_current_flags(const std::string& id);

/// The state at a run's beginning.
struct RunBegin {
    /// As they were before the run.
    FlagsByID flags;
    /// Of the whole measurement.
    std::chrono::steady_clock::time_point begin;
    std::size_t doneAtBegin = 0;
};

class RunWatch : public WatchedRun {
public:
    RunWatch(RunBegin run, RunningTool& runningTool, MeasureWatcher& watcher)
        : WatchedRun(watcher), run_(std::move(run)), runningTool_(runningTool) {}

    void started(int processID) override;
    bool line(Stream stream, std::string_view text) override;

    /// The facts of the run for the judgement on one set.
    RunFacts facts(const std::string& id) const;
    const std::string& current_id() const { return currentID_; }

    /// Shows the recorded progress instead of the one in the tool's lines.
    void show_recorded();

protected:
    void go_on() override;
    // A tool that hung may have lost it.
    void wait_for_other() override { hasTurn_ = false; }

private:
    void begin_turn(const std::string& id);
    void tell_progress();

    RunBegin run_;
    RunningTool& runningTool_;
    const FlagsByID atStart_ = run_.flags;
    FlagsByID atTurn_;
    FlagsByID said_;
    // As far as the tool's lines and the last look tell.
    bool hasTurn_ = false;
    bool isTesting_ = false;
    std::string currentID_;
};

/// How many verdicts of these sets are decided.
std::size_t count_done(const FlagsByID& flags);

}  // namespace texprobe::ctl

#endif
