// A file that is there whole or not at all.

#ifndef TEXPROBECTL_OUTPUT_FILE_H
#define TEXPROBECTL_OUTPUT_FILE_H

#include <functional>
#include <ostream>
#include <string>

namespace texprobe::ctl {

/// Writes a new file and puts it in the place of `path` when it is whole and on disk, with the
/// modes of the old one; a device or a pipe is written to, and with an empty path or "-" standard
/// output is. Throws std::runtime_error, one line, when it cannot; an old file is then as it was.
void write_output(const std::string& path, const std::function<void(std::ostream&)>& write);

}  // namespace texprobe::ctl

#endif
