#include <EGL/egl.h>
#include <OpenGL/gl.h>

#include <GL/glext.h>
#include <cstdlib>
#include <cstring>

#include "fakes.h"

using fakes::call;
using fakes::context;
using fakes::name;

namespace {

constexpr std::size_t kPixels = std::size_t{128} * 128;

// Enumerants as text for the calls; a macro because the text must outlive the call's arguments.
#define NAME(value) name(value).c_str()

GLuint& buffer_binding(GLenum target) {
    return target == GL_PIXEL_PACK_BUFFER ? context().packBuffer : context().unpackBuffer;
}

fakes::Buffer& bound_buffer(GLenum target) {
    return context().buffers[buffer_binding(target)];
}

fakes::Image& bound_texture() {
    return context().textures[context().texture];
}

/// "NULL", "memory", or "offset N" into a bound buffer.
std::string pointer_text(const void* pointer, GLuint buffer) {
    if (buffer != 0) return "offset " + std::to_string(reinterpret_cast<std::uintptr_t>(pointer));
    return pointer ? "memory" : "NULL";
}

/// What that pointer means: client memory, or an offset into a bound buffer.
unsigned char* memory_at(const void* pointer, GLuint buffer) {
    if (buffer == 0) return static_cast<unsigned char*>(const_cast<void*>(pointer));
    return context().buffers[buffer].memory.get() + reinterpret_cast<std::uintptr_t>(pointer);
}

void upload(fakes::Image* image, GLenum format, GLenum type, const unsigned char* pixels) {
    image->format = format;
    image->type = type;
    image->pixels.clear();
    if (pixels)
        image->pixels.assign(pixels, pixels + kPixels * fakes::bytes_per_pixel(format, type));
}

fakes::Image& draw_target() {
    const GLuint texture = context().attachedTexture;
    return texture == 0 ? context().frame : context().textures[texture];
}

void draw(const fakes::Image& source, fakes::Image* target) {
    if (source.format == target->format && source.type == target->type) {
        target->pixels = source.pixels;
    } else {
        target->pixels = fakes::rgba_bytes(source);
    }
}

/// The largest number, at most `limit`, whose square is at most `sum`.
unsigned largest_root(unsigned long sum, unsigned limit) {
    unsigned root = limit;
    while (static_cast<unsigned long>(root) * root > sum) --root;
    return root;
}

/// Alters bytes so that the squared differences add up to the sum in the script.
void change(unsigned char* bytes, std::size_t count) {
    const auto found = fakes::script().changes.find(fakes::current_test());
    if (found == fakes::script().changes.end()) return;
    unsigned long rest = found->second;
    for (std::size_t i = 0; i < count && rest > 0; ++i) {
        const bool up = bytes[i] < 128;
        const unsigned step = largest_root(rest, up ? 255u - bytes[i] : bytes[i]);
        bytes[i] = static_cast<unsigned char>(up ? bytes[i] + step : bytes[i] - step);
        rest -= static_cast<unsigned long>(step) * step;
    }
}

void read_back(const fakes::Image& image, GLenum format, GLenum type, void* pixels) {
    const std::size_t size = kPixels * fakes::bytes_per_pixel(format, type);
    std::vector<unsigned char> bytes;
    if (image.format == format && image.type == type) {
        bytes = image.pixels;
    } else {
        bytes = fakes::rgba_bytes(image);
    }
    bytes.resize(size, 0);
    change(bytes.data(), size);
    std::memcpy(memory_at(pixels, context().packBuffer), bytes.data(), size);
}

}  // namespace

