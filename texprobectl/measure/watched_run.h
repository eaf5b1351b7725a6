// One run of a program that measures, while it lasts: whether it was interrupted, and whether it
// waits for another process.

#ifndef TEXPROBECTL_WATCHED_RUN_H
#define TEXPROBECTL_WATCHED_RUN_H

#include <runs/supervised_run.h>

#include <functional>
#include <string>

#include "measure/measure.h"

namespace texprobe::ctl {

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

protected:
    /// About once a second, while it need not wait.
    virtual void go_on() = 0;
    /// The same, while another process has the turn.
    virtual void wait_for_other() {}

    void take_trouble(const std::string& text);

    MeasureWatcher& watcher_;

private:
    int process_ = 0;
    std::string trouble_;
    int looks_ = 0;
};

}  // namespace texprobe::ctl

#endif
