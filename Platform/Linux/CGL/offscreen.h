// The way from a device to a current context with an offscreen surface, step by step. The check
// that runs in a child process and CGL's own functions take the same steps.

#ifndef TEXPROBE_PLATFORM_CGL_OFFSCREEN_H
#define TEXPROBE_PLATFORM_CGL_OFFSCREEN_H

#include <string>

#include "CGL/egl.h"

namespace texprobe::platform {

/// A device that is open, or the reason why it is not.
struct Offscreen {
    EGLDisplay display = EGL_NO_DISPLAY;
    EGLConfig config = nullptr;
    std::string failure;  ///< Empty when the device is open.
};

/// Opens the device's driver and chooses a configuration of eight bits a channel that draws to
/// pbuffers. The display stays initialized for the life of the process: EGL has one display for a
/// device, and the application may be using it, so terminating it would end the application's
/// contexts.
Offscreen open_device(const Egl& egl, EGLDeviceEXT device);

/// A context of the highest version that is still compatible with the first: no version is asked
/// for.
EGLContext create_context(const Egl& egl, const Offscreen& offscreen);

EGLSurface create_surface(const Egl& egl, const Offscreen& offscreen, EGLint width, EGLint height);

}  // namespace texprobe::platform

#endif
