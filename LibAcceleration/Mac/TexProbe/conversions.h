// Elements of each type on the 8-bit scale. No conversion has a branch, so that the compiler can
// convert many elements at once.

#ifndef TEXPROBE_CONVERSIONS_H
#define TEXPROBE_CONVERSIONS_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

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

/// Negative values give 0, values from 1.0 up (infinity and NaN included) give 255. In between, the
/// eleven significant bits, followed by their first six once more, are shifted right by what the
/// biased exponent lacks of 15; the result is bits 8 to 15 of that less 1.
inline std::uint8_t to_8bit(QORFloat16 value) {
    // As signed integers, halves sort by value, and every negative one comes before 0.
    constexpr std::int16_t kHighestOf0 = 0x1C00;   // 2^-8
    constexpr std::int16_t kLowestOf255 = 0x3BFF;  // The last one before 1.0.
    const auto ordered = static_cast<std::int16_t>(value.bits);
    const int bits = std::min(std::max(ordered, kHighestOf0), kLowestOf255);
    // Of the six repeated bits only the first one counts. It is always 1. Until it is shifted out,
    // taking away 1 changes nothing above it; once it is, the other five are gone too. Twice the
    // significant bits plus 1 therefore stand for all seventeen. Shifted left by the exponent
    // instead of right, they have the result from bit 18 on, and the 1 to take away is bit 10.
    const int significant = (bits & 0x3FF) | 0x400;
    return static_cast<std::uint8_t>((((2 * significant + 1) << (bits >> 10)) - 0x400) >> 18);
}

/// The high byte of the low word of value * 2^32, truncated toward zero, less 1. The low word of
/// what does not fit 64 bits is 0. The wrap-around is intended: 0.0 and 1.0 both give 255, 1.5
/// gives 127, NaN and infinities give 255.
inline std::uint8_t to_8bit(float value) {
    // From 2^23 on every float is an integer. Its low word is 0, as is that of infinities and NaN:
    // all of them become 0.0. By a mask, because GCC does not vectorize a choice between floats.
    constexpr std::int32_t k2To23 = 0x4B000000;
    std::int32_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    bits &= -static_cast<std::int32_t>((bits & 0x7FFFFFFF) < k2To23);
    std::memcpy(&value, &bits, sizeof value);
    // The high byte of a word less 1 is the word divided by 2^24, rounded up, less 1: here 256 *
    // value, rounded up, less 1. The conversion to an integer has already rounded negative values
    // up. A positive one is rounded up by its fraction, which is at least 2^-24, unless the value
    // is below 2^-32 and truncated to 0.
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

#endif
