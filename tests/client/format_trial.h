// What the current context itself can do with a format: it makes a texture and a framebuffer.

#ifndef TEXPROBE_TESTS_FORMAT_TRIAL_H
#define TEXPROBE_TESTS_FORMAT_TRIAL_H

#include <OpenGL/gl.h>

#include <string>

#include "support/formats.h"

namespace texprobe::tests {

/// Takes all errors.
inline bool has_no_error() {
    bool hasNone = true;
    while (glGetError() != GL_NO_ERROR) hasNone = false;
    return hasNone;
}

/// Creating and rendering, as y and n.
inline std::string try_format(const Format& format) {
    constexpr GLsizei kSize = 64;
    // No pixels are sent, but OpenGL ES wants a layout that fits exactly, and has no reversed ones.
    const GLenum order = format.format == GL_BGR    ? GL_RGB
                         : format.format == GL_BGRA ? GL_RGBA
                                                    : format.format;
    const bool isPacked = format.type == GL_UNSIGNED_INT_8_8_8_8_REV;
    has_no_error();
    GLuint texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_2D, texture);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexImage2D(GL_TEXTURE_2D, 0, static_cast<GLint>(format.internalFormat), kSize, kSize, 0,
                 order, isPacked ? GL_UNSIGNED_BYTE : format.type, nullptr);
    const bool isCreated = has_no_error();
    GLuint framebuffer = 0;
    glGenFramebuffers(1, &framebuffer);
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture, 0);
    const bool isComplete = glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
    glClear(GL_COLOR_BUFFER_BIT);
    const bool isRendered = has_no_error() && isComplete && isCreated;
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    glDeleteFramebuffers(1, &framebuffer);
    glDeleteTextures(1, &texture);
    return std::string(isCreated ? "y" : "n") + (isRendered ? "y" : "n");
}

}  // namespace texprobe::tests

#endif
