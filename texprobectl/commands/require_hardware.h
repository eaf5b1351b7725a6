// What --require-hardware asks of a command that has succeeded.

#ifndef TEXPROBECTL_REQUIRE_HARDWARE_H
#define TEXPROBECTL_REQUIRE_HARDWARE_H

#include "records/record_set.h"

namespace texprobe::ctl {

/// 0 where one of the sets is of hardware; else 1, and a line on standard error names the
/// renderers.
int require_hardware(const RecordSets& sets);

}  // namespace texprobe::ctl

#endif
