// Images for tests of what `inspect` says of them.

#ifndef TEXPROBE_TESTS_INSPECT_IMAGES_H
#define TEXPROBE_TESTS_INSPECT_IMAGES_H

#include <OpenGL/gl.h>
#include <OpenGL/glext.h>

#include <cstdint>
#include <cstring>
#include <functional>

#include "inspect/analysis.h"

namespace texprobe::tests::images {

using ctl::Image;

/// Bytes that look random, and are the same in every run.
inline std::uint8_t noise(std::size_t i, unsigned seed = 1) {
    std::uint32_t value = static_cast<std::uint32_t>(i) * 2654435761U + seed * 40503U;
    value ^= value >> 15;
    value *= 2246822519U;
    return static_cast<std::uint8_t>((value ^ (value >> 13)) >> 16);
}

template <class Element>
Image image_of(unsigned format, unsigned type, std::size_t elements,
               const std::function<Element(std::size_t index)>& of) {
    Image image{{format, type}, std::vector<std::uint8_t>(16384 * elements * sizeof(Element))};
    for (std::size_t i = 0; i < 16384 * elements; ++i) {
        const Element element = of(i);
        std::memcpy(image.bytes.data() + i * sizeof element, &element, sizeof element);
    }
    return image;
}

/// Four bytes a pixel: red, green, blue, alpha.
inline Image bytes_image(const std::function<std::uint8_t(std::size_t index)>& of) {
    return image_of<std::uint8_t>(GL_RGBA, GL_UNSIGNED_BYTE, 4, of);
}

inline Image random_image(unsigned seed = 1) {
    return bytes_image([=](std::size_t i) { return noise(i, seed); });
}

}  // namespace texprobe::tests::images

#endif
