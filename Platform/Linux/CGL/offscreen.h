// The steps from a device to a current context with an offscreen surface. CGL's functions and the
// check in a child process share them.

#ifndef TEXPROBE_PLATFORM_CGL_OFFSCREEN_H
#define TEXPROBE_PLATFORM_CGL_OFFSCREEN_H

#include <string>

#include "CGL/egl.h"

namespace texprobe::platform {

/// Which contexts a device is opened for: of the core profile from 3.2 on, of ES from 3.0 on.
enum class ContextKind { kCompatibility, kCore, kEs };

/// An open device, or the reason why it could not be opened.
struct Offscreen {
    ContextKind kind = ContextKind::kCompatibility;
    EGLDisplay display = EGL_NO_DISPLAY;
    EGLConfig config = nullptr;
    std::string failure;  ///< Empty when the device is open.
};

/// Opens the device's driver and chooses a configuration with eight bits per channel that can draw
/// to pbuffers. The display is never terminated: EGL has one per device, and terminating it would
/// destroy the application's contexts, too.
Offscreen open_device(EGLDeviceEXT device, ContextKind kind = ContextKind::kCompatibility);

/// A context of that kind and of the highest version. For the compatibility profile EGL creates
/// that if no version is requested; of the other kinds, each version is asked for, the highest
/// first.
EGLContext create_context(const Offscreen& offscreen);

EGLSurface create_surface(const Offscreen& offscreen, EGLint width, EGLint height);

}  // namespace texprobe::platform

#endif
