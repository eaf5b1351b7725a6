/* A compatibility context without a window, for applications in C and C++. */

#ifndef TEXPROBE_TESTS_COMPATIBILITY_CONTEXT_H
#define TEXPROBE_TESTS_COMPATIBILITY_CONTEXT_H

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <stddef.h>

static inline int open_compatibility_context(void) {
    const EGLint wanted[] = {EGL_SURFACE_TYPE, 0, EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT, EGL_NONE};
    EGLDisplay display =
        eglGetPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, NULL);
    EGLConfig config = NULL;
    EGLint count = 0;
    return eglInitialize(display, NULL, NULL) && eglBindAPI(EGL_OPENGL_API) &&
           eglChooseConfig(display, wanted, &config, 1, &count) && count == 1 &&
           eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE,
                          eglCreateContext(display, config, EGL_NO_CONTEXT, NULL));
}

#endif
