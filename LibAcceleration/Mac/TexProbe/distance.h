// How far an image read back from the renderer lies from the pattern that was sent: pixels in, one
// number out. Makes no GL call and touches no record. Pure functions, safe on any thread.

#ifndef TEXPROBE_DISTANCE_H
#define TEXPROBE_DISTANCE_H

#include <OpenGL/gl.h>
#include <OpenGL/glext.h>

#include <cstddef>
#include <cstdint>

#include "conversions.h"
#include "vectors.h"

namespace {

// Every image is 128 x 128 pixels, tightly packed.
constexpr std::size_t kImagePixels = std::size_t{128} * 128;

// The distance of a pair of layouts that cannot be compared; far above any real distance, the
// largest of which is 16384 * 255^2.
constexpr unsigned long long kUnsupportedDistance = ~0ULL;

// Four bytes per pixel in the order B, G, R, A. The value of a pixel type in the place of a pixel
// format: it marks a source whose bytes were one packed word per pixel.
constexpr unsigned kPackedBGRA = GL_UNSIGNED_INT_8_8_8_8_REV;

// Images are compared block by block: each is brought to the 8-bit scale in a buffer that stays in
// the cache, then compared as bytes. So what is compared does not know the types.

constexpr std::size_t kBlockPixels = 512;

// The first byte of a pixel.
using Pixel = const std::uint8_t*;

/// The squared differences of the channels of two pixels, 0 where there are fewer than four.
struct Squares {
    int channel0;
    int channel1;
    int channel2;
    int channel3;
};

inline int square(int difference) {
    return difference * difference;
}

// The pairings: which byte of a pixel of the first image is compared with which one of the second.
// They are not symmetric, and every oddity is intended.

inline Squares same_order_3(Pixel a, Pixel b) {
    return {square(a[0] - b[0]), square(a[1] - b[1]), square(a[2] - b[2]), 0};
}

inline Squares swapped_3(Pixel a, Pixel b) {
    return {square(a[0] - b[2]), square(a[1] - b[1]), square(a[2] - b[0]), 0};
}

inline Squares swapped_4(Pixel a, Pixel b) {
    return {square(a[0] - b[2]), square(a[1] - b[1]), square(a[2] - b[0]), square(a[3] - b[3])};
}

inline Squares reversed_4(Pixel a, Pixel b) {
    return {square(a[0] - b[3]), square(a[1] - b[2]), square(a[2] - b[1]), square(a[3] - b[0])};
}

inline Squares luminance(Pixel a, Pixel b) {
    return {square(a[0] - b[0]), 0, 0, 0};
}

inline Squares luminance_with_color(Pixel a, Pixel b) {
    return {square(a[0] - b[0]), square(a[0] - b[1]), square(a[0] - b[2]), 0};
}

/// The alpha is compared with byte 2, the luminance of the next pixel. For the last pixel that is
/// one element past the image, which the second image therefore has to provide.
inline Squares luminance_alpha(Pixel a, Pixel b) {
    return {square(a[0] - b[0]), square(a[1] - b[2]), 0, 0};
}

inline Squares luminance_alpha_with_color(Pixel a, Pixel b) {
    return {square(a[0] - b[0]), square(a[0] - b[1]), square(a[0] - b[2]), square(a[1] - b[3])};
}

// The sum over all channels of one block, at most 512 * 4 * 255^2. Sums are exact, so the order in
// which they are added up does not matter.

/// Both blocks have the same layout and are compared in place.
template <unsigned elements>
int sum_in_place(Pixel first, Pixel second) {
    int sum = 0;
    for (std::size_t i = 0; i < kBlockPixels * elements; ++i) sum += square(first[i] - second[i]);
    return sum;
}

/// One sum per channel: GCC's vectors then take half as long as with one sum for all.
template <unsigned firstElements, unsigned secondElements, Squares (*compare)(Pixel, Pixel)>
int sum_by_pixel(Pixel first, Pixel second) {
    Squares sums{};
    for (std::size_t p = 0; p < kBlockPixels; ++p) {
        const Squares squares = compare(first + p * firstElements, second + p * secondElements);
        sums.channel0 += squares.channel0;
        sums.channel1 += squares.channel1;
        sums.channel2 += squares.channel2;
        sums.channel3 += squares.channel3;
    }
    return sums.channel0 + sums.channel1 + sums.channel2 + sums.channel3;
}

/// How two layouts are compared.
struct Comparison {
    unsigned channels;       // 0: not at all.
    unsigned firstElements;  // Per pixel.
    unsigned secondElements;
    unsigned secondElementsPastBlock;
    int (*sum)(Pixel firstBlock, Pixel secondBlock);
};

constexpr Comparison kNotCompared{};

template <unsigned elements>
constexpr Comparison kInPlace{elements, elements, elements, 0, sum_in_place<elements>};

template <unsigned channels, unsigned firstElements, unsigned secondElements,
          Squares (*compare)(Pixel, Pixel)>
constexpr Comparison kByPixel{channels, firstElements, secondElements, 0,
                              sum_by_pixel<firstElements, secondElements, compare>};

constexpr Comparison kLuminanceAlpha{2, 2, 2, 1, sum_by_pixel<2, 2, luminance_alpha>};

inline bool is_rgb_order(unsigned format) {
    return format == GL_RGB || format == GL_RGBA;
}

/// Elements per pixel of a colour layout; 0 for any other.
inline unsigned color_elements(unsigned format) {
    switch (format) {
        case GL_RGB:
        case GL_BGR:
            return 3;
        case GL_RGBA:
        case GL_BGRA:
        case kPackedBGRA:
            return 4;
        default:
            return 0;
    }
}

// A three-element colour against any colour: the alpha of a four-element side is ignored.
inline Comparison comparison_of_rgb(unsigned firstFormat, unsigned secondFormat) {
    const bool same = is_rgb_order(firstFormat) == is_rgb_order(secondFormat);
    switch (color_elements(secondFormat)) {
        case 3:
            return same ? kInPlace<3> : kByPixel<3, 3, 3, swapped_3>;
        case 4:
            return same ? kByPixel<3, 3, 4, same_order_3> : kByPixel<3, 3, 4, swapped_3>;
        default:
            return kNotCompared;
    }
}

// A four-element colour against a four-element colour. RGBA against BGRA is a full reversal; only
// the packed code on the first side exchanges red and blue.
inline Comparison comparison_of_rgba(unsigned firstFormat, unsigned secondFormat) {
    if (color_elements(secondFormat) != 4) return kNotCompared;
    if ((firstFormat == GL_RGBA) == (secondFormat == GL_RGBA)) return kInPlace<4>;
    return firstFormat == kPackedBGRA ? kByPixel<4, 4, 4, swapped_4>
                                      : kByPixel<4, 4, 4, reversed_4>;
}

inline Comparison comparison_of_luminance(unsigned secondFormat) {
    if (secondFormat == GL_LUMINANCE) return kInPlace<1>;
    if (secondFormat == GL_LUMINANCE_ALPHA) return kByPixel<1, 1, 2, luminance>;
    switch (color_elements(secondFormat)) {
        case 3:
            return kByPixel<3, 1, 3, luminance_with_color>;
        case 4:
            return kByPixel<3, 1, 4, luminance_with_color>;
        default:
            return kNotCompared;
    }
}

inline Comparison comparison_of_luminance_alpha(unsigned secondFormat) {
    if (secondFormat == GL_LUMINANCE_ALPHA) return kLuminanceAlpha;
    return color_elements(secondFormat) == 4 ? kByPixel<4, 2, 4, luminance_alpha_with_color>
                                             : kNotCompared;
}

inline Comparison comparison_of(unsigned firstFormat, unsigned secondFormat) {
    switch (firstFormat) {
        case GL_RGB:
        case GL_BGR:
            return comparison_of_rgb(firstFormat, secondFormat);
        case GL_RGBA:
        case GL_BGRA:
        case kPackedBGRA:
            return comparison_of_rgba(firstFormat, secondFormat);
        case GL_LUMINANCE:
            return comparison_of_luminance(secondFormat);
        case GL_LUMINANCE_ALPHA:
            return comparison_of_luminance_alpha(secondFormat);
        default:
            return kNotCompared;
    }
}

/// `count` elements on the 8-bit scale: in `buffer`, or where they are when they are bytes.
inline const std::uint8_t* on_8bit_scale(const std::uint8_t* elements, std::size_t /*count*/,
                                         std::uint8_t* /*buffer*/) {
    return elements;
}

template <typename T>
const std::uint8_t* on_8bit_scale(const T* elements, std::size_t count, std::uint8_t* buffer) {
    convert(elements, count, buffer);
    return buffer;
}

/// The mean, over the compared channels, of each channel's sum of squared differences on the 8-bit
/// scale; kUnsupportedDistance, with nothing read, for layouts that are not compared. Both images
/// hold 16384 pixels whatever `count` says; two luminance-alpha images need one more element in
/// `second`.
template <typename T, typename U>
unsigned long long distance_data_format(const U* first, unsigned firstFormat, const T* second,
                                        unsigned secondFormat, unsigned /*count*/) {
    const Comparison comparison = comparison_of(firstFormat, secondFormat);
    if (comparison.channels == 0) return kUnsupportedDistance;
    const std::size_t firstCount = kBlockPixels * comparison.firstElements;
    const std::size_t secondCount = kBlockPixels * comparison.secondElements;
    std::uint8_t firstBuffer[kBlockPixels * 4];
    std::uint8_t secondBuffer[kBlockPixels * 4];
    unsigned long long sum = 0;
    for (std::size_t block = 0; block < kImagePixels / kBlockPixels; ++block) {
        const int blockSum = comparison.sum(
            on_8bit_scale(first + block * firstCount, firstCount, firstBuffer),
            on_8bit_scale(second + block * secondCount,
                          secondCount + comparison.secondElementsPastBlock, secondBuffer));
        sum += static_cast<unsigned>(blockSum);
    }
    return sum / comparison.channels;
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
