// What tells one build of a library from another.

#ifndef TEXPROBE_PLATFORM_SYSCTL_BUILD_ID_H
#define TEXPROBE_PLATFORM_SYSCTL_BUILD_ID_H

#include <filesystem>
#include <istream>
#include <string>

namespace texprobe::platform {

/// The bytes of an ELF file's GNU build ID; empty when there is none, or the file is no ELF file of
/// this machine's word size.
std::string read_build_id(std::istream& elf);

/// The library's build ID, or its size and time where it has none; empty when there is no such
/// file.
std::string identify_library(const std::filesystem::path& library);

}  // namespace texprobe::platform

#endif
