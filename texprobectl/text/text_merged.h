// Merged counts as text: the answer first, then the drivers that fail somewhere.

#ifndef TEXPROBECTL_TEXT_MERGED_H
#define TEXPROBECTL_TEXT_MERGED_H

#include <ostream>

#include "documents/merge.h"
#include "process/terminal.h"

namespace texprobe::ctl {

void write_merged_text(const Merged& merged, const Terminal& terminal, std::ostream& stream);

}  // namespace texprobe::ctl

#endif
