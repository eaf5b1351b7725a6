#include <EGL/egl.h>
#include <dlfcn.h>

#include <atomic>

#include "surroundings.h"

namespace {

std::atomic<int> calls{0};

/// EGL's own function, which the one of the same name in this file hides.
template <typename Function>
Function* next(Function* /*type*/, const char* name) {
    ++calls;
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

namespace texprobe::tests {

int disturbing_egl_calls() {
    return calls;
}

}  // namespace texprobe::tests

extern "C" {

EGLDisplay eglGetPlatformDisplay(EGLenum platform, void* native, const EGLAttrib* attributes) {
    return next(eglGetPlatformDisplay, __func__)(platform, native, attributes);
}
EGLDisplay eglGetDisplay(EGLNativeDisplayType native) {
    return next(eglGetDisplay, __func__)(native);
}
EGLBoolean eglInitialize(EGLDisplay display, EGLint* major, EGLint* minor) {
    return next(eglInitialize, __func__)(display, major, minor);
}
EGLBoolean eglTerminate(EGLDisplay display) {
    return next(eglTerminate, __func__)(display);
}
EGLBoolean eglReleaseThread() {
    return next(eglReleaseThread, __func__)();
}
EGLContext eglCreateContext(EGLDisplay display, EGLConfig config, EGLContext share,
                            const EGLint* attributes) {
    return next(eglCreateContext, __func__)(display, config, share, attributes);
}
EGLBoolean eglMakeCurrent(EGLDisplay display, EGLSurface draw, EGLSurface read,
                          EGLContext context) {
    return next(eglMakeCurrent, __func__)(display, draw, read, context);
}

}  // extern "C"
