#include "CoreGraphics/displays.h"

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <string>
#include <system_error>

namespace texprobe::platform {

namespace {

namespace fs = std::filesystem;

bool holds(const fs::path& file, const char* word) {
    std::string first;
    std::ifstream(file) >> first;
    return first == word;
}

/// The connectors ("card0-HDMI-A-1") with a display that is switched on.
std::uint32_t count_active_connectors(const fs::path& sysfs) {
    std::uint32_t count = 0;
    std::error_code error;
    fs::directory_iterator entry(sysfs / "class" / "drm", error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
        const std::string name = entry->path().filename();
        const bool connector = name.rfind("card", 0) == 0 && name.find('-') != std::string::npos;
        if (connector && holds(entry->path() / "status", "connected") &&
            holds(entry->path() / "enabled", "enabled")) {
            ++count;
        }
    }
    return count;
}

}  // namespace

CGError get_active_displays(const fs::path& sysfs, std::uint32_t maxDisplays,
                            CGDirectDisplayID* displays, std::uint32_t* count) {
    if (!count) return kCGErrorIllegalArgument;
    // A machine without an active connector has one headless display, so that its renderers can be
    // measured.
    *count = std::max<std::uint32_t>(count_active_connectors(sysfs), 1);
    if (!displays) return kCGErrorSuccess;
    *count = std::min(*count, maxDisplays);
    // Every renderer can drive every display, so the order of the connectors does not matter.
    for (std::uint32_t i = 0; i < *count; ++i) displays[i] = i + 1;
    return kCGErrorSuccess;
}

}  // namespace texprobe::platform

CGError CGGetActiveDisplayList(std::uint32_t maxDisplays, CGDirectDisplayID* activeDisplays,
                               std::uint32_t* displayCount) {
    return texprobe::platform::get_active_displays("/sys", maxDisplays, activeDisplays,
                                                   displayCount);
}

CGOpenGLDisplayMask CGDisplayIDToOpenGLDisplayMask(CGDirectDisplayID display) {
    return display >= 1 && display <= 32 ? 1u << (display - 1) : 0;
}
