// Checks in a child process whether a device can be used: opening it may fail, hang or crash.

#ifndef TEXPROBE_PLATFORM_CGL_OPEN_CHECK_H
#define TEXPROBE_PLATFORM_CGL_OPEN_CHECK_H

#include <chrono>
#include <cstdint>
#include <string>

#include "CGL/egl.h"

namespace texprobe::platform {

struct OpenCheck {
    std::string failure;       ///< Why the device cannot be used; empty when it can.
    std::uint64_t memory = 0;  ///< Its texture memory in bytes; 0 when the driver does not say.
};

/// Opens the device in a child process and makes a context current there. Returns within `limit`
/// plus one second. The child does not affect this process, not even its streams or random numbers.
/// Call this before the process opens a driver itself: the child would inherit that driver's locks.
OpenCheck check_device(EGLDeviceEXT device, std::chrono::milliseconds limit);

}  // namespace texprobe::platform

#endif
