// Sentences of strangers and of this program, broken for 80 columns.

#ifndef TEXPROBECTL_WRAPPED_H
#define TEXPROBECTL_WRAPPED_H

#include <string>
#include <string_view>

namespace texprobe::ctl {

/// Plain, and broken at blanks, which `separator` ends with; the lines after the first are
/// indented.
std::string wrapped(const std::string& given, std::size_t indent, std::string_view separator = " ");

}  // namespace texprobe::ctl

#endif
