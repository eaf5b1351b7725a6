// One run of the tool while it lasts: its lines and progress, whether it has the turn, and the
// process for which it waits.

#ifndef TEXPROBECTL_RUN_WATCH_H
#define TEXPROBECTL_RUN_WATCH_H

#include <map>
#include <string>

#include "measure/judgement.h"
#include "measure/repeated_runs.h"
#include "measure/running_tool.h"
#include "measure/tool_output.h"

namespace texprobe::ctl {

/// The flags of each set that is measured, by identifier.
using FlagsByID = std::map<std::string, Flags>;

/// The flags as they are recorded now; none of a set that the tool will clear before it measures.
Flags read_current_flags(const std::string& id);

class RunWatch : public WatchedRun {
public:
    /// `flags` are those before the run.
    RunWatch(const FlagsByID& flags, const Beginning& begin, RunningTool& runningTool,
             MeasureWatcher& watcher)
        : WatchedRun(watcher),
          begin_(begin),
          runningTool_(runningTool),
          atStart_(flags),
          flags_(flags) {}

    void started(int processID) override;
    bool line(Stream stream, std::string_view text) override;

    /// The facts of the run for the judgement on one set.
    RunFacts facts(const std::string& id) const;

    /// Shows the recorded progress instead of the one in the tool's lines.
    void show_recorded();

protected:
    void go_on() override;
    // A tool that hung may have lost it.
    void wait_for_other() override { hasTurn_ = false; }

private:
    void begin_turn(const std::string& id);
    void tell_progress();

    const Beginning begin_;
    RunningTool& runningTool_;
    const FlagsByID atStart_;
    /// As far as they are known now.
    FlagsByID flags_;
    FlagsByID atTurn_;
    FlagsByID said_;
    // As far as the tool's lines and the last look tell.
    bool hasTurn_ = false;
    bool isTesting_ = false;
};

/// How many verdicts of these sets are decided.
std::size_t count_done(const FlagsByID& flags);

}  // namespace texprobe::ctl

#endif
