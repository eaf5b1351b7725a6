// The libraries of the installed EGL vendors, as GLVND finds them: each vendor installs a small
// JSON file that names its library.

#ifndef TEXPROBE_PLATFORM_SYSCTL_VENDOR_LIBRARY_H
#define TEXPROBE_PLATFORM_SYSCTL_VENDOR_LIBRARY_H

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace texprobe::platform {

using Directories = std::vector<std::filesystem::path>;

/// The value of "library_path" in a vendor's JSON file; empty when there is none.
std::string read_library_path(std::string_view json);

/// The library names that the JSON files of the directories give: directory by directory, sorted by
/// file name.
std::vector<std::string> list_vendor_libraries(const Directories& vendorDirectories);

/// The library's file: the name itself if it is absolute, otherwise the first directory that has
/// it. The bare name if none has.
std::filesystem::path find_library(const std::string& name, const Directories& libraryDirectories);

}  // namespace texprobe::platform

#endif
