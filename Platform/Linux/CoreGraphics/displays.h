// The active displays of a machine, given its sysfs.

#ifndef TEXPROBE_PLATFORM_COREGRAPHICS_DISPLAYS_H
#define TEXPROBE_PLATFORM_COREGRAPHICS_DISPLAYS_H

#include <ApplicationServices/ApplicationServices.h>

#include <filesystem>

namespace texprobe::platform {

/// CGGetActiveDisplayList on that machine.
CGError get_active_displays(const std::filesystem::path& sysfs, std::uint32_t maxDisplays,
                            CGDirectDisplayID* displays, std::uint32_t* count);

}  // namespace texprobe::platform

#endif
