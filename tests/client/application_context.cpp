#include "application_context.h"

#include <EGL/eglext.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace texprobe::tests {

namespace {

void must(bool succeeded, const char* call) {
    if (!succeeded) throw std::runtime_error(std::string(call) + " failed");
}

std::vector<EGLint> attributes_of(const Wish& wish) {
    std::vector<EGLint> attributes;
    if (wish.major > 0) {
        attributes = {EGL_CONTEXT_MAJOR_VERSION, wish.major, EGL_CONTEXT_MINOR_VERSION, wish.minor};
    }
    if (wish.major > 0 && !wish.isES) {
        attributes.push_back(EGL_CONTEXT_OPENGL_PROFILE_MASK);
        attributes.push_back(wish.isCore ? EGL_CONTEXT_OPENGL_CORE_PROFILE_BIT
                                         : EGL_CONTEXT_OPENGL_COMPATIBILITY_PROFILE_BIT);
    }
    attributes.push_back(EGL_NONE);
    return attributes;
}

class EglContext : public ApplicationContext {
public:
    EglContext(EGLDisplay display, const Wish& wish, std::optional<EGLNativeWindowType> window)
        : display_(display) {
        must(eglInitialize(display_, nullptr, nullptr), "eglInitialize");
        must(eglBindAPI(wish.isES ? EGL_OPENGL_ES_API : EGL_OPENGL_API), "eglBindAPI");
        const EGLint wanted[] = {EGL_SURFACE_TYPE, window ? EGL_WINDOW_BIT : 0, EGL_RENDERABLE_TYPE,
                                 wish.isES ? EGL_OPENGL_ES3_BIT : EGL_OPENGL_BIT, EGL_NONE};
        EGLConfig config = nullptr;
        EGLint count = 0;
        must(eglChooseConfig(display_, wanted, &config, 1, &count) && count == 1,
             "eglChooseConfig");
        EGLSurface surface = EGL_NO_SURFACE;
        if (window) surface = eglCreateWindowSurface(display_, config, *window, nullptr);
        must(!window || surface != EGL_NO_SURFACE, "eglCreateWindowSurface");
        context_ = eglCreateContext(display_, config, EGL_NO_CONTEXT, attributes_of(wish).data());
        must(context_ != EGL_NO_CONTEXT, "eglCreateContext");
        must(eglMakeCurrent(display_, surface, surface, context_), "eglMakeCurrent");
    }
    ~EglContext() override {
        eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
        eglDestroyContext(display_, context_);
        eglTerminate(display_);
    }
    EglContext(const EglContext&) = delete;
    EglContext& operator=(const EglContext&) = delete;

private:
    EGLDisplay display_;
    EGLContext context_ = EGL_NO_CONTEXT;
};

}  // namespace

std::unique_ptr<ApplicationContext> open_egl(EGLDisplay display, const Wish& wish,
                                             std::optional<EGLNativeWindowType> window) {
    return std::make_unique<EglContext>(display, wish, window);
}

std::unique_ptr<ApplicationContext> open_surfaceless(const Wish& wish) {
    return open_egl(
        eglGetPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr), wish,
        std::nullopt);
}

}  // namespace texprobe::tests
