// The machine's renderers, as EGL lists them. Only device strings are queried; nothing is opened.

#ifndef TEXPROBE_PLATFORM_CGL_DEVICES_H
#define TEXPROBE_PLATFORM_CGL_DEVICES_H

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "CGL/egl.h"
#include "CGL/sysfs.h"

namespace texprobe::platform {

/// One GPU, or the software renderer.
struct Device {
    bool software = false;
    std::string name;      ///< For messages.
    std::string identity;  ///< Names the device: the same after a reboot or in another slot.
    Gpu gpu;
    /// Its entries in EGL's list: one from each vendor's library that claims to support it.
    std::vector<EGLDeviceEXT> entries;
};

/// Can EGL list devices? EGL_EXT_device_base offers that, and so do the two extensions that it was
/// split into.
bool can_list_devices(const char* clientExtensions);

/// Hardware first, then software, each in EGL's order. Empty if EGL cannot list devices.
std::vector<Device> list_devices(const std::filesystem::path& sysfs);

/// The environment variables that turn the same device into another renderer: one line "NAME=value"
/// for each variable of a table that is set and not empty, in the table's order. If there is none,
/// the device keeps its own ID.
std::string driver_overrides();

/// A stable hash of the device and the driver_overrides(). Never 0, because 0 ends CGL's attribute
/// lists.
std::uint32_t renderer_id(const std::string& identity, const std::string& overrides);

}  // namespace texprobe::platform

#endif
