// The entries of a GPU in sysfs. Reads only; any file may be missing.

#ifndef TEXPROBE_PLATFORM_CGL_SYSFS_H
#define TEXPROBE_PLATFORM_CGL_SYSFS_H

#include <cstdint>
#include <filesystem>
#include <string>

namespace texprobe::platform {

struct Gpu {
    std::filesystem::path directory;  ///< The device's own directory; empty when it is not known.
    std::string vendor;               ///< PCI vendor, as "0x1002"; empty off the PCI bus.
    std::string device;               ///< PCI device; off the PCI bus the kernel's name of it.
    std::string driver;               ///< The kernel driver; empty when none is bound.
};

/// The GPU behind a DRM node such as "/dev/dri/renderD128", which is not opened.
Gpu read_gpu(const std::filesystem::path& sysfs, const std::filesystem::path& node);

/// The GPU's own memory in bytes if its kernel driver reports it (amdgpu does), otherwise 0.
std::uint64_t read_video_memory(const Gpu& gpu);

}  // namespace texprobe::platform

#endif
