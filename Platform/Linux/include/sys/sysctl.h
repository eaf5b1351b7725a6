// The one question that texprobe asks of sysctl: the system's build string.

#ifndef TEXPROBE_PLATFORM_SYSCTL_H
#define TEXPROBE_PLATFORM_SYSCTL_H

#include <cstddef>

extern "C" {

/// Reads "kern.osversion", a NUL-terminated string without white space or slashes that changes with
/// every build of the system's graphics stack. `*oldlenp` is the room in bytes at `oldp` and
/// becomes the string's size with its NUL; a null `oldp` only asks for that size. Returns 0, or -1
/// with errno ENOENT (another name), ENOMEM (no room), or EPERM (an attempt to set). Differs from
/// macOS: knows "kern.osversion" only, which is the kernel's release joined with a hash of the
/// installed EGL vendor libraries, since Linux updates drivers without updating the system.
int sysctlbyname(const char* name, void* oldp, std::size_t* oldlenp, void* newp,
                 std::size_t newlen);

}  // extern "C"

#endif
