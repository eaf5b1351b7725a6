// The machine's renderers, as EGL lists them. Asks for device strings only: nothing is opened.

#ifndef TEXPROBE_PLATFORM_CGL_DEVICES_H
#define TEXPROBE_PLATFORM_CGL_DEVICES_H

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "CGL/egl.h"
#include "CGL/sysfs.h"

namespace texprobe::platform {

/// One GPU, or the software renderer.
struct Device {
    bool software = false;
    std::string name;      ///< For messages.
    std::string identity;  ///< What the device is: the same after a reboot or in another slot.
    Gpu gpu;
    /// Its entries in EGL's list: each vendor's library lists the GPUs that it believes to know.
    std::vector<EGLDeviceEXT> entries;
};

/// Hardware before software, each in EGL's order. Empty when EGL cannot list devices.
std::vector<Device> list_devices(const Egl& egl, const std::filesystem::path& sysfs);

/// A stable hash of what renders, the device and the driver_overrides(); never 0, which ends CGL's
/// attribute lists.
std::uint32_t renderer_id(std::string_view identity, std::string_view overrides);

}  // namespace texprobe::platform

#endif
