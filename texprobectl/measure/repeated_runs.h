// Runs of a program that records as it goes, until all is recorded.

#ifndef TEXPROBECTL_REPEATED_RUNS_H
#define TEXPROBECTL_REPEATED_RUNS_H

#include <runs/supervised_run.h>

#include <functional>
#include <string>
#include <vector>

#include "measure/measure.h"
#include "measure/watched_run.h"

namespace texprobe::ctl {

class RepeatedRuns {
public:
    /// `program` is the tool's name in sentences.
    RepeatedRuns(const char* program, const MeasureOptions& options, MeasureWatcher& watcher)
        : options_(options), watcher_(watcher), program_(program) {}
    RepeatedRuns(const RepeatedRuns&) = delete;
    RepeatedRuns& operator=(const RepeatedRuns&) = delete;

protected:
    virtual ~RepeatedRuns() = default;

    /// True when it has recorded something.
    virtual bool run_once() = 0;
    /// The first missing part of the records; empty when all is there.
    virtual std::string find_missing() const = 0;

    RunsResult run_until_complete();

    /// One run, watched. One that could not be started ends all of them.
    RunEnd run_program(WatchedRun& watch, const std::vector<std::string>& arguments);

    /// The records decide, not the end of the run.
    void conclude(const RunEnd& end);
    void interrupt();

    /// Called while waiting for the turn.
    bool may_wait();
    /// Changes records under the turn, so that no process that measures loses one that it has
    /// begun. Also after an interruption, if that takes no longer than a second.
    bool change_records(const std::function<void()>& change);

    /// Shorter than the time that the tool gives its test before it dies of the signal.
    static constexpr int kTenthsToStop = 15;

    const MeasureOptions& options_;
    MeasureWatcher& watcher_;

private:
    void give_up(const std::string& reason);
    std::string describe_last_end() const { return lastEnd_ + "; " + find_missing(); }

    const char* const program_;
    RunsResult result_;
    bool isOver_ = false;
    std::string lastEnd_;
};

}  // namespace texprobe::ctl

#endif
