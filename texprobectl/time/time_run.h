// Timing: the child process, again after each crash or hang, and its lines.

#ifndef TEXPROBECTL_TIME_TIME_RUN_H
#define TEXPROBECTL_TIME_TIME_RUN_H

#include <chrono>
#include <functional>
#include <set>
#include <stdexcept>
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

/// Nothing could be timed; the text is one line.
class TimeError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The transfers of the set's formats. It touches no record. A stop signal ends it with what it
/// has. Throws TimeError where the renderer cannot be opened.
Times time_transfers(const RecordSet& set, const TimeOptions& options);

}  // namespace texprobe::ctl

#endif
