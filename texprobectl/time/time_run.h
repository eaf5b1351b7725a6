// Timing: the child process, again after each crash or hang, and its lines.

#ifndef TEXPROBECTL_TIME_TIME_RUN_H
#define TEXPROBECTL_TIME_TIME_RUN_H

#include <chrono>
#include <functional>
#include <set>
#include <string>

#include "time/times.h"

namespace texprobe::ctl {

struct TimeOptions {
    /// This program's own file.
    std::string self;
    std::set<std::size_t> formats;
    ImageSize size;
    /// The time for all of it.
    std::chrono::seconds within{0};
    /// How long a step may take.
    std::chrono::seconds limit{60};
    /// This transfer is in hand, and so many seconds are over.
    std::function<void(const Cell& cell, double seconds)> watch;
};

/// The transfers of the set's formats. It touches no record. A stop signal ends it with the
/// transfers so far. Throws std::runtime_error, one line, where the renderer cannot be opened.
Times time_transfers(const RecordSet& set, const TimeOptions& options);

}  // namespace texprobe::ctl

#endif
