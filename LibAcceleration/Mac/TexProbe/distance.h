// How far an image read back from the renderer lies from the pattern that was sent: pixels in, one
// number out. Makes no GL call and touches no record. Pure functions, safe on any thread.

#ifndef TEXPROBE_DISTANCE_H
#define TEXPROBE_DISTANCE_H

#include <OpenGL/gl.h>
#include <OpenGL/glext.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>

#include "vectors.h"

namespace {

// Every image is 128 x 128 pixels, tightly packed.
constexpr std::size_t kImagePixels = std::size_t{128} * 128;

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

// Conversions of one element to the common 8-bit scale. They have no branch and no shift by a
// varying count, so that the compiler can convert many elements at once on every processor.

inline int to_8bit(std::uint8_t value) {
    return value;
}

inline int to_8bit(std::uint16_t value) {
    return value >> 8;
}

/// Negative values give 0, values from 1.0 up (infinity and NaN included) give 255. In between, the
/// eleven significant bits, followed by their first six once more, are shifted right by what the
/// biased exponent lacks of 15; the result is bits 8 to 15 of that less 1.
inline int to_8bit(QORFloat16 value) {
    // Up to 2^-8 the result is 0, from the last value before 1.0 on it is 255.
    constexpr std::int16_t kHighestOf0 = 0x1C00;
    constexpr std::int16_t kLowestOf255 = 0x3BFF;
    const auto ordered = static_cast<std::int16_t>(value.bits);  // Negative ones come first.
    const auto bits =
        static_cast<std::uint16_t>(std::min(std::max(ordered, kHighestOf0), kLowestOf255));
    // Shifted by 1, the least count. What is left, 0 to 7, are the bits that are 0 in exponent + 1.
    auto shifted = static_cast<std::uint16_t>((bits << 5) | 0x8010 | ((bits >> 6) & 0xF));
    const auto next = static_cast<std::uint16_t>(bits + 0x400);
    shifted = next & 0x1000 ? shifted : static_cast<std::uint16_t>(shifted >> 4);
    shifted = next & 0x0800 ? shifted : static_cast<std::uint16_t>(shifted >> 2);
    shifted = next & 0x0400 ? shifted : static_cast<std::uint16_t>(shifted >> 1);
    return static_cast<std::uint16_t>(shifted - 1) >> 8;
}

/// Of value * 2^32, truncated toward zero: the high byte of the low word less 1, which is that of
/// 256 * value, rounded up, less 1. A value that does not fit 64 bits has the low word 0. The
/// wrap-around is intended: 0.0 and 1.0 both give 255, 1.5 gives 127, NaN and infinities give 255.
inline int to_8bit(float value) {
    // Bits of positive floats are in the order of the floats. 2^-32 is the smallest that is not
    // truncated to 0; from 2^15 on 256 * value is an integer, from 2^23 on the value itself.
    constexpr std::int32_t k2ToMinus32 = 0x2F800000;
    constexpr std::int32_t k2To15 = 0x47000000;
    constexpr std::int32_t k2To23 = 0x4B000000;
    std::int32_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    // The low word of an integer is that of 0.0, and so is that of infinities and NaN.
    bits &= -static_cast<std::int32_t>((bits & 0x7FFFFFFF) < k2To23);
    // Where 256 * value is positive and may have a fraction, truncating it from the next float
    // below is rounding it up less 1. Everywhere else truncating it is rounding it up.
    const std::int32_t isStepped = (bits >= k2ToMinus32) & (bits < k2To15);
    bits -= isStepped;
    std::memcpy(&value, &bits, sizeof value);
    return (static_cast<std::int32_t>(256.0f * value) + isStepped - 1) & 0xFF;
}

// Images are compared block by block: each is brought to the 8-bit scale in a buffer that stays in
// the cache, then compared as bytes.

constexpr std::size_t kBlockPixels = 256;

/// `count` elements on the 8-bit scale: in `buffer`, or where they are when they are bytes.
inline const std::uint8_t* on_8bit_scale(const std::uint8_t* elements, std::size_t /*count*/,
                                         std::uint8_t* /*buffer*/) {
    return elements;
}

template <typename T>
const std::uint8_t* on_8bit_scale(const T* elements, std::size_t count, std::uint8_t* buffer) {
    return run_on_widest_vectors([=] {
        for (std::size_t i = 0; i < count; ++i) {
            buffer[i] = static_cast<std::uint8_t>(to_8bit(elements[i]));
        }
        return buffer;
    });
}

/// The sum of the squared differences of at most 32768 bytes, which fits 31 bits.
inline unsigned squared_differences(const std::uint8_t* first, const std::uint8_t* second,
                                    std::size_t count) {
    int sum = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const int difference = second[i] - first[i];
        sum += difference * difference;
    }
    return static_cast<unsigned>(sum);
}

// The sums of all channels are exact, so they are added as they come.

