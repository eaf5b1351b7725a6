// Tells one build of a library from another.

#ifndef TEXPROBE_PLATFORM_SYSCTL_BUILD_ID_H
#define TEXPROBE_PLATFORM_SYSCTL_BUILD_ID_H

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>

namespace texprobe::platform {

/// `size` bytes of a file from `offset`; fewer where the file ends.
using ReadAt = std::function<std::string(std::uint64_t offset, std::size_t size)>;

/// The bytes of an ELF file's GNU build ID; empty when there is none, or the file is no ELF file of
/// this machine's word size.
std::string read_build_id(const ReadAt& readAt);

/// The library's build ID, or its size and time where it has none; empty when there is no such
/// file.
std::string identify_library(const std::filesystem::path& library);

}  // namespace texprobe::platform

#endif
