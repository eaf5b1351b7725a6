// The one sysctl that texprobe reads: the system's build string.

#ifndef TEXPROBE_PLATFORM_SYSCTL_H
#define TEXPROBE_PLATFORM_SYSCTL_H

#include <cstddef>

extern "C" {

/// Reads "kern.osversion", a NUL-terminated string without white space or slashes that changes with
/// every build of the system's graphics stack. `*oldlenp` is the size of the buffer `oldp` and
/// becomes the string's size with its NUL; with a null `oldp` only the size is returned. Returns 0,
/// or -1 with errno ENOENT (another name), ENOMEM (buffer too small), or EPERM (an attempt to set).
/// Differs from macOS: knows "kern.osversion" only, which is the kernel's release and a hash of the
/// installed EGL vendor libraries, since Linux updates drivers without updating the system.
int sysctlbyname(const char* name, void* oldp, std::size_t* oldlenp, void* newp,
                 std::size_t newlen);

}  // extern "C"

#endif
