#include "drawing.h"

#include <array>
#include <cstddef>

namespace texprobe::tests {

namespace {

constexpr GLsizei kSize = 16;
constexpr std::array<unsigned char, 4> kBackground = {0, 0, 255, 255};
constexpr std::array<unsigned char, 4> kTexel = {0, 255, 0, 255};

// The tool uses texture 2 and framebuffer 1 as its render target, texture 1 as its test texture,
// and buffers 1 and 2.
constexpr GLuint kTexture = 1;
constexpr GLuint kTarget = 2;
constexpr GLuint kFramebuffer = 1;
constexpr GLuint kBuffer = 1;

void define_texture(GLuint name, GLsizei size, const void* pixels) {
    glBindTexture(GL_TEXTURE_2D, name);
    glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, size, size, 0, GL_RGBA, GL_UNSIGNED_BYTE, pixels);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
}

}  // namespace

std::string gl_text(GLenum name) {
    return reinterpret_cast<const char*>(glGetString(name));
}

void set_up_drawing() {
    define_texture(kTarget, kSize, nullptr);
    define_texture(kTexture, 1, kTexel.data());
    // These must be libGL's functions, not any of the library's.
    glBindFramebufferEXT(GL_FRAMEBUFFER_EXT, kFramebuffer);
    glFramebufferTexture2DEXT(GL_FRAMEBUFFER_EXT, GL_COLOR_ATTACHMENT0_EXT, GL_TEXTURE_2D, kTarget,
                              0);
    glBindBuffer(GL_ARRAY_BUFFER, kBuffer);
    glViewport(0, 0, kSize, kSize);
    glClearColor(0.0f, 0.0f, 1.0f, 1.0f);
    glEnable(GL_TEXTURE_2D);
    glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_REPLACE);
    glMatrixMode(GL_TEXTURE);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 2);
}

std::vector<unsigned char> draw() {
    glClear(GL_COLOR_BUFFER_BIT);
    glBegin(GL_QUADS);
    glVertex2f(0.0f, -1.0f);
    glVertex2f(1.0f, -1.0f);
    glVertex2f(1.0f, 1.0f);
    glVertex2f(0.0f, 1.0f);
    glEnd();
    std::vector<unsigned char> image(std::size_t{kSize} * kSize * 4);
    glReadPixels(0, 0, kSize, kSize, GL_RGBA, GL_UNSIGNED_BYTE, image.data());
    return image;
}

std::vector<unsigned char> expected_image() {
    std::vector<unsigned char> image;
    for (GLsizei y = 0; y < kSize; ++y) {
        for (GLsizei x = 0; x < kSize; ++x) {
            const auto& pixel = x < kSize / 2 ? kBackground : kTexel;
            image.insert(image.end(), pixel.begin(), pixel.end());
        }
    }
    return image;
}

std::map<GLenum, GLint> context_state() {
    std::map<GLenum, GLint> state;
    constexpr GLenum kNames[] = {GL_TEXTURE_BINDING_2D,
                                 GL_ACTIVE_TEXTURE,
                                 GL_DRAW_FRAMEBUFFER_BINDING,
                                 GL_READ_FRAMEBUFFER_BINDING,
                                 GL_ARRAY_BUFFER_BINDING,
                                 GL_PIXEL_PACK_BUFFER_BINDING,
                                 GL_PIXEL_UNPACK_BUFFER_BINDING,
                                 GL_CURRENT_PROGRAM,
                                 GL_DRAW_BUFFER,
                                 GL_READ_BUFFER,
                                 GL_MATRIX_MODE,
                                 GL_UNPACK_ALIGNMENT,
                                 GL_PACK_ALIGNMENT,
                                 GL_TEXTURE_2D};
    for (const GLenum name : kNames) {
        glGetIntegerv(name, &state[name]);
    }
    return state;
}

}  // namespace texprobe::tests
