// The expected distance of a test on the fakes: the pattern, what the fake renderer does to it, and
// the slow comparison.

#include <cmath>
#include <cstdint>
#include <cstring>

#include "golden.h"
#include "unit/slow_distance.h"

namespace texprobe::tests {

namespace {

constexpr unsigned kLuminance = 0x1909;
constexpr unsigned kLuminanceAlpha = 0x190A;

/// h / 65536 as a half float, for h from 1 to 65536.
std::uint16_t half_of(unsigned h) {
    if (h == 65536) return 0x3C00;
    if (h < 4) return h == 3 ? 0x0300 : 0x0200;
    unsigned power = 1;
    unsigned exponent = 0;
    while (power * 2 <= h) {
        power *= 2;
        ++exponent;
    }
    return static_cast<std::uint16_t>((exponent - 1) * 1024 + (h - power) * 1024 / power);
}

template <typename Element>
void store(std::vector<unsigned char>* bytes, std::size_t index, Element element) {
    std::memcpy(bytes->data() + index * sizeof element, &element, sizeof element);
}

template <typename Element>
Element load(const std::vector<unsigned char>& bytes, std::size_t index) {
    Element element;
    std::memcpy(&element, bytes.data() + index * sizeof element, sizeof element);
    return element;
}

std::vector<unsigned char> pattern(std::size_t size, unsigned type, long random) {
    std::vector<unsigned char> bytes(size);
    const std::uint64_t step = static_cast<std::uint64_t>(random) % 4294967296u;
    for (std::size_t i = 0; i < size / 4; ++i) {
        const std::uint64_t word = i * step % 4294967296u;
        store(&bytes, i, static_cast<std::uint32_t>(word));
        if (type == kFloat) {
            store(&bytes, i, static_cast<float>(static_cast<double>(word + 1) / 4294967296.0));
        }
    }
    for (std::size_t i = 0; type == kHalf && i < size / 2; ++i) {
        store(&bytes, i, half_of(load<std::uint16_t>(bytes, i) + 1u));
    }
    return bytes;
}

/// An element as the renderer draws it to a byte, rounded to nearest.
unsigned char shown(const std::vector<unsigned char>& bytes, std::size_t index, unsigned type) {
    float value = 0.0f;
    if (type == kFloat) {
        value = load<float>(bytes, index);
    } else if (type == kShort) {
        value = static_cast<float>(load<std::uint16_t>(bytes, index)) / 65535.0f;
    } else if (type == kHalf) {
        const unsigned half = load<std::uint16_t>(bytes, index);
        const float fraction = static_cast<float>(half % 1024) / 1024.0f;
        value = half < 1024 ? std::ldexp(fraction, -14)
                            : std::ldexp(1.0f + fraction, static_cast<int>(half / 1024) - 15);
    } else {
        return bytes[index];
    }
    return static_cast<unsigned char>(std::floor(value * 255.0f + 0.5f));
}

/// The positions of red, green, blue and alpha in a pixel; past its end for an alpha of 1.
std::array<std::size_t, 4> element_of_channel(unsigned format) {
    constexpr std::size_t kNone = 4;
    switch (format) {
        case kLuminance:
            return {0, 0, 0, kNone};
        case kLuminanceAlpha:
            return {0, 0, 0, 1};
        case 0x1907:  // GL_RGB
            return {0, 1, 2, kNone};
        case 0x80E0:  // GL_BGR
            return {2, 1, 0, kNone};
        case 0x80E1:  // GL_BGRA
            return {2, 1, 0, 3};
        default:
            return {0, 1, 2, 3};
    }
}

std::vector<unsigned char> drawn(const std::vector<unsigned char>& bytes, const Format& format) {
    const std::array<std::size_t, 4> elements = element_of_channel(format.format);
    const std::size_t stride = elements_per_pixel(format.format);
    std::vector<unsigned char> rgba;
    for (std::size_t pixel = 0; pixel < 16384; ++pixel) {
        for (const std::size_t element : elements) {
            rgba.push_back(element == 4 ? static_cast<unsigned char>(255)
                                        : shown(bytes, pixel * stride + element, format.type));
        }
    }
    return rgba;
}

}  // namespace

unsigned long long expected_distance(const Format& format, const std::string& capability,
                                     long random) {
    const std::size_t count = 16384 * elements_per_pixel(format.format);
    const std::vector<unsigned char> sent =
        pattern(std::size_t{16384} * format.bytesPerPixel, format.type, random);
    const std::vector<int> source = slow_8bit_elements(sent.data(), count, format.type);
    if (capability.compare(0, 6, "UPLOAD") == 0) {
        const std::vector<unsigned char> frame = drawn(sent, format);
        return slow_distance(source, format.format, format.type,
                             slow_8bit_elements(frame.data(), frame.size(), kByte), kRGBA, kByte);
    }
    // It comes back as it was sent, with a zero where the comparison reads past its end.
    std::vector<unsigned char> back = sent;
    back.resize(sent.size() + 4, 0);
    return slow_distance(source, format.format, format.type,
                         slow_8bit_elements(back.data(), count + 1, format.type), format.format,
                         format.type);
}

}  // namespace texprobe::tests