extern "C" {

const GLubyte* glGetString(GLenum string) {
    call("glGetString(%s)", NAME(string));
    const std::optional<std::string>& text = context().renderer->strings.at(name(string));
    return text ? reinterpret_cast<const GLubyte*>(text->c_str()) : nullptr;
}

void glBindTexture(GLenum target, GLuint texture) {
    call("glBindTexture(%s, %u)", NAME(target), texture);
    context().texture = texture;
}

void glTexParameteri(GLenum target, GLenum parameter, GLint value) {
    call("glTexParameteri(%s, %s, %s)", NAME(target), NAME(parameter),
         NAME(static_cast<GLenum>(value)));
    context();
}

void glTexImage2D(GLenum target, GLint level, GLint internalFormat, GLsizei width, GLsizei height,
                  GLint border, GLenum format, GLenum type, const void* pixels) {
    const GLenum asked = static_cast<GLenum>(internalFormat);
    call("glTexImage2D(%s, %d, %s, %d, %d, %d, %s, %s, %s)", NAME(target), level, NAME(asked),
         width, height, border, NAME(format), NAME(type),
         pointer_text(pixels, context().unpackBuffer).c_str());
    const auto substitute = fakes::script().substitutes.find({context().texture, asked});
    bound_texture().internalFormat =
        substitute == fakes::script().substitutes.end() ? asked : substitute->second;
    upload(&bound_texture(), format, type, memory_at(pixels, context().unpackBuffer));
}

void glTexSubImage2D(GLenum target, GLint level, GLint x, GLint y, GLsizei width, GLsizei height,
                     GLenum format, GLenum type, const void* pixels) {
    call("glTexSubImage2D(%s, %d, %d, %d, %d, %d, %s, %s, %s)", NAME(target), level, x, y, width,
         height, NAME(format), NAME(type), pointer_text(pixels, context().unpackBuffer).c_str());
    upload(&bound_texture(), format, type, memory_at(pixels, context().unpackBuffer));
}

void glGetTexLevelParameteriv(GLenum target, GLint level, GLenum parameter, GLint* value) {
    call("glGetTexLevelParameteriv(%s, %d, %s, %d)", NAME(target), level, NAME(parameter), *value);
    *value = static_cast<GLint>(bound_texture().internalFormat);
}

void glGetTexImage(GLenum target, GLint level, GLenum format, GLenum type, void* pixels) {
    call("glGetTexImage(%s, %d, %s, %s, %s)", NAME(target), level, NAME(format), NAME(type),
         pointer_text(pixels, context().packBuffer).c_str());
    read_back(bound_texture(), format, type, pixels);
}

void glReadPixels(GLint x, GLint y, GLsizei width, GLsizei height, GLenum format, GLenum type,
                  void* pixels) {
    call("glReadPixels(%d, %d, %d, %d, %s, %s, %s)", x, y, width, height, NAME(format), NAME(type),
         pointer_text(pixels, context().packBuffer).c_str());
    read_back(draw_target(), format, type, pixels);
}

void glBindBuffer(GLenum target, GLuint buffer) {
    call("glBindBuffer(%s, %u)", NAME(target), buffer);
    buffer_binding(target) = buffer;
}

void glBufferData(GLenum target, GLsizeiptr size, const void* data, GLenum usage) {
    call("glBufferData(%s, %td, %s, %s)", NAME(target), size, data ? "memory" : "NULL",
         NAME(usage));
    bound_buffer(target) = {fakes::guarded_memory(static_cast<std::size_t>(size)), false};
}

void* glMapBuffer(GLenum target, GLenum access) {
    call("glMapBuffer(%s, %s)", NAME(target), NAME(access));
    fakes::Buffer& buffer = bound_buffer(target);
    if (buffer.mapped) return nullptr;
    buffer.mapped = true;
    return buffer.memory.get();
}

GLboolean glUnmapBuffer(GLenum target) {
    call("glUnmapBuffer(%s)", NAME(target));
    bound_buffer(target).mapped = false;
    return GL_TRUE;
}

void glBindFramebufferEXT(GLenum target, GLuint framebuffer) {
    call("glBindFramebufferEXT(%s, %u)", NAME(target), framebuffer);
    context();
}

void glFramebufferTexture2DEXT(GLenum target, GLenum attachment, GLenum textureTarget,
                               GLuint texture, GLint level) {
    call("glFramebufferTexture2DEXT(%s, %s, %s, %u, %d)", NAME(target), NAME(attachment),
         NAME(textureTarget), texture, level);
    context().attachedTexture = texture;
}

GLenum glCheckFramebufferStatusEXT(GLenum target) {
    call("glCheckFramebufferStatusEXT(%s)", NAME(target));
    const GLenum format = draw_target().internalFormat;
    return fakes::script().incomplete.count(format) != 0
               ? static_cast<GLenum>(GL_FRAMEBUFFER_INCOMPLETE_ATTACHMENT_EXT)
               : static_cast<GLenum>(GL_FRAMEBUFFER_COMPLETE_EXT);
}

// How the product gets extension functions. It may ask for no others.
void (*eglGetProcAddress(const char* function))() {
    const std::string wanted = function;
    if (wanted == "glBindFramebufferEXT") {
        return reinterpret_cast<void (*)()>(&glBindFramebufferEXT);
    }
    if (wanted == "glFramebufferTexture2DEXT") {
        return reinterpret_cast<void (*)()>(&glFramebufferTexture2DEXT);
    }
    if (wanted == "glCheckFramebufferStatusEXT") {
        return reinterpret_cast<void (*)()>(&glCheckFramebufferStatusEXT);
    }
    std::abort();
}

void glDrawBuffer(GLenum buffer) {
    call("glDrawBuffer(%s)", NAME(buffer));
    context();
}

void glReadBuffer(GLenum buffer) {
    call("glReadBuffer(%s)", NAME(buffer));
    context();
}

void glViewport(GLint x, GLint y, GLsizei width, GLsizei height) {
    call("glViewport(%d, %d, %d, %d)", x, y, width, height);
    context();
}

void glEnable(GLenum capability) {
    call("glEnable(%s)", NAME(capability));
    context().texturing = true;
}

void glBegin(GLenum mode) {
    call("glBegin(%s)", NAME(mode));
    context();
}

void glTexCoord2f(GLfloat s, GLfloat t) {
    call("glTexCoord2f(%g, %g)", static_cast<double>(s), static_cast<double>(t));
    context();
}

void glVertex2f(GLfloat x, GLfloat y) {
    call("glVertex2f(%g, %g)", static_cast<double>(x), static_cast<double>(y));
    context();
}

void glEnd() {
    call("glEnd()");
    if (context().texturing) draw(bound_texture(), &draw_target());
}

void glFlush() {
    call("glFlush()");
    context();
}

void glFinish() {
    call("glFinish()");
    context();
}

}  // extern "C"
