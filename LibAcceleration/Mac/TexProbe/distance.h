// How far an image read back from the renderer lies from the pattern that was sent: pixels in, one
// number out. Makes no GL call and touches no record. Pure functions, safe on any thread.

#ifndef TEXPROBE_DISTANCE_H
#define TEXPROBE_DISTANCE_H

#include <OpenGL/gl.h>
#include <OpenGL/glext.h>

#include <cmath>
#include <cstddef>
#include <cstdint>

namespace {

// Every image is 128 x 128 pixels, tightly packed.
constexpr std::size_t kImagePixels = 128 * 128;

// The distance of a pair of layouts that cannot be compared; far above any real distance, the
// largest of which is 16384 * 255^2.
constexpr unsigned long long kUnsupportedDistance = ~0ULL;

// Four bytes per pixel in the order B, G, R, A. The value of a pixel type, used on purpose as a
// pixel format: it marks a source whose bytes were one packed word per pixel.
constexpr unsigned kPackedBGRA = GL_UNSIGNED_INT_8_8_8_8_REV;

/// IEEE 754 binary16 as OpenGL stores it. Converted straight to 8 bits, never to a float.
struct QORFloat16 {
    std::uint16_t bits;
};

// Conversions of one element to the common 8-bit scale.

inline int to_8bit(std::uint8_t value) {
    return value;
}

inline int to_8bit(std::uint16_t value) {
    return value >> 8;
}

/// Negative values give 0, values from 1.0 up (infinity and NaN included) give 255. In between only
/// bits 8 to 15 of an intermediate are kept, so that adding 65535 takes 1 from it.
inline int to_8bit(QORFloat16 value) {
    const std::uint32_t exponent = (value.bits >> 10) & 0x1Fu;
    const std::uint32_t mantissa = value.bits & 0x3FFu;
    if (value.bits & 0x8000u) return 0;
    if (exponent >= 15) return 255;
    if (exponent == 0) return 0;  // The wrap-around below makes 0 of every subnormal.
    const std::uint32_t significand = mantissa | 0x400u;
    const std::uint32_t spread = (significand << 6) | (significand >> 5);
    return static_cast<int>((((spread >> (15 - exponent)) + 65535u) >> 8) & 255u);
}

/// The low 32 bits of value * 2^32 truncated toward zero; 0 where that does not fit 64 bits.
inline std::uint32_t low_word_of_scaled(float value) {
    constexpr double kTwo63 = 9223372036854775808.0;
    const double scaled = std::ldexp(static_cast<double>(value), 32);
    if (scaled > -kTwo63 && scaled < kTwo63) {
        return static_cast<std::uint32_t>(static_cast<std::int64_t>(scaled));
    }
    // Above 2^63 a float is a multiple of 2^40: its low word is 0, as it is for whatever does not
    // fit.
    return 0;
}

/// The wrap-around is intended: 0.0 and 1.0 both give 255, 1.5 gives 127, NaN and infinities give
/// 255.
inline int to_8bit(float value) {
    return static_cast<int>((low_word_of_scaled(value) - 1u) >> 24);
}

/// The sum of squared differences of one channel pair, over the image. The strides are the elements
/// per pixel of the two layouts.
template <unsigned firstStride, unsigned secondStride, typename T, typename U>
unsigned long long channel_distance(const U* first, const T* second) {
    // 256 squares of at most 255^2 fit 32 bits, which lets the compiler use wider vectors.
    constexpr std::size_t kBlock = 256;
    unsigned long long sum = 0;
    for (std::size_t block = 0; block < kImagePixels; block += kBlock) {
        std::uint32_t blockSum = 0;
        for (std::size_t p = block; p < block + kBlock; ++p) {
            const int difference =
                to_8bit(second[p * secondStride]) - to_8bit(first[p * firstStride]);
            blockSum += static_cast<std::uint32_t>(difference * difference);
        }
        sum += blockSum;
    }
    return sum;
}

/// Which element of the second image each element of the first is compared with, by position.
struct ChannelPair {
    unsigned first;
    unsigned second;
};

template <unsigned firstStride, unsigned secondStride, typename T, typename U, std::size_t count>
unsigned long long mean_distance(const U* first, const T* second,
                                 const ChannelPair (&pairs)[count]) {
    unsigned long long sum = 0;
    for (const ChannelPair& pair : pairs) {
        sum +=
            channel_distance<firstStride, secondStride>(first + pair.first, second + pair.second);
    }
    return sum / count;
}

// The pairings. They are not symmetric, and every oddity is intended.

constexpr ChannelPair kSameOrder3[] = {{0, 0}, {1, 1}, {2, 2}};
constexpr ChannelPair kSwapped3[] = {{0, 2}, {1, 1}, {2, 0}};
constexpr ChannelPair kSameOrder4[] = {{0, 0}, {1, 1}, {2, 2}, {3, 3}};
constexpr ChannelPair kReversed4[] = {{0, 3}, {1, 2}, {2, 1}, {3, 0}};
constexpr ChannelPair kSwapped4[] = {{0, 2}, {1, 1}, {2, 0}, {3, 3}};
constexpr ChannelPair kLuminance[] = {{0, 0}};
constexpr ChannelPair kLuminanceColor[] = {{0, 0}, {0, 1}, {0, 2}};
// The alpha of a pixel against the luminance of the next one: for the last pixel this reads one
// element past a two-element image, which the second image therefore has to provide.
constexpr ChannelPair kLuminanceAlpha[] = {{0, 0}, {1, 2}};
constexpr ChannelPair kLuminanceAlphaColor[] = {{0, 0}, {0, 1}, {0, 2}, {1, 3}};

inline bool is_rgb_order(unsigned format) {
    return format == GL_RGB || format == GL_RGBA;
}

inline bool is_bgra(unsigned format) {
    return format == GL_BGRA || format == kPackedBGRA;
}

/// Elements per pixel of a colour layout; 0 for any other.
inline unsigned color_elements(unsigned format) {
    if (format == GL_RGB || format == GL_BGR) return 3;
    return format == GL_RGBA || is_bgra(format) ? 4 : 0;
}

// A three-element colour against any colour: the alpha of a four-element side is ignored.
template <typename T, typename U>
unsigned long long distance_from_rgb(const U* first, unsigned firstFormat, const T* second,
                                     unsigned secondFormat) {
    const bool same = is_rgb_order(firstFormat) == is_rgb_order(secondFormat);
    switch (color_elements(secondFormat)) {
        case 3:
            return same ? mean_distance<3, 3>(first, second, kSameOrder3)
                        : mean_distance<3, 3>(first, second, kSwapped3);
        case 4:
            return same ? mean_distance<3, 4>(first, second, kSameOrder3)
                        : mean_distance<3, 4>(first, second, kSwapped3);
        default:
            return kUnsupportedDistance;
    }
}

// A four-element colour against a four-element colour. RGBA against BGRA is a full reversal; only
// the packed code on the first side exchanges red and blue.
template <typename T, typename U>
unsigned long long distance_from_rgba(const U* first, unsigned firstFormat, const T* second,
                                      unsigned secondFormat) {
    if (color_elements(secondFormat) != 4) return kUnsupportedDistance;
    if ((firstFormat == GL_RGBA) == (secondFormat == GL_RGBA)) {
        return mean_distance<4, 4>(first, second, kSameOrder4);
    }
    return firstFormat == kPackedBGRA ? mean_distance<4, 4>(first, second, kSwapped4)
                                      : mean_distance<4, 4>(first, second, kReversed4);
}

template <typename T, typename U>
unsigned long long distance_from_luminance(const U* first, const T* second, unsigned secondFormat) {
    if (secondFormat == GL_LUMINANCE) return mean_distance<1, 1>(first, second, kLuminance);
    if (secondFormat == GL_LUMINANCE_ALPHA) return mean_distance<1, 2>(first, second, kLuminance);
    switch (color_elements(secondFormat)) {
        case 3:
            return mean_distance<1, 3>(first, second, kLuminanceColor);
        case 4:
            return mean_distance<1, 4>(first, second, kLuminanceColor);
        default:
            return kUnsupportedDistance;
    }
}

template <typename T, typename U>
unsigned long long distance_from_luminance_alpha(const U* first, const T* second,
                                                 unsigned secondFormat) {
    if (secondFormat == GL_LUMINANCE_ALPHA) {
        return mean_distance<2, 2>(first, second, kLuminanceAlpha);
    }
    return color_elements(secondFormat) == 4
               ? mean_distance<2, 4>(first, second, kLuminanceAlphaColor)
               : kUnsupportedDistance;
}

/// The mean, over the compared channels, of each channel's sum of squared differences on the 8-bit
/// scale; kUnsupportedDistance, with nothing read, for layouts that are not compared. Both images
/// hold 16384 pixels whatever `count` says; two luminance-alpha images need one more element in
/// `second`.
template <typename T, typename U>
unsigned long long distance_data_format(const U* first, unsigned firstFormat, const T* second,
                                        unsigned secondFormat, unsigned /*count*/) {
    switch (firstFormat) {
        case GL_RGB:
        case GL_BGR:
            return distance_from_rgb(first, firstFormat, second, secondFormat);
        case GL_RGBA:
        case GL_BGRA:
        case kPackedBGRA:
            return distance_from_rgba(first, firstFormat, second, secondFormat);
        case GL_LUMINANCE:
            return distance_from_luminance(first, second, secondFormat);
        case GL_LUMINANCE_ALPHA:
            return distance_from_luminance_alpha(first, second, secondFormat);
        default:
            return kUnsupportedDistance;
    }
}

/// The source's element type is known; chooses the kernel by the type of the read-back.
template <typename U>
unsigned long long distance_from_source(const void* srcData, unsigned srcFormat,
                                        const void* readData, unsigned readFormat,
                                        unsigned readType, unsigned pixelCount) {
    const U* source = static_cast<const U*>(srcData);
    switch (readType) {
        case GL_UNSIGNED_BYTE:
            return distance_data_format<std::uint8_t, U>(source, srcFormat,
                                                         static_cast<const std::uint8_t*>(readData),
                                                         readFormat, pixelCount);
        case GL_UNSIGNED_SHORT:
            return distance_data_format<std::uint16_t, U>(
                source, srcFormat, static_cast<const std::uint16_t*>(readData), readFormat,
                pixelCount);
        case GL_FLOAT:
            return distance_data_format<float, U>(
                source, srcFormat, static_cast<const float*>(readData), readFormat, pixelCount);
        case GL_HALF_FLOAT_ARB:
            return distance_data_format<QORFloat16, U>(source, srcFormat,
                                                       static_cast<const QORFloat16*>(readData),
                                                       readFormat, pixelCount);
        default:
            return kUnsupportedDistance;
    }
}

/// The distance between the pattern as uploaded and what came back, each described by its OpenGL
/// pixel format and type; kUnsupportedDistance for a pair that is not compared. `pixelCount` is
/// deliberately not consulted. The table of types is not symmetric: a packed read-back is only
/// accepted against a packed source.
inline unsigned long long distance_data_switch(const void* srcData, unsigned srcFormat,
                                               unsigned srcType, const void* readData,
                                               unsigned readFormat, unsigned readType,
                                               unsigned pixelCount) {
    switch (srcType) {
        case GL_UNSIGNED_BYTE:
            return distance_from_source<std::uint8_t>(srcData, srcFormat, readData, readFormat,
                                                      readType, pixelCount);
        case GL_UNSIGNED_SHORT:
            return distance_from_source<std::uint16_t>(srcData, srcFormat, readData, readFormat,
                                                       readType, pixelCount);
        case GL_FLOAT:
            return distance_from_source<float>(srcData, srcFormat, readData, readFormat, readType,
                                               pixelCount);
        case GL_HALF_FLOAT_ARB:
            return distance_from_source<QORFloat16>(srcData, srcFormat, readData, readFormat,
                                                    readType, pixelCount);
        case GL_UNSIGNED_INT_8_8_8_8_REV:
            // Both packed: all four bytes in place, whatever the caller's formats say.
            if (readType == GL_UNSIGNED_INT_8_8_8_8_REV) {
                return distance_from_source<std::uint8_t>(
                    srcData, kPackedBGRA, readData, kPackedBGRA, GL_UNSIGNED_BYTE, pixelCount);
            }
            // Only bytes replace the format; other read-backs keep the one that the caller gave.
            return distance_from_source<std::uint8_t>(
                srcData, readType == GL_UNSIGNED_BYTE ? kPackedBGRA : srcFormat, readData,
                readFormat, readType, pixelCount);
        default:
            return kUnsupportedDistance;
    }
}

}  // namespace

#endif
