#include <OpenGL/gl.h>
#include <OpenGL/glext.h>
#include <fmt/format.h>

#include "inspect/child/recorder.h"
#include "inspect/gl_names.h"

// Declared in recorded_gl.h, whose macros would get in the way of the calls here.
namespace texprobe::ctl::recorded {

namespace {

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
std::string describe(const void* pixels, GLenum target) {
    if (Recorder::instance().has_buffer(target)) {
        return fmt::format("offset {}", reinterpret_cast<std::uintptr_t>(pixels));
    }
    return pixels ? "client memory" : "NULL";
}

}  // namespace

void bind_texture(GLenum target, GLuint texture) {
    const Call call("glBindTexture({}, {})", gl_name(target), texture);
    glBindTexture(target, texture);
}

void tex_parameter(GLenum target, GLenum name, GLint value) {
    const Call call("glTexParameteri({}, {}, {})", gl_name(target), gl_name(name),
                    gl_name(static_cast<unsigned>(value)));
    glTexParameteri(target, name, value);
}

void tex_image(GLenum target, GLint level, GLint internalFormat, GLsizei width, GLsizei height,
               GLint border, GLenum format, GLenum type, const void* pixels) {
    Recorder& recorder = Recorder::instance();
    {
        const Call call("glTexImage2D({}, {}, {}, {}, {}, {}, {}, {}, {})", gl_name(target), level,
                        gl_name(static_cast<unsigned>(internalFormat)), width, height, border,
                        gl_name(format), gl_name(type), describe(pixels, GL_PIXEL_UNPACK_BUFFER));
        recorder.pixels_sent({format, type}, pixels);
        glTexImage2D(target, level, internalFormat, width, height, border, format, type, pixels);
    }
    recorder.texture_defined();
}

void tex_sub_image(GLenum target, GLint level, GLint x, GLint y, GLsizei width, GLsizei height,
                   GLenum format, GLenum type, const void* pixels) {
    const Call call("glTexSubImage2D({}, {}, {}, {}, {}, {}, {}, {}, {})", gl_name(target), level,
                    x, y, width, height, gl_name(format), gl_name(type),
                    describe(pixels, GL_PIXEL_UNPACK_BUFFER));
    Recorder::instance().pixels_sent({format, type}, pixels);
    glTexSubImage2D(target, level, x, y, width, height, format, type, pixels);
}

void get_tex_image(GLenum target, GLint level, GLenum format, GLenum type, void* pixels) {
    const Call call("glGetTexImage({}, {}, {}, {}, {})", gl_name(target), level, gl_name(format),
                    gl_name(type), describe(pixels, GL_PIXEL_PACK_BUFFER));
    Recorder::instance().pixels_fetched({format, type});
    glGetTexImage(target, level, format, type, pixels);
}

void read_pixels(GLint x, GLint y, GLsizei width, GLsizei height, GLenum format, GLenum type,
                 void* pixels) {
    Recorder& recorder = Recorder::instance();
    const Call call("glReadPixels({}, {}, {}, {}, {}, {}, {})", x, y, width, height,
                    gl_name(format), gl_name(type), describe(pixels, GL_PIXEL_PACK_BUFFER));
    glReadPixels(x, y, width, height, format, type, pixels);
    if (recorder.has_buffer(GL_PIXEL_PACK_BUFFER)) {
        recorder.pixels_fetched({format, type});
    } else {
        recorder.pixels_returned({format, type}, pixels);
    }
}

void bind_buffer(GLenum target, GLuint buffer) {
    const Call call("glBindBuffer({}, {})", gl_name(target), buffer);
    Recorder::instance().buffer_bound(target, buffer);
    glBindBuffer(target, buffer);
}

void buffer_data(GLenum target, GLsizeiptr size, const void* data, GLenum usage) {
    const Call call("glBufferData({}, {}, {}, {})", gl_name(target), size,
                    data ? "client memory" : "NULL", gl_name(usage));
    Recorder::instance().buffer_sized(target, static_cast<std::size_t>(size));
    glBufferData(target, size, data, usage);
}

void* map_buffer(GLenum target, GLenum access) {
    const Call call("glMapBuffer({}, {})", gl_name(target), gl_name(access));
    void* mapping = glMapBuffer(target, access);
    Recorder::instance().buffer_mapped(target, access, mapping);
    return mapping;
}

GLboolean unmap_buffer(GLenum target) {
    const Call call("glUnmapBuffer({})", gl_name(target));
    Recorder::instance().buffer_unmapped(target);
    const GLboolean isIntact = glUnmapBuffer(target);
    Recorder::instance().result(isIntact ? "GL_TRUE" : "GL_FALSE");
    return isIntact;
}

void get_tex_level_parameter(GLenum target, GLint level, GLenum name, GLint* value) {
    const Call call("glGetTexLevelParameteriv({}, {}, {})", gl_name(target), level, gl_name(name));
    glGetTexLevelParameteriv(target, level, name, value);
    Recorder::instance().result(gl_name(static_cast<unsigned>(*value)));
}

GLenum check_framebuffer_status(GLenum target) {
    const Call call("glCheckFramebufferStatusEXT({})", gl_name(target));
    const GLenum status = glCheckFramebufferStatusEXT(target);
    Recorder::instance().result(gl_name(status));
    return status;
}

void enable(GLenum capability) {
    const Call call("glEnable({})", gl_name(capability));
    glEnable(capability);
}

void begin(GLenum mode) {
    const Call call("glBegin({})", primitive_name(mode));
    Recorder::instance().set_drawing(true);
    glBegin(mode);
}

void end() {
    const Call call("glEnd()");
    glEnd();
    Recorder::instance().set_drawing(false);
}

void tex_coord(GLfloat s, GLfloat t) {
    const Call call("glTexCoord2f({}, {})", s, t);
    glTexCoord2f(s, t);
}

void vertex(GLfloat x, GLfloat y) {
    const Call call("glVertex2f({}, {})", x, y);
    glVertex2f(x, y);
}

void flush() {
    const Call call("glFlush()");
    glFlush();
}

void finish() {
    const Call call("glFinish()");
    glFinish();
}

}  // namespace texprobe::ctl::recorded
