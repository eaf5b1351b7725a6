// The build of the system's graphics stack: the kernel and the EGL vendors' libraries.

#ifndef TEXPROBE_PLATFORM_SYSCTL_GRAPHICS_BUILD_H
#define TEXPROBE_PLATFORM_SYSCTL_GRAPHICS_BUILD_H

#include <string>

#include "sysctl/vendor_library.h"

namespace texprobe::platform {

/// "<kernel release>-<hash>", without white space or slashes. The hash changes with the identity of
/// every vendor's library, or of libEGL itself where no vendor is installed. Depends on nothing but
/// its arguments and the files.
std::string describe_graphics_build(std::string kernelRelease, const Directories& vendorDirectories,
                                    const Directories& libraryDirectories);

}  // namespace texprobe::platform

#endif
