// TEXPROBE_BENCH_DISPLAYS active displays, all driven by the same renderers.

#include <ApplicationServices/ApplicationServices.h>

#include <algorithm>
#include <cstdlib>

CGError CGGetActiveDisplayList(std::uint32_t maxDisplays, CGDirectDisplayID* activeDisplays,
                               std::uint32_t* displayCount) {
    const char* count = std::getenv("TEXPROBE_BENCH_DISPLAYS");
    const auto wanted = static_cast<std::uint32_t>(count ? std::atoi(count) : 1);
    *displayCount = std::min(wanted, maxDisplays);
    for (std::uint32_t i = 0; i < *displayCount; ++i) activeDisplays[i] = i + 1;
    return kCGErrorSuccess;
}

CGOpenGLDisplayMask CGDisplayIDToOpenGLDisplayMask(CGDirectDisplayID display) {
    return 1u << (display - 1);
}
