// Where the tool is.

#ifndef TEXPROBECTL_FIND_TOOL_H
#define TEXPROBECTL_FIND_TOOL_H

#include <string>

namespace texprobe::ctl {

/// This program's own file, as the system tells it, else from the name it was started by; empty
/// when it cannot be told.
std::string find_self(const std::string& name);

/// A program of this name: the one beside `self`, the installed one, the first in PATH; empty when
/// there is none.
std::string find_program(const std::string& self, const std::string& name);
/// The tool, in the same way.
std::string find_tool(const std::string& self);

}  // namespace texprobe::ctl

#endif
