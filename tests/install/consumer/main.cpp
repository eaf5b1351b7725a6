// An application as users write it: C++11, a context of its own, and functions that happen to have
// a platform function's name. Usage: consumer TOOL

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <TexProbe.h>

#include <cstdio>
#include <cstdlib>

// The library has its own functions of these names. It must neither conflict with these nor call
// them.
extern "C" {
void CFRelease(const void*) {
    std::abort();
}
int CFPreferencesAppSynchronize(const void*) {
    std::abort();
}
int CGGetActiveDisplayList(unsigned, unsigned*, unsigned*) {
    std::abort();
}
int CGLQueryRendererInfo(unsigned, void*, int*) {
    std::abort();
}
}

static bool open_context() {
    const EGLDisplay display =
        eglGetPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr);
    const EGLint wanted[] = {EGL_SURFACE_TYPE, 0, EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT, EGL_NONE};
    EGLConfig config = nullptr;
    EGLint count = 0;
    return eglInitialize(display, nullptr, nullptr) && eglBindAPI(EGL_OPENGL_API) &&
           eglChooseConfig(display, wanted, &config, 1, &count) && count == 1 &&
           eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE,
                          eglCreateContext(display, config, EGL_NO_CONTEXT, nullptr));
}

int main(int argc, char** argv) {
    if (argc != 2 || !open_context()) return 2;
    const qor::TexProbe probe(argv[1]);
    const GLenum rgba8 = 0x8058;
    std::printf("GL_RGBA8: %s\n", probe.IsTextureFormatSupported(rgba8, true) &&
                                          probe.IsTextureFormatSettable(rgba8) &&
                                          probe.IsTextureFormatResettable(rgba8) &&
                                          probe.IsTextureFormatGettable(rgba8) &&
                                          probe.IsTextureFormatReadable(rgba8)
                                      ? "all"
                                      : "not all");
    return 0;
}
