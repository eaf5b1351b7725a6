// The part of CGL that texprobe calls, under the names, types and values that macOS publishes;
// implemented on EGL in Platform/Linux/CGL. Every function returns kCGLNoError (0) or an error
// code.
//
// CGLQueryRendererInfo, CGLDestroyRendererInfo and CGLDescribeRenderer may be called from any
// thread and never touch the calling thread's current context. The others belong to the thread that
// uses the context.

#ifndef TEXPROBE_PLATFORM_OPENGL_H
#define TEXPROBE_PLATFORM_OPENGL_H

#include <OpenGL/gl.h>

extern "C" {

typedef struct _CGLContextObject* CGLContextObj;
typedef struct _CGLPixelFormatObject* CGLPixelFormatObj;
typedef struct _CGLRendererInfoObject* CGLRendererInfoObj;
typedef struct _CGLPBufferObject* CGLPBufferObj;

typedef enum _CGLPixelFormatAttribute {
    kCGLPFARendererID = 70,
    kCGLPFAOpenGLProfile = 99,
    kCGLPFAVirtualScreenCount = 128
} CGLPixelFormatAttribute;

/// Values of kCGLPFAOpenGLProfile.
typedef enum _CGLOpenGLProfile {
    kCGLOGLPVersion_Legacy = 0x1000,
    kCGLOGLPVersion_3_2_Core = 0x3200
} CGLOpenGLProfile;

typedef enum _CGLRendererProperty {
    kCGLRPRendererID = 70,
    kCGLRPAccelerated = 73,
    kCGLRPTextureMemory = 121,
    kCGLRPRendererCount = 128
} CGLRendererProperty;

typedef enum _CGLError {
    kCGLNoError = 0,
    kCGLBadAttribute = 10000,
    kCGLBadProperty = 10001,
    kCGLBadPixelFormat = 10002,
    kCGLBadRendererInfo = 10003,
    kCGLBadContext = 10004,
    kCGLBadDrawable = 10005,
    kCGLBadDisplay = 10006,
    kCGLBadState = 10007,
    kCGLBadValue = 10008,
    kCGLBadMatch = 10009,
    kCGLBadEnumeration = 10010,
    kCGLBadOffScreen = 10011,
    kCGLBadFullScreen = 10012,
    kCGLBadWindow = 10013,
    kCGLBadAddress = 10014,
    kCGLBadCodeModule = 10015,
    kCGLBadAlloc = 10016,
    kCGLBadConnection = 10017
} CGLError;

/// Lists the renderers that can drive the displays of `displayMask`. `*rend` is owned by the
/// caller (CGLDestroyRendererInfo); on an error it is not written. Differs from macOS: a renderer
/// is an EGL device and can drive every display, so every mask except 0 lists all of them. The list
/// is made once per process, hardware before software, from device strings alone: no driver is
/// opened and no context created. Without devices there are 0 renderers and no error.
CGLError CGLQueryRendererInfo(GLuint displayMask, CGLRendererInfoObj* rend, GLint* nrend);
CGLError CGLDestroyRendererInfo(CGLRendererInfoObj rend);

/// One property of renderer `rendNum`: kCGLRPRendererID, kCGLRPTextureMemory in bytes, or
/// kCGLRPAccelerated: 0 for EGL's software device, which opens nothing to answer.
/// kCGLBadValue for a number that is not in the list, kCGLBadProperty for another property.
/// Differs from macOS: texture memory is clamped to 2^31 - 1. The first query for it opens every
/// device once, hardware in one child process each. A device that cannot be opened answers this
/// query and every later one with kCGLBadRendererInfo and prints why on standard error.
CGLError CGLDescribeRenderer(CGLRendererInfoObj rend, GLint rendNum, CGLRendererProperty prop,
                             GLint* value);

/// Chooses the offscreen pixel format of the one renderer that the attribute list (pairs, ended by
/// a 0) names with kCGLPFARendererID, for contexts of the profile that it names with
/// kCGLPFAOpenGLProfile, or for legacy ones. `*pix` is owned by the caller; `*npix` becomes 1.
/// Differs from macOS: there are no other attributes, and kCGLPFARendererID must be present
/// (kCGLBadAttribute). A renderer that does not exist is kCGLBadPixelFormat, one that cannot be
/// opened kCGLBadRendererInfo, instead of a null pixel format without an error.
CGLError CGLChoosePixelFormat(const CGLPixelFormatAttribute* attribs, CGLPixelFormatObj* pix,
                              GLint* npix);
CGLError CGLDestroyPixelFormat(CGLPixelFormatObj pix);

/// Creates a context of the pixel format's profile, of the renderer's highest version.
/// Differs from macOS: `share` must be null; a legacy context is one of the compatibility profile,
/// and a core one, which has the version asked for or a higher one, fails here (kCGLBadAlloc) and
/// not with its pixel format where the renderer has none.
CGLError CGLCreateContext(CGLPixelFormatObj pix, CGLContextObj share, CGLContextObj* ctx);

/// Destroys the context and its surface. If it is current on this thread, no context is afterwards.
CGLError CGLDestroyContext(CGLContextObj ctx);

/// Makes the context current with the pixel buffer that was set on it (null: nothing current).
/// kCGLBadState if EGL refuses, for example because a GLX context is current on this thread.
/// Differs from macOS: kCGLBadDrawable for a context without a pixel buffer.
CGLError CGLSetCurrentContext(CGLContextObj ctx);

/// The context's virtual screen. Differs from macOS: always 0, a context has one renderer.
CGLError CGLGetVirtualScreen(CGLContextObj ctx, GLint* screen);

/// Creates an offscreen drawable of that size, in pixels. The current context stays current.
/// Differs from macOS: it is a surface of the context that this thread created last, which is made
/// current with it once. kCGLBadContext while there is no such context, kCGLBadAlloc if EGL cannot
/// make it, kCGLBadState if it cannot make it current. It cannot be used as a texture: `target`,
/// `internalFormat` (GL_RGB or GL_RGBA) and `maxLevel` are checked and otherwise ignored.
CGLError CGLCreatePBuffer(GLsizei width, GLsizei height, GLenum target, GLenum internalFormat,
                          GLint maxLevel, CGLPBufferObj* pbuffer);
CGLError CGLDestroyPBuffer(CGLPBufferObj pbuffer);

/// Makes the pixel buffer the drawable of the context that it was created for. The pixel buffer may
/// be destroyed before the context. Differs from macOS: `face`, `level` and `screen` must be 0, and
/// a pixel buffer is set once, on a context that has none: kCGLBadDrawable if it was set before,
/// kCGLBadMatch if the context has one.
CGLError CGLSetPBuffer(CGLContextObj ctx, CGLPBufferObj pbuffer, GLenum face, GLint level,
                       GLint screen);

}  // extern "C"

#endif
