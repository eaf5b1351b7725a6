// OpenGL as the tool's test code finds it when it is compiled for `inspect`.
//
// The test code is included after this header, in the same namespace. It calls OpenGL by name, so
// the only places at which its calls can be seen without changing it, or copying it, are the names:
// these functions hide OpenGL's own there, tell the recorder, and make the same call.

#ifndef TEXPROBECTL_RECORDED_GL_H
#define TEXPROBECTL_RECORDED_GL_H

#include <OpenGL/gl.h>
#include <OpenGL/glext.h>
#include <fmt/format.h>

#include "inspect/child/recorder.h"
#include "inspect/gl_names.h"

namespace texprobe {

namespace {

using ctl::gl_name;
using ctl::Recorder;

/// Tells the recorder of one call: before it, and with its errors after it.
class Call {
public:
    template <class... Arguments>
    explicit Call(fmt::format_string<Arguments...> text, Arguments&&... arguments) {
        recorder_.before(fmt::format(text, std::forward<Arguments>(arguments)...));
    }
    ~Call() { recorder_.after(); }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

private:
    Recorder& recorder_ = Recorder::instance();
};

/// "NULL", "client memory", or an offset into the bound buffer.
inline std::string describe_pixels(const void* pixels, GLenum target) {
    if (Recorder::instance().has_buffer(target)) {
        return fmt::format("offset {}", reinterpret_cast<std::uintptr_t>(pixels));
    }
    return pixels ? "client memory" : "NULL";
}

inline void glBindTexture(GLenum target, GLuint texture) {
    const Call call("glBindTexture({}, {})", gl_name(target), texture);
    ::glBindTexture(target, texture);
}

inline void glTexParameteri(GLenum target, GLenum name, GLint value) {
    const Call call("glTexParameteri({}, {}, {})", gl_name(target), gl_name(name),
                    gl_name(static_cast<unsigned>(value)));
    ::glTexParameteri(target, name, value);
}

inline void glTexImage2D(GLenum target, GLint level, GLint internalFormat, GLsizei width,
                         GLsizei height, GLint border, GLenum format, GLenum type,
                         const void* pixels) {
    Recorder& recorder = Recorder::instance();
    {
        const Call call("glTexImage2D({}, {}, {}, {}, {}, {}, {}, {}, {})", gl_name(target), level,
                        gl_name(static_cast<unsigned>(internalFormat)), width, height, border,
                        gl_name(format), gl_name(type),
                        describe_pixels(pixels, GL_PIXEL_UNPACK_BUFFER));
        recorder.pixels_sent({format, type}, pixels);
        ::glTexImage2D(target, level, internalFormat, width, height, border, format, type, pixels);
    }
    recorder.texture_defined();
}

inline void glTexSubImage2D(GLenum target, GLint level, GLint x, GLint y, GLsizei width,
                            GLsizei height, GLenum format, GLenum type, const void* pixels) {
    const Call call("glTexSubImage2D({}, {}, {}, {}, {}, {}, {}, {}, {})", gl_name(target), level,
                    x, y, width, height, gl_name(format), gl_name(type),
                    describe_pixels(pixels, GL_PIXEL_UNPACK_BUFFER));
    Recorder::instance().pixels_sent({format, type}, pixels);
    ::glTexSubImage2D(target, level, x, y, width, height, format, type, pixels);
}

inline void glGetTexImage(GLenum target, GLint level, GLenum format, GLenum type, void* pixels) {
    const Call call("glGetTexImage({}, {}, {}, {}, {})", gl_name(target), level, gl_name(format),
                    gl_name(type), describe_pixels(pixels, GL_PIXEL_PACK_BUFFER));
    Recorder::instance().pixels_fetched({format, type});
    ::glGetTexImage(target, level, format, type, pixels);
}

inline void glReadPixels(GLint x, GLint y, GLsizei width, GLsizei height, GLenum format,
                         GLenum type, void* pixels) {
    Recorder& recorder = Recorder::instance();
    const Call call("glReadPixels({}, {}, {}, {}, {}, {}, {})", x, y, width, height,
                    gl_name(format), gl_name(type), describe_pixels(pixels, GL_PIXEL_PACK_BUFFER));
    ::glReadPixels(x, y, width, height, format, type, pixels);
    if (recorder.has_buffer(GL_PIXEL_PACK_BUFFER)) {
        recorder.pixels_fetched({format, type});
    } else {
        recorder.pixels_returned({format, type}, pixels);
    }
}

inline void glBindBuffer(GLenum target, GLuint buffer) {
    const Call call("glBindBuffer({}, {})", gl_name(target), buffer);
    Recorder::instance().buffer_bound(target, buffer);
    ::glBindBuffer(target, buffer);
}

inline void glBufferData(GLenum target, GLsizeiptr size, const void* data, GLenum usage) {
    const Call call("glBufferData({}, {}, {}, {})", gl_name(target), size,
                    data ? "client memory" : "NULL", gl_name(usage));
    Recorder::instance().buffer_sized(target, static_cast<std::size_t>(size));
    ::glBufferData(target, size, data, usage);
}

inline void* glMapBuffer(GLenum target, GLenum access) {
    const Call call("glMapBuffer({}, {})", gl_name(target), gl_name(access));
    void* mapping = ::glMapBuffer(target, access);
    Recorder::instance().buffer_mapped(target, access, mapping);
    return mapping;
}

inline GLboolean glUnmapBuffer(GLenum target) {
    const Call call("glUnmapBuffer({})", gl_name(target));
    Recorder::instance().buffer_unmapped(target);
    const GLboolean isIntact = ::glUnmapBuffer(target);
    Recorder::instance().result(isIntact ? "GL_TRUE" : "GL_FALSE");
    return isIntact;
}

inline void glGetTexLevelParameteriv(GLenum target, GLint level, GLenum name, GLint* value) {
    const Call call("glGetTexLevelParameteriv({}, {}, {})", gl_name(target), level, gl_name(name));
    ::glGetTexLevelParameteriv(target, level, name, value);
    Recorder::instance().result(gl_name(static_cast<unsigned>(*value)));
}

// OpenGL's is a macro on some systems, and has no other name there.
inline GLenum framebuffer_status(GLenum target) {
    return glCheckFramebufferStatusEXT(target);
}
#undef glCheckFramebufferStatusEXT

inline GLenum glCheckFramebufferStatusEXT(GLenum target) {
    const Call call("glCheckFramebufferStatusEXT({})", gl_name(target));
    const GLenum status = framebuffer_status(target);
    Recorder::instance().result(gl_name(status));
    return status;
}

inline void glEnable(GLenum capability) {
    const Call call("glEnable({})", gl_name(capability));
    ::glEnable(capability);
}

inline void glBegin(GLenum mode) {
    // A primitive's number is small, and means other things elsewhere.
    const Call call("glBegin({})", mode == GL_QUADS ? "GL_QUADS" : std::to_string(mode));
    Recorder::instance().set_drawing(true);
    ::glBegin(mode);
}

inline void glEnd() {
    const Call call("glEnd()");
    ::glEnd();
    Recorder::instance().set_drawing(false);
}

inline void glTexCoord2f(GLfloat s, GLfloat t) {
    const Call call("glTexCoord2f({}, {})", s, t);
    ::glTexCoord2f(s, t);
}

inline void glVertex2f(GLfloat x, GLfloat y) {
    const Call call("glVertex2f({}, {})", x, y);
    ::glVertex2f(x, y);
}

inline void glFlush() {
    const Call call("glFlush()");
    ::glFlush();
}

inline void glFinish() {
    const Call call("glFinish()");
    ::glFinish();
}

}  // namespace

}  // namespace texprobe

#endif
