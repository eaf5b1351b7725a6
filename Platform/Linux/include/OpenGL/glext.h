// OpenGL's extensions and post-1.1 functions, as macOS declares them.
//
// libOpenGL has the functions of OpenGL itself and none of its extensions, and libGL, which has
// some, brings X11 with it. So the three that the product calls are asked of EGL. They have names
// of their own here: a symbol of OpenGL's name would take the place of libGL's in an application
// that calls it.

#ifndef TEXPROBE_PLATFORM_GLEXT_H
#define TEXPROBE_PLATFORM_GLEXT_H

#include <EGL/egl.h>
#include <OpenGL/gl.h>

#include <GL/glext.h>

namespace texprobe::platform {

// What EGL gives serves every context, so each is asked for once.

inline void bind_framebuffer(GLenum target, GLuint framebuffer) {
    static const auto function =
        reinterpret_cast<PFNGLBINDFRAMEBUFFEREXTPROC>(eglGetProcAddress("glBindFramebufferEXT"));
    function(target, framebuffer);
}

inline void framebuffer_texture(GLenum target, GLenum attachment, GLenum texture_target,
                                GLuint texture, GLint level) {
    static const auto function = reinterpret_cast<PFNGLFRAMEBUFFERTEXTURE2DEXTPROC>(
        eglGetProcAddress("glFramebufferTexture2DEXT"));
    function(target, attachment, texture_target, texture, level);
}

inline GLenum check_framebuffer_status(GLenum target) {
    static const auto function = reinterpret_cast<PFNGLCHECKFRAMEBUFFERSTATUSEXTPROC>(
        eglGetProcAddress("glCheckFramebufferStatusEXT"));
    return function(target);
}

}  // namespace texprobe::platform

#define glBindFramebufferEXT texprobe::platform::bind_framebuffer
#define glFramebufferTexture2DEXT texprobe::platform::framebuffer_texture
#define glCheckFramebufferStatusEXT texprobe::platform::check_framebuffer_status

#endif
