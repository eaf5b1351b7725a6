// OpenGL's extensions and post-1.1 functions, as macOS declares them.
//
// libOpenGL has OpenGL's core functions but no extensions; libGL has some, but needs X11. So the
// three that the product calls come from eglGetProcAddress. They have names of our own: a symbol
// with OpenGL's name would replace libGL's in an application that calls it.

#ifndef TEXPROBE_PLATFORM_GLEXT_H
#define TEXPROBE_PLATFORM_GLEXT_H

#include <EGL/egl.h>
#include <OpenGL/gl.h>

#include <GL/glext.h>

namespace texprobe::platform {

// EGL's pointers are valid for every context, so each is looked up once.

inline void bind_framebuffer(GLenum target, GLuint framebuffer) {
    static const auto function =
        reinterpret_cast<PFNGLBINDFRAMEBUFFEREXTPROC>(eglGetProcAddress("glBindFramebufferEXT"));
    function(target, framebuffer);
}

inline void framebuffer_texture(GLenum target, GLenum attachment, GLenum textureTarget,
                                GLuint texture, GLint level) {
    static const auto function = reinterpret_cast<PFNGLFRAMEBUFFERTEXTURE2DEXTPROC>(
        eglGetProcAddress("glFramebufferTexture2DEXT"));
    function(target, attachment, textureTarget, texture, level);
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
