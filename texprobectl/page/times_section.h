// Times as a part of the page: the tables that `time` prints.

#ifndef TEXPROBECTL_TIMES_SECTION_H
#define TEXPROBECTL_TIMES_SECTION_H

#include <string>

#include "time/times.h"

namespace texprobe::ctl {

/// One section of HTML, in which nothing of the document's own is markup. `number` tells several
/// sections of one page apart.
std::string times_section(const Times& times, std::size_t number);

}  // namespace texprobe::ctl

#endif
