// Images, and damages to them, for tests of what `inspect` says of them.

#ifndef TEXPROBE_TESTS_INSPECT_IMAGES_H
#define TEXPROBE_TESTS_INSPECT_IMAGES_H

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "inspect/analysis.h"

namespace texprobe::tests::images {

using ctl::Image;

// OpenGL's numbers.
inline constexpr unsigned kRgb = 0x1907;
inline constexpr unsigned kRgba = 0x1908;
inline constexpr unsigned kLuminance = 0x1909;
inline constexpr unsigned kLuminanceAlpha = 0x190A;
inline constexpr unsigned kBgra = 0x80E1;
inline constexpr unsigned kByte = 0x1401;
inline constexpr unsigned kShort = 0x1403;
inline constexpr unsigned kFloat = 0x1406;
inline constexpr unsigned kHalf = 0x140B;
inline constexpr unsigned kPacked = 0x8367;

/// Bytes that look random, and are the same in every run.
inline std::uint8_t noise(std::size_t i, unsigned seed = 1) {
    std::uint32_t value = static_cast<std::uint32_t>(i) * 2654435761U + seed * 40503U;
    value ^= value >> 15;
    value *= 2246822519U;
    return static_cast<std::uint8_t>((value ^ (value >> 13)) >> 16);
}

inline Image bytes_image(
    unsigned format, std::size_t elements,
    const std::function<std::uint8_t(std::size_t pixel, std::size_t element)>& of) {
    Image image{{format, kByte}, {}};
    for (std::size_t i = 0; i < 16384 * elements; ++i) {
        image.bytes.push_back(of(i / elements, i % elements));
    }
    return image;
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

/// Four random bytes a pixel: red, green, blue, alpha.
inline Image random_image(unsigned seed = 1) {
    return bytes_image(kRgba, 4,
                       [=](std::size_t p, std::size_t e) { return noise(4 * p + e, seed); });
}

using Damage = std::function<Image(const Image&)>;

/// Each byte from its own value, its pixel and its place in there.
inline Damage bytes(
    const std::function<int(int value, std::size_t pixel, std::size_t element)>& of) {
    return [=](const Image& sent) {
        Image image = sent;
        const std::size_t size = sent.bytes.size() / 16384;
        for (std::size_t i = 0; i < image.bytes.size(); ++i) {
            image.bytes[i] = static_cast<std::uint8_t>(of(sent.bytes[i], i / size, i % size));
        }
        return image;
    };
}
/// Each byte's value from 0 to 1 by a rule, rounded.
inline Damage values(const std::function<double(double)>& of, std::size_t elements = 4) {
    return bytes([=](int value, std::size_t, std::size_t element) {
        if (element >= elements) return value;
        return static_cast<int>(std::lround(std::clamp(of(value / 255.0), 0.0, 1.0) * 255));
    });
}
/// Pixel p from pixel `source(p)`.
inline Damage pixels(const std::function<std::size_t(std::size_t)>& source) {
    return [=](const Image& sent) {
        Image image = sent;
        const std::size_t size = sent.bytes.size() / 16384;
        for (std::size_t i = 0; i < image.bytes.size(); ++i) {
            image.bytes[i] = sent.bytes[source(i / size) % 16384 * size + i % size];
        }
        return image;
    };
}
/// Byte i from byte `source(i)`; 77 where there is none.
inline Damage moved_bytes(const std::function<std::size_t(std::size_t)>& source) {
    return [=](const Image& sent) {
        Image image = sent;
        for (std::size_t i = 0; i < image.bytes.size(); ++i) {
            const std::size_t from = source(i);
            image.bytes[i] = from < sent.bytes.size() ? sent.bytes[from] : 77;
        }
        return image;
    };
}
inline Damage channels(std::array<std::size_t, 4> order) {
    return moved_bytes([=](std::size_t i) { return i - i % 4 + order[i % 4]; });
}
/// Other bytes, or none, where it is wrong.
inline Damage part(const std::function<bool(std::size_t row, std::size_t column)>& isWrong,
                   bool isEmpty = false) {
    return bytes([=](int value, std::size_t p, std::size_t e) {
        if (!isWrong(p / 128, p % 128)) return value;
        return isEmpty ? 0 : 255 - value + (noise(4 * p + e, 9) & 7) - 7;
    });
}
inline Damage bits(std::array<int, 4> of) {
    return bytes([=](int value, std::size_t, std::size_t e) {
        const int most = (1 << of[e]) - 1;
        return ((value * most + 127) / 255 * 255 + most / 2) / most;
    });
}
inline Damage both(const Damage& first, const Damage& second) {
    return [=](const Image& sent) { return second(first(sent)); };
}
inline Damage low_noise(int mask) {
    return bytes([=](int value, std::size_t p, std::size_t e) {
        return value ^ (noise(4 * p + e, 5) & mask);
    });
}
template <class Element>
Damage elements(const std::function<Element(Element)>& of) {
    return [=](const Image& sent) {
        Image image = sent;
        for (std::size_t i = 0; i < image.bytes.size(); i += sizeof(Element)) {
            Element element;
            std::memcpy(&element, sent.bytes.data() + i, sizeof element);
            element = of(element);
            std::memcpy(image.bytes.data() + i, &element, sizeof element);
        }
        return image;
    };
}
/// Of rows so many bytes long, taken to be `stride` apart, or written so.
inline Damage read_apart(std::size_t row, std::size_t stride) {
    return moved_bytes([=](std::size_t i) { return i / row * stride + i % row; });
}
inline Damage written_apart(std::size_t row, std::size_t stride) {
    return moved_bytes([=](std::size_t i) {
        return i % stride < row ? i / stride * row + i % stride : std::size_t(-1);
    });
}
inline Damage reversed_elements(std::size_t size) {
    return moved_bytes([=](std::size_t i) { return i - i % size + size - 1 - i % size; });
}

}  // namespace texprobe::tests::images

#endif
