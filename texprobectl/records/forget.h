// Removing record sets, so that they are measured again.

#ifndef TEXPROBECTL_FORGET_H
#define TEXPROBECTL_FORGET_H

#include <string>

#include "records/catalogue.h"

namespace texprobe::ctl {

struct Forgotten {
    std::size_t sets = 0;
    /// Why some or all of them are still there; empty when none is.
    std::string trouble;
};

/// Removes the version, the strings, the verdicts, the causes and the survey of each set; does
/// nothing while a process measures.
Forgotten forget(const RecordSets& sets);

}  // namespace texprobe::ctl

#endif
