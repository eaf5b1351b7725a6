#include "application_context.h"

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GL/gl.h>

#include <stdexcept>

// GLX, declared without X's headers.
extern "C" {
void* glXGetCurrentContext(void);
void* glXGetCurrentDisplay(void);
unsigned long glXGetCurrentDrawable(void);
}

namespace texprobe::tests {

namespace {

void must(bool succeeded, const char* call) {
    if (!succeeded) throw std::runtime_error(std::string(call) + " failed");
}

class SurfacelessContext : public ApplicationContext {
public:
    explicit SurfacelessContext(const EGLint* attributes, EGLenum api = EGL_OPENGL_API)
        : display_(
              eglGetPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr)) {
        must(eglInitialize(display_, nullptr, nullptr), "eglInitialize");
        must(eglBindAPI(api), "eglBindAPI");
        const EGLint kind = api == EGL_OPENGL_API ? EGL_OPENGL_BIT : EGL_OPENGL_ES3_BIT;
        const EGLint wanted[] = {EGL_SURFACE_TYPE, 0, EGL_RENDERABLE_TYPE, kind, EGL_NONE};
        EGLConfig config = nullptr;
        EGLint count = 0;
        must(eglChooseConfig(display_, wanted, &config, 1, &count) && count == 1,
             "eglChooseConfig");
        context_ = eglCreateContext(display_, config, EGL_NO_CONTEXT, attributes);
        must(eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, context_), "eglMakeCurrent");
    }
    ~SurfacelessContext() override {
        eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
        eglDestroyContext(display_, context_);
        eglTerminate(display_);
    }
    SurfacelessContext(const SurfacelessContext&) = delete;
    SurfacelessContext& operator=(const SurfacelessContext&) = delete;

private:
    EGLDisplay display_;
    EGLContext context_ = EGL_NO_CONTEXT;
};

std::unique_ptr<ApplicationContext> open_core(EGLint major, EGLint minor) {
    const EGLint attributes[] = {EGL_CONTEXT_MAJOR_VERSION,
                                 major,
                                 EGL_CONTEXT_MINOR_VERSION,
                                 minor,
                                 EGL_CONTEXT_OPENGL_PROFILE_MASK,
                                 EGL_CONTEXT_OPENGL_CORE_PROFILE_BIT,
                                 EGL_NONE};
    return std::make_unique<SurfacelessContext>(attributes);
}

std::uintptr_t handle(const void* pointer) {
    return reinterpret_cast<std::uintptr_t>(pointer);
}

}  // namespace

std::unique_ptr<ApplicationContext> open_surfaceless() {
    return std::make_unique<SurfacelessContext>(nullptr);
}

std::unique_ptr<ApplicationContext> open_surfaceless_core() {
    return open_core(3, 3);
}

std::unique_ptr<ApplicationContext> open_surfaceless_core_45() {
    return open_core(4, 5);
}

std::unique_ptr<ApplicationContext> open_surfaceless_es() {
    const EGLint attributes[] = {EGL_CONTEXT_MAJOR_VERSION, 3, EGL_NONE};
    return std::make_unique<SurfacelessContext>(attributes, EGL_OPENGL_ES_API);
}

std::string gl_text(unsigned name) {
    return reinterpret_cast<const char*>(glGetString(name));
}

std::vector<std::uintptr_t> current_handles() {
    return {handle(glXGetCurrentContext()),
            handle(glXGetCurrentDisplay()),
            static_cast<std::uintptr_t>(glXGetCurrentDrawable()),
            handle(eglGetCurrentContext()),
            handle(eglGetCurrentDisplay()),
            handle(eglGetCurrentSurface(EGL_DRAW)),
            handle(eglGetCurrentSurface(EGL_READ)),
            static_cast<std::uintptr_t>(eglQueryAPI())};
}

}  // namespace texprobe::tests
