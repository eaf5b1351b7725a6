// Times as a document: written, and read back for the report.

#ifndef TEXPROBECTL_TIME_TIMES_DOCUMENT_H
#define TEXPROBECTL_TIME_TIMES_DOCUMENT_H

#include <ostream>
#include <string>
#include <vector>

#include "time/times.h"

namespace texprobe::ctl {

/// Throws DocumentError.
std::vector<Times> read_times(const std::string& file);

}  // namespace texprobe::ctl

#endif
