// Whose a no is: the driver's, or that of the test, whose comparison has rules of its own.

#ifndef TEXPROBECTL_WHOSE_NOES_H
#define TEXPROBECTL_WHOSE_NOES_H

#include <chrono>
#include <string>

#include "records/catalogue.h"
#include "records/machine.h"

namespace texprobe::ctl {

/// Finds out which noes of transfers, seen by `measure` on this machine and not looked into before,
/// are the test's own, and remembers it beside their causes. One run of the tests for each set that
/// has some; if the driver dies in it, tests that were not reached count as the driver's. Throws
/// Interrupted. Updates the sets.
void find_whose_noes(const std::string& self, std::chrono::seconds limit, const Machine& machine,
                     RecordSets* sets);

}  // namespace texprobe::ctl

#endif
