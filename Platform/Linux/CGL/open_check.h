// Finds out whether a device can be used, in a child process: opening it may fail, hang, or kill
// whoever tries.

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

/// Opens the device in a child process up to a current context. Returns within `limit` and a
/// second. The child leaves no trace in this process: not in its streams, nor in its random
/// numbers. Call it before this process opens a driver of its own, whose locks the child would
/// inherit.
OpenCheck check_device(const Egl& egl, EGLDeviceEXT device, std::chrono::milliseconds limit);

}  // namespace texprobe::platform

#endif
