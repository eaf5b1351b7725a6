// Times as text: the fastest verified ways first, then every way, then their spread.

#ifndef TEXPROBECTL_TEXT_TIMES_H
#define TEXPROBECTL_TEXT_TIMES_H

#include <ostream>

#include "process/terminal.h"
#include "time/times.h"

namespace texprobe::ctl {

void write_times_text(const Times& times, const Terminal& terminal, std::ostream& stream);

}  // namespace texprobe::ctl

#endif
