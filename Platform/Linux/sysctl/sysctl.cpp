#include <sys/sysctl.h>
#include <sys/utsname.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "sysctl/graphics_build.h"

namespace {

using texprobe::platform::Directories;

std::string describe_system() {
    // GLVND's own directories and the dynamic linker's, without those that the environment can add:
    // applications and the tool in safe mode must get the same result.
    const Directories vendors = {"/etc/glvnd/egl_vendor.d", "/usr/share/glvnd/egl_vendor.d"};
    const std::filesystem::path multiarch = TEXPROBE_MULTIARCH;
    const std::filesystem::path local = "/usr/local/lib";
    const std::filesystem::path root = "/lib";
    const std::filesystem::path usr = "/usr/lib";
    const Directories libraries = {local / multiarch,
                                   local,
                                   root / multiarch,
                                   usr / multiarch,
                                   "/lib64",
                                   "/usr/lib64",
                                   root,
                                   usr};
    utsname kernel = {};
    uname(&kernel);
    return texprobe::platform::describe_graphics_build(kernel.release, vendors, libraries);
}

int fail(int error) {
    errno = error;
    return -1;
}

}  // namespace

int sysctlbyname(const char* name, void* oldp, std::size_t* oldlenp, void* newp,
                 std::size_t newlen) {
    if (std::strcmp(name, "kern.osversion") != 0) return fail(ENOENT);
    if (newp || newlen != 0) return fail(EPERM);
    if (!oldlenp) return oldp ? fail(EFAULT) : 0;
    // Read once: when a driver is replaced while the process runs, the process may still have the
    // old one loaded.
    static const std::string build = describe_system();
    const std::size_t room = *oldlenp;
    *oldlenp = build.size() + 1;
    if (!oldp) return 0;
    if (room < *oldlenp) return fail(ENOMEM);
    std::memcpy(oldp, build.c_str(), *oldlenp);
    return 0;
}
