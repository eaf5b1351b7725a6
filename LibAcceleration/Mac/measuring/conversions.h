// Elements of each type on the 8-bit scale. No conversion has a branch, so that the compiler can
// convert many elements at once.

#ifndef TEXPROBE_CONVERSIONS_H
#define TEXPROBE_CONVERSIONS_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace texprobe {

namespace {

/// IEEE 754 binary16 as OpenGL stores it. Converted straight to 8 bits, never to a float.
struct QORFloat16 {
    std::uint16_t bits;
};

inline std::uint8_t to_8bit(std::uint8_t value) {
    return value;
}

inline std::uint8_t to_8bit(std::uint16_t value) {
    return static_cast<std::uint8_t>(value >> 8);
}

/// Negative values give 0; values from 1.0 up, infinity and NaN included, give 255. In between:
/// append the first six of the eleven significant bits to them once more, shift right by 15 minus
/// the biased exponent, and subtract 1. The result is bits 8 to 15.
inline std::uint8_t to_8bit(QORFloat16 value) {
    // As signed integers, halves sort by value, and every negative one comes before 0.
    constexpr std::int16_t kHighestOf0 = 0x1C00;   // 2^-8
    constexpr std::int16_t kLowestOf255 = 0x3BFF;  // The last one before 1.0.
    const auto ordered = static_cast<std::int16_t>(value.bits);
    const int bits = std::min(std::max(ordered, kHighestOf0), kLowestOf255);
    // Of the six appended bits only the first one matters, and it is always 1. As long as it is
    // there, subtracting 1 changes nothing above it; once it is shifted out, so are the other five.
    // So 2 * significant + 1 can replace all seventeen bits. Shifting left by the exponent, instead
    // of right, puts the result at bit 18 and the 1 to subtract at bit 10.
    const int significant = (bits & 0x3FF) | 0x400;
    return static_cast<std::uint8_t>((((2 * significant + 1) << (bits >> 10)) - 0x400) >> 18);
}

/// Let n be value * 2^32, truncated toward zero. The result is the high byte of the low 32 bits of
/// n - 1. For an n that does not fit 64 bits, its low 32 bits are 0. The wrap-around is part of the
/// measurement: 0.0 and 1.0 both give 255, 1.5 gives 127, NaN and infinities give 255.
inline std::uint8_t to_8bit(float value) {
    // From 2^23 on every float is an integer, and the low 32 bits of n are 0, as for infinities and
    // NaN. So they are all replaced by 0.0, with a mask, because GCC does not vectorize a choice
    // between floats.
    constexpr std::int32_t k2To23 = 0x4B000000;
    std::int32_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    bits &= -static_cast<std::int32_t>((bits & 0x7FFFFFFF) < k2To23);
    std::memcpy(&value, &bits, sizeof value);
    // The high byte of n - 1 is n / 2^24 rounded up, minus 1; and n / 2^24 is 256 * value. The
    // conversion to an integer rounds negative values up. A positive value is rounded up if it has
    // a fraction. A fraction below 2^-24 means a value below 2^-32, whose n is 0.
    const float scaled = 256.0f * value;
    const int whole = static_cast<int>(scaled);
    const int roundingUp = scaled - static_cast<float>(whole) >= 0x1p-24f;
    return static_cast<std::uint8_t>(whole + roundingUp - 1);
}

/// Writes `count` elements on the 8-bit scale.
template <typename Element>
void convert(const Element* elements, std::size_t count, std::uint8_t* bytes) {
    for (std::size_t i = 0; i < count; ++i) bytes[i] = to_8bit(elements[i]);
}

}  // namespace

}  // namespace texprobe

#endif
