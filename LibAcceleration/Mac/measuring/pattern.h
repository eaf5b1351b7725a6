// The images sent through the renderer: the transfer format of each texture format, the test
// pattern, and the quad that draws the test texture into the render target.

#ifndef TEXPROBE_PATTERN_H
#define TEXPROBE_PATTERN_H

#include <OpenGL/gl.h>
#include <OpenGL/glext.h>

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "records/formats.h"

namespace texprobe {

namespace {

// Object names are fixed and never generated: the test driver creates the render target under these
// names, and every renderer gets a fresh context, in which they are free.
constexpr GLuint kTestTexture = 1;
constexpr GLuint kTargetTexture = 2;

constexpr GLsizei kImageSize = 128;

/// The client-side format, type and size in bytes of one texel in which a texture of
/// `internalFormat` is uploaded and read back. Returns false, and writes nothing, for an unlisted
/// format.
inline bool best_pixel_format(GLenum internalFormat, unsigned* format, unsigned* type,
                              unsigned* bytesPerPixel) {
    for (const Format& known : kFormats) {
        if (known.internalFormat != internalFormat) continue;
        *format = static_cast<unsigned>(known.order);
        *type = static_cast<unsigned>(known.type);
        *bytesPerPixel = known.bytesPerPixel;
        return true;
    }
    return false;
}

/// (word + 1) / 2^32, in (0, 1], to nearest.
inline float pattern_float(std::uint32_t word) {
    return static_cast<float>((static_cast<double>(word) + 1.0) * 0x1p-32);
}

/// (element + 1) / 65536 as a half float, truncated toward zero. The two smallest inputs give the
/// same value. Keep that: existing records were made with this pattern.
inline std::uint16_t pattern_half(std::uint16_t element) {
    const std::uint32_t h = element + 1u;
    if (h == 65536u) return 0x3C00u;
    const auto leadingZeros =
        static_cast<unsigned>(std::countl_zero(static_cast<std::uint16_t>(h)));
    if (leadingZeros >= 14) return static_cast<std::uint16_t>(((h << leadingZeros) >> 6) & 0x3FFu);
    const std::uint32_t mantissa = ((h << (leadingZeros + 1)) >> 6) & 0x3FFu;
    return static_cast<std::uint16_t>(((14u - leadingZeros) << 10) | mantissa);
}

template <typename Element, typename Convert>
void convert_in_place(void* data, std::size_t count, Convert convert) {
    unsigned char* bytes = static_cast<unsigned char*>(data);
    for (std::size_t i = 0; i < count; ++i, bytes += sizeof(Element)) {
        Element element;
        std::memcpy(&element, bytes, sizeof element);
        const auto converted = convert(element);
        static_assert(sizeof converted == sizeof element, "elements are replaced in place");
        std::memcpy(bytes, &converted, sizeof converted);
    }
}

/// Fills `size` bytes with the pattern for pixels of `type`: an arithmetic progression of 32-bit
/// words from 0, as raw bits for the integer types and scaled to (0, 1] for the float types. Its
/// step is one value of random(), never seeded, so that every run of the tool sends the same
/// patterns.
inline void test_fill_data(void* data, std::size_t size, GLenum type) {
    const std::uint32_t step = static_cast<std::uint32_t>(random());
    unsigned char* bytes = static_cast<unsigned char*>(data);
    for (std::size_t i = 0; i < size / 4; ++i) {
        const std::uint32_t word = static_cast<std::uint32_t>(i) * step;
        std::memcpy(bytes + 4 * i, &word, sizeof word);
    }
    if (type == GL_FLOAT) {
        convert_in_place<std::uint32_t>(data, size / 4, pattern_float);
    } else if (type == GL_HALF_FLOAT_ARB) {
        convert_in_place<std::uint16_t>(data, size / 2, pattern_half);
    }
}

/// Redefines the render target's texture, empty, and draws the test texture over the whole
/// viewport, one texel to a pixel. Leaves the test texture bound and GL_TEXTURE_2D enabled; does
/// not flush.
inline void texture_render(GLenum internalFormat, GLenum format, GLenum type) {
    glBindTexture(GL_TEXTURE_2D, kTargetTexture);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
    glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
    glTexImage2D(GL_TEXTURE_2D, 0, static_cast<GLint>(internalFormat), kImageSize, kImageSize, 0,
                 format, type, nullptr);

    glEnable(GL_TEXTURE_2D);
    glBindTexture(GL_TEXTURE_2D, kTestTexture);
    glBegin(GL_QUADS);
    glTexCoord2f(0.0f, 0.0f);
    glVertex2f(-1.0f, -1.0f);
    glTexCoord2f(0.0f, 1.0f);
    glVertex2f(-1.0f, 1.0f);
    glTexCoord2f(1.0f, 1.0f);
    glVertex2f(1.0f, 1.0f);
    glTexCoord2f(1.0f, 0.0f);
    glVertex2f(1.0f, -1.0f);
    glEnd();
}

}  // namespace

}  // namespace texprobe

#endif
