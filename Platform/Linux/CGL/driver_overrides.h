// The variables of the environment by which the same device becomes another renderer.

#ifndef TEXPROBE_PLATFORM_CGL_DRIVER_OVERRIDES_H
#define TEXPROBE_PLATFORM_CGL_DRIVER_OVERRIDES_H

#include <string>

namespace texprobe::platform {

/// A line "NAME=value" for each variable of the table that has a value, in the table's order. Empty
/// when none has: then a device has its own ID.
std::string driver_overrides();

}  // namespace texprobe::platform

#endif
