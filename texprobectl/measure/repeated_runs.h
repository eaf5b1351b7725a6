// Runs of a program that records as it goes, until all is recorded: each is watched, whether it was
// interrupted, and whether it waits for another process.

#ifndef TEXPROBECTL_REPEATED_RUNS_H
#define TEXPROBECTL_REPEATED_RUNS_H

#include <runs/supervised_run.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "measure/measure.h"

namespace texprobe::ctl {

/// One run while it lasts.
class WatchedRun : public RunObserver {
public:
    explicit WatchedRun(MeasureWatcher& watcher) : watcher_(watcher) {}

    void started(int processID) override { process_ = processID; }
    Wish look() final;
    void before_kill() final { onKill(); }

    /// Called before a program that was told to stop, and has not, is killed.
    std::function<void()> onKill;

    int process() const { return process_; }
    /// Its complaint; empty if it had none.
    const std::string& trouble() const { return trouble_; }
    /// Is its complaint that records cannot be read or written?
    bool has_trouble_with_records() const;
    /// The set that it has spoken of last.
    const std::string& current_id() const { return currentID_; }

protected:
    /// About once a second, while it need not wait.
    virtual void go_on() = 0;
    /// The same, while another process has the turn.
    virtual void wait_for_other() {}

    void take_trouble(const std::string& text);

    MeasureWatcher& watcher_;
    std::string currentID_;

private:
    int process_ = 0;
    std::string trouble_;
    int looks_ = 0;
};

class RepeatedRuns {
public:
    /// `program` is the tool's name in sentences; `ids` are the sets that must become complete.
    RepeatedRuns(const char* program, const MeasureOptions& options, std::vector<std::string> ids,
                 MeasureWatcher& watcher)
        : options_(options), watcher_(watcher), ids_(std::move(ids)), program_(program) {}
    RepeatedRuns(const RepeatedRuns&) = delete;
    RepeatedRuns& operator=(const RepeatedRuns&) = delete;

protected:
    virtual ~RepeatedRuns() = default;

    /// True when it has recorded something.
    virtual bool run_once() = 0;
    /// The first missing part of a set; empty when all is there.
    virtual std::string describe_missing(const std::string& id) const = 0;

    RunsResult run_until_complete();

    /// One run, watched. One that could not be started ends all of them.
    RunEnd run_program(WatchedRun& watch, const std::vector<std::string>& arguments);

    /// Tells the watcher if the run died, and in which test, which may be none.
    void tell_death(const WatchedRun& watch, const RunEnd& end, const std::string& test);
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
    const std::vector<std::string> ids_;
    Beginning begin_;

private:
    void give_up(const std::string& reason);
    std::string find_missing() const;
    std::string describe_last_end() const { return lastEnd_ + "; " + find_missing(); }

    const char* const program_;
    RunsResult result_;
    bool isOver_ = false;
    std::string lastEnd_;
};

}  // namespace texprobe::ctl

#endif
