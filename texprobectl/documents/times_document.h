// Times as a document: written, and read back for the report.

#ifndef TEXPROBECTL_TIME_TIMES_DOCUMENT_H
#define TEXPROBECTL_TIME_TIMES_DOCUMENT_H

#include <ostream>
#include <string>
#include <vector>

#include "time/times.h"

namespace texprobe::ctl {

/// Adds the transfers of a file to those of their record sets, and returns how many there were.
/// Throws DocumentError.
std::size_t read_times(const std::string& file, std::vector<Times>* all);

}  // namespace texprobe::ctl

#endif
