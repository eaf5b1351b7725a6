// An inspection for people.

#ifndef TEXPROBECTL_TEXT_INSPECTION_H
#define TEXPROBECTL_TEXT_INSPECTION_H

#include <ostream>

#include "inspect/inspect.h"
#include "process/terminal.h"

namespace texprobe::ctl {

/// Readable at 80 columns.
void write_inspection_text(const Inspection& inspection, const Terminal& terminal,
                           std::ostream& stream);

}  // namespace texprobe::ctl

#endif
