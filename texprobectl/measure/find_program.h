// Where programs are.

#ifndef TEXPROBECTL_FIND_PROGRAM_H
#define TEXPROBECTL_FIND_PROGRAM_H

#include <string>

namespace texprobe::ctl {

/// This program's own file, as the system tells it, else from the name it was started by; empty
/// when it cannot be told.
std::string find_self(const std::string& name);

/// A program of this name: the one beside `self`, the installed one, the first in PATH; empty when
/// there is none.
std::string find_program(const std::string& self, const std::string& name);

}  // namespace texprobe::ctl

#endif
