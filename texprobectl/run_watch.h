// One run of the tool while it lasts: what its lines said, how far it is, and whether it waits for
// somebody else.

#ifndef TEXPROBECTL_RUN_WATCH_H
#define TEXPROBECTL_RUN_WATCH_H

#include <supervised_run.h>

#include <chrono>
#include <map>
#include <set>
#include <string>

#include "measure.h"
#include "tool_output.h"

namespace texprobe::ctl {

/// The flags of each set that is measured, by identifier.
using FlagsByID = std::map<std::string, Flags>;

class RunWatch : public RunObserver {
public:
    /// `flags` are those before the run.
    RunWatch(FlagsByID flags, std::chrono::steady_clock::time_point begin, std::size_t doneAtBegin,
             MeasureWatcher& watcher)
        : flags_(std::move(flags)), begin_(begin), doneAtBegin_(doneAtBegin), watcher_(watcher) {}

    void started(int processID) override;
    bool line(Stream stream, std::string_view text) override;
    Wish look() override;

    int process() const { return process_; }
    /// Whether the next `measure` would find this run's process, if this one were killed.
    bool is_remembered() const { return isRemembered_; }
    /// The verdicts that the tool has said, by identifier.
    const FlagsByID& said() const { return said_; }
    /// The last thing that it complained about; empty if it did not.
    const std::string& trouble() const { return trouble_; }
    const std::string& current_id() const { return currentID_; }

private:
    void remember_process();
    void tell_progress();
    bool waits_for_other();

    FlagsByID flags_;
    FlagsByID said_;
    const std::chrono::steady_clock::time_point begin_;
    const std::size_t doneAtBegin_;
    MeasureWatcher& watcher_;
    int process_ = 0;
    bool isRemembered_ = false;
    std::string currentID_;
    std::string trouble_;
    std::set<int> waitedFor_;
    int looks_ = 0;
};

/// How many verdicts of these sets are decided.
std::size_t count_done(const FlagsByID& flags);

}  // namespace texprobe::ctl

#endif
