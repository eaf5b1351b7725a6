#include <OpenGL/OpenGL.h>

#include <cstdio>
#include <memory>
#include <utility>

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
    Offscreen offscreen;  ///< Of the context that it is for.
    EGLSurface surface;   ///< Until a context takes it.
};

namespace {

/// The context that this thread created last, if it still exists. A pixel buffer is created without
/// a context, but the context decides whether there can be one.
thread_local CGLContextObj lastContext = nullptr;

void complain(const char* call) {
    std::fprintf(stderr, "*** EGL: %s\n", describe_failure(call).c_str());
}

bool is_current(const _CGLContextObject& ctx) {
    const BoundApi desktopGl(EGL_OPENGL_API);
    return eglGetCurrentContext() == ctx.context;
}

CGLError make_current(EGLDisplay display, EGLSurface surface, EGLContext context) {
    const BoundApi desktopGl(EGL_OPENGL_API);
    if (eglMakeCurrent(display, surface, surface, context)) return kCGLNoError;
    complain("eglMakeCurrent");
    return kCGLBadState;
}

CGLError make_nothing_current() {
    EGLDisplay display = eglGetCurrentDisplay();
    if (display == EGL_NO_DISPLAY) return kCGLNoError;
    return make_current(display, EGL_NO_SURFACE, EGL_NO_CONTEXT);
}

/// Destroys the surface of a context or of a pixel buffer, if it has one.
template <typename Owner>
void destroy_surface(Owner& owner) {
    if (owner.surface != EGL_NO_SURFACE) eglDestroySurface(owner.offscreen.display, owner.surface);
    owner.surface = EGL_NO_SURFACE;
}

/// Makes the context current with the surface, and then restores the context of before.
CGLError try_surface(const _CGLContextObject& ctx, EGLSurface surface) {
    const BoundApi desktopGl(EGL_OPENGL_API);
    EGLDisplay display = eglGetCurrentDisplay();
    EGLSurface draw = eglGetCurrentSurface(EGL_DRAW);
    EGLSurface read = eglGetCurrentSurface(EGL_READ);
    EGLContext context = eglGetCurrentContext();
    const CGLError error = make_current(ctx.offscreen.display, surface, ctx.context);
    if (context == EGL_NO_CONTEXT) {
        make_nothing_current();
    } else if (eglGetCurrentContext() != context || eglGetCurrentSurface(EGL_DRAW) != draw) {
        eglMakeCurrent(display, draw, read, context);
    }
    return error;
}

}  // namespace

CGLError CGLCreateContext(CGLPixelFormatObj pix, CGLContextObj share, CGLContextObj* ctx) {
    if (!ctx) return kCGLBadAddress;
    *ctx = nullptr;
    if (!pix) return kCGLBadPixelFormat;
    if (share) return kCGLBadMatch;
    EGLContext context = create_context(pix->offscreen);
    if (context == EGL_NO_CONTEXT) {
        complain("eglCreateContext");
        return kCGLBadAlloc;
    }
    *ctx = lastContext = new _CGLContextObject{pix->offscreen, context};
    return kCGLNoError;
}

CGLError CGLDestroyContext(CGLContextObj ctx) {
    if (!ctx) return kCGLBadContext;
    // EGL would keep a current context alive until another is made current.
    if (is_current(*ctx)) make_nothing_current();
    destroy_surface(*ctx);
    eglDestroyContext(ctx->offscreen.display, ctx->context);
    if (lastContext == ctx) lastContext = nullptr;
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
    if (!lastContext) return kCGLBadContext;
    auto made = std::make_unique<_CGLPBufferObject>();
    made->offscreen = lastContext->offscreen;
    made->surface = create_surface(made->offscreen, width, height);
    if (made->surface == EGL_NO_SURFACE) {
        complain("eglCreatePbufferSurface");
        return kCGLBadAlloc;
    }
    const CGLError error = try_surface(*lastContext, made->surface);
    if (error != kCGLNoError) {
        destroy_surface(*made);
        return error;
    }
    *pbuffer = made.release();
    return kCGLNoError;
}

CGLError CGLDestroyPBuffer(CGLPBufferObj pbuffer) {
    if (pbuffer) destroy_surface(*pbuffer);
    delete pbuffer;
    return kCGLNoError;
}

CGLError CGLSetPBuffer(CGLContextObj ctx, CGLPBufferObj pbuffer, GLenum face, GLint level,
                       GLint screen) {
    if (!ctx) return kCGLBadContext;
    if (!pbuffer || pbuffer->surface == EGL_NO_SURFACE) return kCGLBadDrawable;
    if (face != 0 || level != 0 || screen != 0) return kCGLBadValue;
    if (ctx->surface != EGL_NO_SURFACE) return kCGLBadMatch;
    ctx->surface = std::exchange(pbuffer->surface, EGL_NO_SURFACE);
    return kCGLNoError;
}
