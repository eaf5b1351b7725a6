// EGL, and the GL functions that inspect a device, as function pointers, so that tests can script
// devices.

#ifndef TEXPROBE_PLATFORM_CGL_EGL_H
#define TEXPROBE_PLATFORM_CGL_EGL_H

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <OpenGL/gl.h>

#include <string>
#include <string_view>

namespace texprobe::platform {

struct Egl {
    // Null where EGL cannot list devices.
    PFNEGLQUERYDEVICESEXTPROC queryDevices = nullptr;
    PFNEGLQUERYDEVICESTRINGEXTPROC queryDeviceString = nullptr;

    decltype(&eglGetPlatformDisplay) getPlatformDisplay = eglGetPlatformDisplay;
    decltype(&eglInitialize) initialize = eglInitialize;
    decltype(&eglBindAPI) bindApi = eglBindAPI;
    decltype(&eglChooseConfig) chooseConfig = eglChooseConfig;
    decltype(&eglGetConfigAttrib) getConfigAttrib = eglGetConfigAttrib;
    decltype(&eglCreateContext) createContext = eglCreateContext;
    decltype(&eglCreatePbufferSurface) createPbufferSurface = eglCreatePbufferSurface;
    decltype(&eglMakeCurrent) makeCurrent = eglMakeCurrent;
    decltype(&eglGetError) getError = eglGetError;
    decltype(&glGetString) getString = nullptr;
    decltype(&glGetIntegerv) getIntegerv = nullptr;
};

/// The system's EGL. Queries the client extensions; initializes no display.
const Egl& system_egl();

/// Can EGL list devices? EGL_EXT_device_base offers that, and so do the two extensions that it was
/// split into.
bool can_list_devices(const char* clientExtensions);

/// Is `name` one of the words of an extension string? A null string has none.
bool has_extension(const char* extensions, std::string_view name);

/// For example "eglInitialize failed with EGL_NOT_INITIALIZED".
std::string describe_failure(const Egl& egl, std::string_view call);

/// Binds an API as the calling thread's EGL API. The destructor restores the previous one, for
/// applications that use another on the same thread.
class BoundApi {
public:
    BoundApi(const Egl& egl, EGLenum api) : egl_(egl), before_(eglQueryAPI()) { egl_.bindApi(api); }
    ~BoundApi() { egl_.bindApi(before_); }
    BoundApi(const BoundApi&) = delete;
    BoundApi& operator=(const BoundApi&) = delete;

private:
    const Egl& egl_;
    EGLenum before_;
};

}  // namespace texprobe::platform

#endif
