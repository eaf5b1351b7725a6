// EGL: its extensions, its failures, and the thread's choice of an API.

#ifndef TEXPROBE_PLATFORM_CGL_EGL_H
#define TEXPROBE_PLATFORM_CGL_EGL_H

#include <EGL/egl.h>
#include <EGL/eglext.h>

#include <string>
#include <string_view>

namespace texprobe::platform {

/// An extension's function or one of OpenGL's. EGL may have one for a name that it does not know.
template <typename Function>
Function load(const char* name) {
    return reinterpret_cast<Function>(eglGetProcAddress(name));
}

/// Is `name` one of the words of an extension string? A null string has none.
bool has_extension(const char* extensions, std::string_view name);

/// For example "eglInitialize failed with EGL_NOT_INITIALIZED".
std::string describe_failure(std::string_view call);

/// Binds an API as the calling thread's EGL API. The destructor restores the previous one, for
/// applications that use another on the same thread.
class BoundApi {
public:
    explicit BoundApi(EGLenum api) : before_(eglQueryAPI()) { eglBindAPI(api); }
    ~BoundApi() { eglBindAPI(before_); }
    BoundApi(const BoundApi&) = delete;
    BoundApi& operator=(const BoundApi&) = delete;

private:
    EGLenum before_;
};

}  // namespace texprobe::platform

#endif
