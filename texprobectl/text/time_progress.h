// The progress of timing: a bar on a terminal; elsewhere only the failures.

#ifndef TEXPROBECTL_TIME_PROGRESS_H
#define TEXPROBECTL_TIME_PROGRESS_H

#include <memory>
#include <ostream>

#include "process/terminal.h"
#include "time/time_run.h"

namespace texprobe::ctl {

/// finish() leaves a clean line.
class TimeProgressView : public TimeWatcher {
public:
    virtual void finish() = 0;
};

std::unique_ptr<TimeProgressView> make_time_progress_view(std::ostream& stream,
                                                          const Terminal& terminal);

}  // namespace texprobe::ctl

#endif
