// Pixel formats, contexts and pixel buffers.

#include <OpenGL/OpenGL.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <utility>

#include "CGL/egl.h"
#include "CGL/es_pixel_format.h"
#include "CGL/offscreen.h"
#include "CGL/renderers.h"

using namespace texprobe::platform;

struct _CGLPixelFormatObject {
    Offscreen offscreen;
};

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

/// Attribute lists hold plain integers, such as renderer IDs, which are not in the enumeration.
GLint read_attribute(const CGLPixelFormatAttribute* attribute) {
    static_assert(sizeof(GLint) == sizeof(CGLPixelFormatAttribute));
    GLint value = 0;
    std::memcpy(&value, attribute, sizeof value);
    return value;
}

/// The wishes in an attribute list.
struct Wish {
    GLint id = 0;  ///< 0, which no renderer has: the list does not name one.
    ContextKind kind = ContextKind::kCompatibility;
};

bool read_profile(GLint value, ContextKind* kind) {
    *kind = value == kCGLOGLPVersion_3_2_Core ? ContextKind::kCore : ContextKind::kCompatibility;
    return value == kCGLOGLPVersion_3_2_Core || value == kCGLOGLPVersion_Legacy;
}

/// No renderer if the list has other attributes or values.
Wish read_attributes(const CGLPixelFormatAttribute* attribs) {
    Wish wish;
    for (; read_attribute(attribs) != 0; attribs += 2) {
        const GLint value = read_attribute(attribs + 1);
        const GLint name = read_attribute(attribs);
        if (name == kCGLPFAOpenGLProfile) {
            if (!read_profile(value, &wish.kind)) return {};
        } else if (name == kCGLPFARendererID && value != 0) {
            wish.id = value;
        } else {
            return {};
        }
    }
    return wish;
}

CGLError choose(const Wish& wish, CGLPixelFormatObj* pix) {
    EGLDeviceEXT device = nullptr;
    const CGLError error = system_renderers().find_device(wish.id, &device);
    if (error != kCGLNoError) return error;
    Offscreen offscreen = open_device(device, wish.kind);
    if (!offscreen.failure.empty()) {
        std::fprintf(stderr, "*** EGL: %s\n", offscreen.failure.c_str());
        return kCGLBadPixelFormat;
    }
    *pix = new _CGLPixelFormatObject{std::move(offscreen)};
    return kCGLNoError;
}

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

CGLError CGLChoosePixelFormat(const CGLPixelFormatAttribute* attribs, CGLPixelFormatObj* pix,
                              GLint* npix) {
    if (!attribs || !pix || !npix) return kCGLBadAddress;
    *pix = nullptr;
    *npix = 0;
    const Wish wish = read_attributes(attribs);
    if (wish.id == 0) return kCGLBadAttribute;
    const CGLError error = choose(wish, pix);
    if (error == kCGLNoError) *npix = 1;
    return error;
}

CGLError texprobe::platform::choose_es_pixel_format(GLint rendererID, CGLPixelFormatObj* pix) {
    if (!pix) return kCGLBadAddress;
    *pix = nullptr;
    return choose({rendererID, ContextKind::kEs}, pix);
}

CGLError CGLDestroyPixelFormat(CGLPixelFormatObj pix) {
    delete pix;
    return kCGLNoError;
}

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
