// The build of the system's graphics stack: the kernel and the EGL vendors' libraries, as GLVND
// finds them: each vendor installs a small JSON file that names its library.

#ifndef TEXPROBE_PLATFORM_SYSCTL_GRAPHICS_BUILD_H
#define TEXPROBE_PLATFORM_SYSCTL_GRAPHICS_BUILD_H

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

/// "<kernel release>-<hash>", without white space or slashes. The hash changes with the identity of
/// every vendor's library, or of libEGL itself where no vendor is installed. Depends on nothing but
/// its arguments and the files.
std::string describe_graphics_build(std::string kernelRelease, const Directories& vendorDirectories,
                                    const Directories& libraryDirectories);

}  // namespace texprobe::platform

#endif
