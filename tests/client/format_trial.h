// What the current context itself can do with a format: it makes a texture and a framebuffer.

#ifndef TEXPROBE_TESTS_FORMAT_TRIAL_H
#define TEXPROBE_TESTS_FORMAT_TRIAL_H

#include <OpenGL/gl.h>

#include <string>

#include "support/formats.h"

namespace texprobe::tests {

/// How pixels of a format are described that are not sent: OpenGL ES wants it to fit exactly.
struct FittingLayout {
    GLenum format;
    GLenum type;
};

inline FittingLayout fitting_layout(const std::string& name) {
    FittingLayout layout = {GL_RGBA, GL_UNSIGNED_BYTE};
    if (name.rfind("GL_RGB", 0) == 0 && name[6] != 'A') layout.format = GL_RGB;
    if (name.rfind("GL_LUMINANCE", 0) == 0) layout.format = GL_LUMINANCE;
    if (name.find("ALPHA") != std::string::npos) layout.format = GL_LUMINANCE_ALPHA;
    if (name.find("16") != std::string::npos) layout.type = GL_UNSIGNED_SHORT;
    if (name.find("16F") != std::string::npos) layout.type = GL_HALF_FLOAT;
    if (name.find("32F") != std::string::npos) layout.type = GL_FLOAT;
    return layout;
}

/// Takes all errors.
inline bool has_no_error() {
    bool hasNone = true;
    while (glGetError() != GL_NO_ERROR) hasNone = false;
    return hasNone;
}

class FormatTrial {
public:
    explicit FormatTrial(const Format& format) {
        constexpr GLsizei kSize = 64;
        const FittingLayout layout = fitting_layout(format.name);
        has_no_error();
        glGenTextures(1, &texture_);
        glBindTexture(GL_TEXTURE_2D, texture_);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
        glTexImage2D(GL_TEXTURE_2D, 0, static_cast<GLint>(format.internalFormat), kSize, kSize, 0,
                     layout.format, layout.type, nullptr);
        isCreated_ = has_no_error();
        glGenFramebuffers(1, &framebuffer_);
        glBindFramebuffer(GL_FRAMEBUFFER, framebuffer_);
        glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture_, 0);
        const bool isComplete = glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
        glClear(GL_COLOR_BUFFER_BIT);
        isRendered_ = has_no_error() && isComplete && isCreated_;
    }
    ~FormatTrial() {
        glBindFramebuffer(GL_FRAMEBUFFER, 0);
        glDeleteFramebuffers(1, &framebuffer_);
        glDeleteTextures(1, &texture_);
    }
    FormatTrial(const FormatTrial&) = delete;
    FormatTrial& operator=(const FormatTrial&) = delete;

    bool is_created() const { return isCreated_; }
    bool is_rendered() const { return isRendered_; }

private:
    GLuint texture_ = 0;
    GLuint framebuffer_ = 0;
    bool isCreated_ = false;
    bool isRendered_ = false;
};

}  // namespace texprobe::tests

#endif
