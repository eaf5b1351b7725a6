#include "egl.h"

#include <vector>

namespace texprobe::tests {

namespace {

std::vector<EGLint> attributes_of(const Wish& wish) {
    std::vector<EGLint> attributes = {EGL_CONTEXT_MAJOR_VERSION, wish.major,
                                      EGL_CONTEXT_MINOR_VERSION, wish.minor};
    if (!wish.isES) {
        attributes.push_back(EGL_CONTEXT_OPENGL_PROFILE_MASK);
        attributes.push_back(wish.isCore ? EGL_CONTEXT_OPENGL_CORE_PROFILE_BIT
                                         : EGL_CONTEXT_OPENGL_COMPATIBILITY_PROFILE_BIT);
    }
    attributes.push_back(EGL_NONE);
    return attributes;
}

}  // namespace

std::string make_current(EGLDisplay display, const Wish& wish,
                         std::optional<EGLNativeWindowType> window) {
    if (!eglInitialize(display, nullptr, nullptr)) return "eglInitialize failed";
    if (!eglBindAPI(wish.isES ? EGL_OPENGL_ES_API : EGL_OPENGL_API)) return "eglBindAPI failed";
    const EGLint wanted[] = {EGL_SURFACE_TYPE, window ? EGL_WINDOW_BIT : 0, EGL_RENDERABLE_TYPE,
                             wish.isES ? EGL_OPENGL_ES3_BIT : EGL_OPENGL_BIT, EGL_NONE};
    EGLConfig config = nullptr;
    EGLint count = 0;
    if (!eglChooseConfig(display, wanted, &config, 1, &count) || count != 1) {
        return "eglChooseConfig failed";
    }
    EGLSurface surface = EGL_NO_SURFACE;
    if (window) surface = eglCreateWindowSurface(display, config, *window, nullptr);
    if (window && surface == EGL_NO_SURFACE) return "eglCreateWindowSurface failed";
    EGLContext context =
        eglCreateContext(display, config, EGL_NO_CONTEXT, attributes_of(wish).data());
    if (context == EGL_NO_CONTEXT) return "eglCreateContext failed";
    return eglMakeCurrent(display, surface, surface, context) ? "" : "eglMakeCurrent failed";
}

}  // namespace texprobe::tests
