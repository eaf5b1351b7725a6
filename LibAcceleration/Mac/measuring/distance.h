// The distance between the pattern that was sent and the image that was read back: pixels in, one
// number out. Makes no GL call and touches no record. Pure functions, safe on any thread.

#ifndef TEXPROBE_DISTANCE_H
#define TEXPROBE_DISTANCE_H

#include <OpenGL/gl.h>
#include <OpenGL/glext.h>

#include <cstddef>
#include <cstdint>

#include "measuring/conversions.h"
#include "measuring/vectors.h"

namespace texprobe {

namespace {

// Every image is 128 x 128 pixels, tightly packed.
constexpr std::size_t kImagePixels = std::size_t{128} * 128;

// The distance of a pair of layouts that cannot be compared; far above any real distance, the
// largest of which is 16384 * 255^2.
constexpr unsigned long long kUnsupportedDistance = ~0ULL;

// Four bytes per pixel in the order B, G, R, A. This is a pixel type in the place of a pixel
// format; it marks a source with one packed word per pixel.
constexpr unsigned kPackedBGRA = GL_UNSIGNED_INT_8_8_8_8_REV;

// Images are compared block by block: each is brought to the 8-bit scale in a buffer that stays in
// the cache, then compared as bytes.

constexpr std::size_t kBlockPixels = 512;

/// `count` elements on the 8-bit scale: in `buffer`, or in place if they are bytes.
inline const std::uint8_t* on_8bit_scale(const std::uint8_t* elements, std::size_t /*count*/,
                                         std::uint8_t* /*buffer*/) {
    return elements;
}

template <typename T>
const std::uint8_t* on_8bit_scale(const T* elements, std::size_t count, std::uint8_t* buffer) {
    call_on_widest_vectors<convert<T>>(elements, count, buffer);
    return buffer;
}

// The bytes of a pixel, or of a block of pixels.
using Pixels = const std::uint8_t*;

/// The squared differences of at most four channels.
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

inline Squares same_order_3(Pixels a, Pixels b) {
    return {square(a[0] - b[0]), square(a[1] - b[1]), square(a[2] - b[2]), 0};
}

inline Squares swapped_3(Pixels a, Pixels b) {
    return {square(a[0] - b[2]), square(a[1] - b[1]), square(a[2] - b[0]), 0};
}

inline Squares swapped_4(Pixels a, Pixels b) {
    return {square(a[0] - b[2]), square(a[1] - b[1]), square(a[2] - b[0]), square(a[3] - b[3])};
}

inline Squares reversed_4(Pixels a, Pixels b) {
    return {square(a[0] - b[3]), square(a[1] - b[2]), square(a[2] - b[1]), square(a[3] - b[0])};
}

inline Squares luminance(Pixels a, Pixels b) {
    return {square(a[0] - b[0]), 0, 0, 0};
}

inline Squares luminance_with_color(Pixels a, Pixels b) {
    return {square(a[0] - b[0]), square(a[0] - b[1]), square(a[0] - b[2]), 0};
}

/// b[2] is the luminance of the next pixel.
inline Squares luminance_alpha(Pixels a, Pixels b) {
    return {square(a[0] - b[0]), square(a[1] - b[2]), 0, 0};
}

inline Squares luminance_alpha_with_color(Pixels a, Pixels b) {
    return {square(a[0] - b[0]), square(a[0] - b[1]), square(a[0] - b[2]), square(a[1] - b[3])};
}

// The kernels add up one block, over all channels: at most 512 * 4 * 255^2.

/// Two blocks of the same layout.
template <unsigned elements>
int sum_in_place(Pixels first, Pixels second) {
    int sum = 0;
    for (std::size_t i = 0; i < kBlockPixels * elements; ++i) sum += square(first[i] - second[i]);
    return sum;
}

/// Each channel has its own sum, because compilers vectorize a single one worse.
template <unsigned firstElements, unsigned secondElements, Squares (*compare)(Pixels, Pixels)>
int sum_by_pixel(Pixels first, Pixels second) {
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

/// How two layouts are compared: over how many channels, with how many elements per pixel, and how
/// many elements past the second block are read.
struct Kernel {
    unsigned channels;
    unsigned firstElements;
    unsigned secondElements;
    unsigned secondElementsPastBlock;
    int (*sum)(Pixels firstBlock, Pixels secondBlock);
};

template <unsigned elements>
constexpr Kernel kInPlace = {elements, elements, elements, 0,
                             call_on_wide_vectors<sum_in_place<elements>>};

template <unsigned channels, unsigned firstElements, unsigned secondElements,
          Squares (*compare)(Pixels, Pixels)>
constexpr Kernel kByPixel = {
    channels, firstElements, secondElements, 0,
    call_on_wide_vectors<sum_by_pixel<firstElements, secondElements, compare>>};

// Each alpha is compared with the luminance of the next pixel. For the last pixel that is one
// element past the image, which the second image therefore has to provide.
constexpr Kernel kLuminanceAlpha = {2, 2, 2, 1,
                                    call_on_wide_vectors<sum_by_pixel<2, 2, luminance_alpha>>};

// All pairs of layouts that are compared. They are not symmetric. Verdicts depend on every oddity.
constexpr struct {
    unsigned firstFormat;
    unsigned secondFormat;
    const Kernel& kernel;
} kComparisons[] = {
    {GL_RGB, GL_RGB, kInPlace<3>},
    {GL_BGR, GL_BGR, kInPlace<3>},
    {GL_RGB, GL_BGR, kByPixel<3, 3, 3, swapped_3>},
    {GL_BGR, GL_RGB, kByPixel<3, 3, 3, swapped_3>},
    // The alpha is ignored.
    {GL_RGB, GL_RGBA, kByPixel<3, 3, 4, same_order_3>},
    {GL_BGR, GL_BGRA, kByPixel<3, 3, 4, same_order_3>},
    {GL_BGR, kPackedBGRA, kByPixel<3, 3, 4, same_order_3>},
    {GL_RGB, GL_BGRA, kByPixel<3, 3, 4, swapped_3>},
    {GL_RGB, kPackedBGRA, kByPixel<3, 3, 4, swapped_3>},
    {GL_BGR, GL_RGBA, kByPixel<3, 3, 4, swapped_3>},
    {GL_RGBA, GL_RGBA, kInPlace<4>},
    {GL_BGRA, GL_BGRA, kInPlace<4>},
    {GL_BGRA, kPackedBGRA, kInPlace<4>},
    {kPackedBGRA, GL_BGRA, kInPlace<4>},
    {kPackedBGRA, kPackedBGRA, kInPlace<4>},
    // Only the packed code on the first side exchanges red and blue.
    {GL_RGBA, GL_BGRA, kByPixel<4, 4, 4, reversed_4>},
    {GL_RGBA, kPackedBGRA, kByPixel<4, 4, 4, reversed_4>},
    {GL_BGRA, GL_RGBA, kByPixel<4, 4, 4, reversed_4>},
    {kPackedBGRA, GL_RGBA, kByPixel<4, 4, 4, swapped_4>},
    {GL_LUMINANCE, GL_LUMINANCE, kInPlace<1>},
    {GL_LUMINANCE, GL_LUMINANCE_ALPHA, kByPixel<1, 1, 2, luminance>},
    {GL_LUMINANCE, GL_RGB, kByPixel<3, 1, 3, luminance_with_color>},
    {GL_LUMINANCE, GL_BGR, kByPixel<3, 1, 3, luminance_with_color>},
    {GL_LUMINANCE, GL_RGBA, kByPixel<3, 1, 4, luminance_with_color>},
    {GL_LUMINANCE, GL_BGRA, kByPixel<3, 1, 4, luminance_with_color>},
    {GL_LUMINANCE, kPackedBGRA, kByPixel<3, 1, 4, luminance_with_color>},
    {GL_LUMINANCE_ALPHA, GL_LUMINANCE_ALPHA, kLuminanceAlpha},
    {GL_LUMINANCE_ALPHA, GL_RGBA, kByPixel<4, 2, 4, luminance_alpha_with_color>},
    {GL_LUMINANCE_ALPHA, GL_BGRA, kByPixel<4, 2, 4, luminance_alpha_with_color>},
    {GL_LUMINANCE_ALPHA, kPackedBGRA, kByPixel<4, 2, 4, luminance_alpha_with_color>},
};

/// Null for two layouts that are not compared.
inline const Kernel* find_kernel(unsigned firstFormat, unsigned secondFormat) {
    for (const auto& [first, second, kernel] : kComparisons) {
        if (first == firstFormat && second == secondFormat) return &kernel;
    }
    return nullptr;
}

/// The mean, over the compared channels, of each channel's sum of squared differences on the 8-bit
/// scale; kUnsupportedDistance, with nothing read, for layouts that are not compared. Both images
/// hold 16384 pixels, and `count` is ignored; two luminance-alpha images need one more element in
/// `second`.
template <typename T, typename U>
unsigned long long distance_data_format(const U* first, unsigned firstFormat, const T* second,
                                        unsigned secondFormat, unsigned /*count*/) {
    const Kernel* kernel = find_kernel(firstFormat, secondFormat);
    if (!kernel) return kUnsupportedDistance;
    const std::size_t firstCount = kBlockPixels * kernel->firstElements;
    const std::size_t secondCount = kBlockPixels * kernel->secondElements;
    std::uint8_t firstBuffer[kBlockPixels * 4];
    std::uint8_t secondBuffer[kBlockPixels * 4];
    // Sums are exact, so all channels share one.
    unsigned long long sum = 0;
    for (std::size_t p = 0; p < kImagePixels; p += kBlockPixels) {
        const Pixels firstBlock = on_8bit_scale(first, firstCount, firstBuffer);
        const Pixels secondBlock =
            on_8bit_scale(second, secondCount + kernel->secondElementsPastBlock, secondBuffer);
        sum += static_cast<unsigned>(kernel->sum(firstBlock, secondBlock));
        first += firstCount;
        second += secondCount;
    }
    return sum / kernel->channels;
}

/// For a source element type, chooses the kernel by the type of the read-back.
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

/// The distance between the uploaded pattern and the returned image, each described by its OpenGL
/// pixel format and type; kUnsupportedDistance for a pair that is not compared. `pixelCount` is
/// ignored, since all images have one size. The table of types is not symmetric: a packed
/// read-back is only accepted against a packed source.
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
            // Both packed: all four bytes in place; the caller's formats do not matter.
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

}  // namespace texprobe

#endif
