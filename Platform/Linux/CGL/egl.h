// EGL and the GL functions that look at a device, as pointers, so that the tests can script
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
    PFNEGLQUERYDEVICESEXTPROC query_devices = nullptr;
    PFNEGLQUERYDEVICESTRINGEXTPROC query_device_string = nullptr;

    decltype(&eglGetPlatformDisplay) get_platform_display = eglGetPlatformDisplay;
    decltype(&eglInitialize) initialize = eglInitialize;
    decltype(&eglBindAPI) bind_api = eglBindAPI;
    decltype(&eglChooseConfig) choose_config = eglChooseConfig;
    decltype(&eglGetConfigAttrib) get_config_attrib = eglGetConfigAttrib;
    decltype(&eglCreateContext) create_context = eglCreateContext;
    decltype(&eglCreatePbufferSurface) create_pbuffer_surface = eglCreatePbufferSurface;
    decltype(&eglMakeCurrent) make_current = eglMakeCurrent;
    decltype(&eglGetError) get_error = eglGetError;
    decltype(&glGetString) get_string = nullptr;
    decltype(&glGetIntegerv) get_integerv = nullptr;
};

/// The EGL of this system. Asks for client extensions; initializes no display.
const Egl& system_egl();

/// Do EGL's client extensions offer the list of devices? One extension does, which others took
/// apart.
bool can_list_devices(const char* client_extensions);

/// Is `name` one of the words of an extension string? A null string has none.
bool has_extension(const char* extensions, std::string_view name);

/// "eglInitialize failed with EGL_NOT_INITIALIZED", say.
std::string describe_failure(const Egl& egl, std::string_view call);

/// Desktop OpenGL as the calling thread's EGL client API, for the life of this object: an
/// application that uses OpenGL ES on the same thread finds its choice again.
class DesktopGl {
public:
    explicit DesktopGl(const Egl& egl) : egl_(egl), before_(eglQueryAPI()) {
        egl_.bind_api(EGL_OPENGL_API);
    }
    ~DesktopGl() { egl_.bind_api(before_); }
    DesktopGl(const DesktopGl&) = delete;
    DesktopGl& operator=(const DesktopGl&) = delete;

private:
    const Egl& egl_;
    EGLenum before_;
};

}  // namespace texprobe::platform

#endif
