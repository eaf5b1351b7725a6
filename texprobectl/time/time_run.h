// Timing: the child process, again after each crash or hang, and its lines.

#ifndef TEXPROBECTL_TIME_TIME_RUN_H
#define TEXPROBECTL_TIME_TIME_RUN_H

#include <stdexcept>
#include <string>
#include <vector>

#include "time/times.h"

namespace texprobe::ctl {

struct TimeOptions {
    /// This program's own file.
    std::string self;
    /// In the tool's order.
    std::vector<std::size_t> formats;
    std::vector<ImageSize> sizes;
    /// The time for all of it, roughly.
    int seconds = 120;
    /// How long a step may take.
    int limit = 60;
};

/// Who watches it.
class TimeWatcher {
public:
    TimeWatcher() = default;
    TimeWatcher(const TimeWatcher&) = delete;
    TimeWatcher& operator=(const TimeWatcher&) = delete;
    virtual ~TimeWatcher() = default;

    /// This transfer is in hand; `done` of `all` are done.
    virtual void begun(const TimedTransfer& what, std::size_t done, std::size_t all) = 0;
    virtual void failed(const TransferTimes& transfer) = 0;
};

/// Nothing could be timed; the text is one line.
class TimeError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The transfers of the set's formats. It touches no record. A stop signal ends it with what it
/// has. Throws TimeError where the renderer cannot be opened.
Times time_transfers(const RecordSet& set, const TimeOptions& options, TimeWatcher& watcher);

}  // namespace texprobe::ctl

#endif
