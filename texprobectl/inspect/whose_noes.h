// Whose a no is: the driver's, or that of the test, whose comparison has rules of its own.

#ifndef TEXPROBECTL_WHOSE_NOES_H
#define TEXPROBECTL_WHOSE_NOES_H

#include <chrono>
#include <string>

#include "records/catalogue.h"
#include "records/machine.h"

namespace texprobe::ctl {

/// Finds it out for the transfers of this machine's sets that `measure` has seen come back with a
/// no, and for which it was not found out before, and remembers it beside their causes. One run of
/// the tests for each set that has some; a driver that dies in it leaves what was not reached as it
/// is not the test's own. Throws Interrupted. The sets are as they are remembered then.
void find_whose_noes(const std::string& self, std::chrono::seconds limit, const Machine& machine,
                     RecordSets* sets);

}  // namespace texprobe::ctl

#endif
