// The progress of measuring: a bar on a terminal, one line per renderer elsewhere.

#ifndef TEXPROBECTL_PROGRESS_H
#define TEXPROBECTL_PROGRESS_H

#include <memory>
#include <ostream>

#include "measure/measure.h"
#include "process/terminal.h"

namespace texprobe::ctl {

/// `isInterrupted` becomes true when the user wants to end it. finish() leaves a clean line.
class ProgressView : public MeasureWatcher {
public:
    virtual void finish() = 0;
};

std::unique_ptr<ProgressView> make_progress_view(std::ostream& stream, const Terminal& terminal,
                                                 bool (*isInterrupted)());

}  // namespace texprobe::ctl

#endif
