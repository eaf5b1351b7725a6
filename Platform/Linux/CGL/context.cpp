#include <OpenGL/OpenGL.h>

#include <cstdio>

#include "CGL/egl.h"
#include "CGL/objects.h"
#include "CGL/offscreen.h"

using namespace texprobe::platform;

struct _CGLContextObject {
    Offscreen offscreen;
    EGLContext context;
    EGLSurface surface = EGL_NO_SURFACE;  ///< The pixel buffer that was set.
};

struct _CGLPBufferObject {
    EGLint width;
    EGLint height;
};

namespace {

void complain(const char* call) {
    std::fprintf(stderr, "*** EGL: %s\n", describe_failure(system_egl(), call).c_str());
}

bool is_current(const _CGLContextObject& ctx) {
    const DesktopGl desktopGl(system_egl());
    return eglGetCurrentContext() == ctx.context;
}

CGLError make_current(EGLDisplay display, EGLSurface surface, EGLContext context) {
    const DesktopGl desktopGl(system_egl());
    if (eglMakeCurrent(display, surface, surface, context)) return kCGLNoError;
    complain("eglMakeCurrent");
    return kCGLBadState;
}

CGLError make_nothing_current() {
    EGLDisplay display = eglGetCurrentDisplay();
    if (display == EGL_NO_DISPLAY) return kCGLNoError;
    return make_current(display, EGL_NO_SURFACE, EGL_NO_CONTEXT);
}

void destroy_surface(_CGLContextObject& ctx) {
    if (ctx.surface != EGL_NO_SURFACE) eglDestroySurface(ctx.offscreen.display, ctx.surface);
    ctx.surface = EGL_NO_SURFACE;
}

}  // namespace

CGLError CGLCreateContext(CGLPixelFormatObj pix, CGLContextObj share, CGLContextObj* ctx) {
    if (!ctx) return kCGLBadAddress;
    *ctx = nullptr;
    if (!pix) return kCGLBadPixelFormat;
    if (share) return kCGLBadMatch;
    EGLContext context = create_context(system_egl(), pix->offscreen);
    if (context == EGL_NO_CONTEXT) {
        complain("eglCreateContext");
        return kCGLBadAlloc;
    }
    *ctx = new _CGLContextObject{pix->offscreen, context};
    return kCGLNoError;
}

CGLError CGLDestroyContext(CGLContextObj ctx) {
    if (!ctx) return kCGLBadContext;
    // EGL would keep a current context alive until another is made current.
    if (is_current(*ctx)) make_nothing_current();
    destroy_surface(*ctx);
    eglDestroyContext(ctx->offscreen.display, ctx->context);
    delete ctx;
    return kCGLNoError;
}

CGLError CGLSetCurrentContext(CGLContextObj ctx) {
    if (!ctx) return make_nothing_current();
    if (ctx->surface == EGL_NO_SURFACE) return kCGLBadDrawable;
    return make_current(ctx->offscreen.display, ctx->surface, ctx->context);
}

CGLError CGLGetVirtualScreen(CGLContextObj ctx, GLint* screen) {
    if (!ctx) return kCGLBadContext;
    if (!screen) return kCGLBadAddress;
    *screen = 0;
    return kCGLNoError;
}

CGLError CGLCreatePBuffer(GLsizei width, GLsizei height, GLenum target, GLenum internalFormat,
                          GLint maxLevel, CGLPBufferObj* pbuffer) {
    if (!pbuffer) return kCGLBadAddress;
    *pbuffer = nullptr;
    const bool knownTarget =
        target == GL_TEXTURE_2D || target == GL_TEXTURE_CUBE_MAP || target == GL_TEXTURE_RECTANGLE;
    if (!knownTarget || (internalFormat != GL_RGBA && internalFormat != GL_RGB)) {
        return kCGLBadEnumeration;
    }
    if (width <= 0 || height <= 0 || maxLevel < 0) return kCGLBadValue;
    *pbuffer = new _CGLPBufferObject{width, height};
    return kCGLNoError;
}

CGLError CGLDestroyPBuffer(CGLPBufferObj pbuffer) {
    delete pbuffer;
    return kCGLNoError;
}

CGLError CGLSetPBuffer(CGLContextObj ctx, CGLPBufferObj pbuffer, GLenum face, GLint level,
                       GLint screen) {
    if (!ctx) return kCGLBadContext;
    if (!pbuffer) return kCGLBadDrawable;
    if (face != 0 || level != 0 || screen != 0) return kCGLBadValue;
    EGLSurface surface =
        create_surface(system_egl(), ctx->offscreen, pbuffer->width, pbuffer->height);
    if (surface == EGL_NO_SURFACE) {
        complain("eglCreatePbufferSurface");
        return kCGLBadAlloc;
    }
    // The old surface lives on in EGL while it is current.
    destroy_surface(*ctx);
    ctx->surface = surface;
    return is_current(*ctx) ? CGLSetCurrentContext(ctx) : kCGLNoError;
}
