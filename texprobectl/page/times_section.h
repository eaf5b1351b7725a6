// Times as a part of the page: the tables that `time` prints.

#ifndef TEXPROBECTL_TIMES_SECTION_H
#define TEXPROBECTL_TIMES_SECTION_H

#include "page/page_section.h"
#include "time/times.h"

namespace texprobe::ctl {

/// `number` tells several sections of one page apart.
PageSection times_section(const Times& times, std::size_t number);

}  // namespace texprobe::ctl

#endif
