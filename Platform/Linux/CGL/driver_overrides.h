// The environment variables that turn the same device into another renderer.

#ifndef TEXPROBE_PLATFORM_CGL_DRIVER_OVERRIDES_H
#define TEXPROBE_PLATFORM_CGL_DRIVER_OVERRIDES_H

#include <string>

namespace texprobe::platform {

/// One line "NAME=value" for each variable of the table that is set and not empty, in the table's
/// order. If there is none, the device keeps its own ID.
std::string driver_overrides();

}  // namespace texprobe::platform

#endif