/// The mean distance of the channels of two images of one layout, compared in place.
template <unsigned elements, typename T, typename U>
unsigned long long mean_distance(const U* first, const T* second) {
    constexpr std::size_t kCount = kBlockPixels * elements;
    std::uint8_t firstBuffer[kCount];
    std::uint8_t secondBuffer[kCount];
    unsigned long long sum = 0;
    for (std::size_t i = 0; i < kImagePixels * elements; i += kCount) {
        sum += squared_differences(on_8bit_scale(first + i, kCount, firstBuffer),
                                   on_8bit_scale(second + i, kCount, secondBuffer), kCount);
    }
    return sum / elements;
}

/// Which element of the second image each element of the first is compared with, by position.
struct ChannelPair {
    unsigned first;
    unsigned second;
};

/// The first `channels` elements of each pixel of a block, each channel on its own.
template <unsigned channels>
struct Planes {
    std::uint8_t planes[channels][kBlockPixels];

    template <unsigned stride, typename T>
    void split(const T* pixels) {
        constexpr std::size_t kCount = stride * (kBlockPixels - 1) + channels;
        std::uint8_t buffer[kCount];
        const std::uint8_t* bytes = on_8bit_scale(pixels, kCount, buffer);
        for (std::size_t p = 0; p < kBlockPixels; ++p) {
            for (unsigned c = 0; c < channels; ++c) planes[c][p] = bytes[p * stride + c];
        }
    }
};

template <std::size_t count>
constexpr unsigned channels_of(const ChannelPair (&pairs)[count], unsigned ChannelPair::*side) {
    unsigned highest = 0;
    for (const ChannelPair& pair : pairs) highest = std::max(highest, pair.*side);
    return highest + 1;
}

/// The mean distance of the paired channels. The strides are the elements per pixel.
template <unsigned firstStride, unsigned secondStride, const auto& pairs, typename T, typename U>
unsigned long long mean_distance(const U* first, const T* second) {
    Planes<channels_of(pairs, &ChannelPair::first)> firstPlanes;
    Planes<channels_of(pairs, &ChannelPair::second)> secondPlanes;
    unsigned long long sum = 0;
    for (std::size_t p = 0; p < kImagePixels; p += kBlockPixels) {
        firstPlanes.template split<firstStride>(first + p * firstStride);
        secondPlanes.template split<secondStride>(second + p * secondStride);
        for (const ChannelPair& pair : pairs) {
            sum += squared_differences(firstPlanes.planes[pair.first],
                                       secondPlanes.planes[pair.second], kBlockPixels);
        }
    }
    return sum / std::size(pairs);
}

// The pairings. They are not symmetric, and every oddity is intended.

constexpr ChannelPair kSameOrder3[] = {{0, 0}, {1, 1}, {2, 2}};
constexpr ChannelPair kSwapped3[] = {{0, 2}, {1, 1}, {2, 0}};
constexpr ChannelPair kReversed4[] = {{0, 3}, {1, 2}, {2, 1}, {3, 0}};
constexpr ChannelPair kSwapped4[] = {{0, 2}, {1, 1}, {2, 0}, {3, 3}};
constexpr ChannelPair kLuminance[] = {{0, 0}};
constexpr ChannelPair kLuminanceColor[] = {{0, 0}, {0, 1}, {0, 2}};
// The alpha of a pixel against element 2, the luminance of the next pixel: for the last pixel this
// reads one element past a two-element image, which the second image therefore has to provide.
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
            return same ? mean_distance<3>(first, second)
                        : mean_distance<3, 3, kSwapped3>(first, second);
        case 4:
            return same ? mean_distance<3, 4, kSameOrder3>(first, second)
                        : mean_distance<3, 4, kSwapped3>(first, second);
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
        return mean_distance<4>(first, second);
    }
    return firstFormat == kPackedBGRA ? mean_distance<4, 4, kSwapped4>(first, second)
                                      : mean_distance<4, 4, kReversed4>(first, second);
}

template <typename T, typename U>
unsigned long long distance_from_luminance(const U* first, const T* second, unsigned secondFormat) {
    if (secondFormat == GL_LUMINANCE) return mean_distance<1>(first, second);
    if (secondFormat == GL_LUMINANCE_ALPHA) return mean_distance<1, 2, kLuminance>(first, second);
    switch (color_elements(secondFormat)) {
        case 3:
            return mean_distance<1, 3, kLuminanceColor>(first, second);
        case 4:
            return mean_distance<1, 4, kLuminanceColor>(first, second);
        default:
            return kUnsupportedDistance;
    }
}

template <typename T, typename U>
unsigned long long distance_from_luminance_alpha(const U* first, const T* second,
                                                 unsigned secondFormat) {
    if (secondFormat == GL_LUMINANCE_ALPHA) {
        return mean_distance<2, 2, kLuminanceAlpha>(first, second);
    }
    return color_elements(secondFormat) == 4
               ? mean_distance<2, 4, kLuminanceAlphaColor>(first, second)
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
