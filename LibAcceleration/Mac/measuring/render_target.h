// The features of the current renderer that the tests need, and the target that they render to.

#ifndef TEXPROBE_RENDER_TARGET_H
#define TEXPROBE_RENDER_TARGET_H

#include <OpenGL/gl.h>
#include <OpenGL/glext.h>
#include <OpenGL/glu.h>

#include "measuring/pattern.h"

namespace texprobe {

namespace {

// Features of the current renderer; read once for each.
bool __hasFBO = false;
bool __hasPBO = false;

inline bool has_extension(const char* name, const GLubyte* extensions) {
    return extensions && gluCheckExtension(reinterpret_cast<const GLubyte*>(name), extensions);
}

/// Calls `say(name, isSupported)` for each extension that the tests need, once it is known.
template <typename Say>
void read_extensions(Say say) {
    constexpr const char* kFramebufferObject = "GL_EXT_framebuffer_object";
    constexpr const char* kPixelBufferObject = "GL_ARB_pixel_buffer_object";
    const GLubyte* extensions = glGetString(GL_EXTENSIONS);
    __hasFBO = has_extension(kFramebufferObject, extensions);
    say(kFramebufferObject, __hasFBO);
    __hasPBO = has_extension(kPixelBufferObject, extensions);
    say(kPixelBufferObject, __hasPBO);
}

inline void set_up_render_target() {
    GLenum buffer = GL_FRONT;
    if (__hasFBO) {
        constexpr GLuint kFramebuffer = 1;
        glBindFramebufferEXT(GL_FRAMEBUFFER_EXT, kFramebuffer);
        glBindTexture(GL_TEXTURE_2D, kTargetTexture);
        // There is no data, but a driver may choose the storage by this type, and with it the
        // verdicts.
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, kImageSize, kImageSize, 0, GL_RGBA, GL_BYTE,
                     nullptr);
        glFramebufferTexture2DEXT(GL_FRAMEBUFFER_EXT, GL_COLOR_ATTACHMENT0_EXT, GL_TEXTURE_2D,
                                  kTargetTexture, 0);
        buffer = GL_COLOR_ATTACHMENT0_EXT;
    }
    glDrawBuffer(buffer);
    glReadBuffer(buffer);
    glViewport(0, 0, kImageSize, kImageSize);
}

}  // namespace

}  // namespace texprobe

#endif
