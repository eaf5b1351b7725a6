// The comparison's single entry point: which kernel is used for which pair of pixel types.

#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <cstring>
#include <limits>
#include <map>
#include <memory>
#include <random>
#include <utility>
#include <vector>

#include "guarded_image.h"
#include "measuring/distance.h"
#include "measuring/pattern.h"
#include "support/slow_distance.h"

namespace texprobe {
namespace {

using namespace tests;

constexpr unsigned kPacked = GL_UNSIGNED_INT_8_8_8_8_REV;
constexpr unsigned kL = GL_LUMINANCE, kLA = GL_LUMINANCE_ALPHA;
constexpr unsigned kTypes[] = {GL_UNSIGNED_BYTE, GL_UNSIGNED_SHORT, GL_FLOAT, GL_HALF_FLOAT_ARB,
                               kPacked};
constexpr unsigned kFormats[] = {GL_RGB, GL_RGBA, GL_LUMINANCE, GL_LUMINANCE_ALPHA,
                                 GL_BGR, GL_BGRA, kPacked};
constexpr unsigned kUnknownFormats[] = {GL_RED, GL_ALPHA, GL_RG, GL_RGBA8, 0, 0xFFFFFFFF};

using Bytes = std::vector<std::uint8_t>;
using Codes = std::vector<unsigned>;

Bytes uniform(const Bytes& pixel) {
    Bytes image;
    for (std::size_t p = 0; p < kPixels; ++p) image.insert(image.end(), pixel.begin(), pixel.end());
    return image;
}

/// Enough bytes for any layout and type, and for the element after a luminance-alpha image.
Bytes random_bytes(unsigned seed) {
    std::mt19937 random(seed);
    Bytes bytes(kPixels * 4 * 4 + 4);
    for (auto& byte : bytes) byte = static_cast<std::uint8_t>(random());
    return bytes;
}

unsigned long long distance(const Bytes& source, unsigned sourceFormat, unsigned sourceType,
                            const Bytes& readBack, unsigned readFormat, unsigned readType,
                            unsigned pixelCount = kPixels) {
    return distance_data_switch(source.data(), sourceFormat, sourceType, readBack.data(),
                                readFormat, readType, pixelCount);
}

/// Images of one pixel, and the sum of the squares that are compared, divided by the channels.
struct ByHand {
    const char* what;
    Bytes source;
    unsigned sourceFormat;
    unsigned sourceType;
    Bytes readBack;
    unsigned readFormat;
    unsigned readType;
    unsigned sum;
    unsigned channels;
};

TEST(Dispatch, is_the_distance_worked_out_by_hand) {
    // The pairs of channels in their order: differences of 1, 2, 3 and 4 where they are right.
    const ByHand rows[] = {
        {"a copy", {1, 2, 3, 4}, GL_RGBA, kByte, {1, 2, 3, 4}, GL_RGBA, kByte, 0, 4},
        {"in order", {10, 20, 30}, GL_RGB, kByte, {11, 22, 33}, GL_RGB, kByte, 14, 3},
        {"exchanged", {10, 20, 30}, GL_RGB, kByte, {33, 22, 11}, GL_BGR, kByte, 14, 3},
        {"no alpha", {10, 20, 30}, GL_BGR, kByte, {11, 22, 33, 99}, GL_BGRA, kByte, 14, 3},
        {"reversed", {10, 20, 30, 40}, GL_RGBA, kByte, {44, 33, 22, 11}, GL_BGRA, kByte, 30, 4},
        {"grey", {10}, kL, kByte, {11, 12, 13}, GL_RGB, kByte, 14, 3},
        {"no alpha", {10}, kL, kByte, {13, 99}, kLA, kByte, 9, 1},
        {"grey and alpha", {10, 40}, kLA, kByte, {11, 12, 13, 44}, GL_BGRA, kByte, 30, 4},
        // Its alpha is compared with the next grey.
        {"next grey", {10, 20}, kLA, kByte, {13, 99}, kLA, kByte, 9 + 49, 2},
        // A packed source exchanges red and blue, whatever its format.
        {"packed", {10, 20, 30, 40}, GL_BGRA, kPacked, {33, 22, 11, 44}, GL_RGBA, kByte, 30, 4},
        {"packed", {10, 20, 30, 40}, 0, kPacked, {33, 22, 11, 44}, GL_RGBA, kByte, 30, 4},
        {"packed", {10, 20, 30, 40}, GL_RGBA, kPacked, {11, 22, 33, 44}, GL_BGRA, kByte, 30, 4},
        {"both packed", {10, 20, 30, 40}, GL_RGB, kPacked, {11, 22, 33, 44}, kL, kPacked, 30, 4},
        {"opposites", {0, 0, 0, 0}, 0, kPacked, {255, 255, 255, 255}, 0, kPacked, 4 * 65025, 4}};
    for (const ByHand& row : rows) {
        Bytes readBack = uniform(row.readBack);
        readBack.push_back(row.readBack.front());
        EXPECT_EQ(distance(uniform(row.source), row.sourceFormat, row.sourceType, readBack,
                           row.readFormat, row.readType),
                  kPixels * row.sum / row.channels)
            << row.what;
    }
}

TEST(Dispatch, of_types_that_are_not_compared_gives_all_ones) {
    const Bytes image = random_bytes(2);
    for (const unsigned type : Codes{kByte, GL_UNSIGNED_SHORT, GL_FLOAT, GL_HALF_FLOAT_ARB}) {
        EXPECT_EQ(distance(image, GL_BGRA, type, image, GL_BGRA, kPacked), 0xFFFFFFFFFFFFFFFFu);
    }
    EXPECT_EQ(distance(image, GL_RGB, kPacked, image, GL_RGB, kByte), 0xFFFFFFFFFFFFFFFFu);
}

TEST(Dispatch, of_two_packed_images_is_truncated) {
    const Bytes black(kPixels * 4, 0);
    Bytes other = black;
    other[0] = other[7] = other[14] = 1;
    EXPECT_EQ(distance(black, GL_BGRA, kPacked, other, GL_BGRA, kPacked), 0u);  // 3 / 4
    other[65533] = 1;
    EXPECT_EQ(distance(black, GL_BGRA, kPacked, other, GL_BGRA, kPacked), 1u);
}

TEST(Dispatch, of_any_other_type_on_either_side_gives_all_ones_with_nothing_read) {
    GuardedImage nothing(0);
    for (const unsigned other :
         Codes{GL_BYTE, GL_SHORT, GL_UNSIGNED_INT, GL_INT, GL_DOUBLE, GL_UNSIGNED_INT_8_8_8_8, 0}) {
        for (const unsigned type : kTypes) {
            for (const unsigned format : kFormats) {
                EXPECT_EQ(distance_data_switch(nothing.data(), format, other, nothing.data(),
                                               format, type, kPixels),
                          0xFFFFFFFFFFFFFFFFu);
                EXPECT_EQ(distance_data_switch(nothing.data(), format, type, nothing.data(), format,
                                               other, kPixels),
                          0xFFFFFFFFFFFFFFFFu);
            }
        }
    }
}

TEST(Dispatch, does_not_consult_the_pixel_count) {
    const Bytes black(kPixels * 4, 0);
    const Bytes gray(kPixels * 4, 1);
    for (const unsigned count : Codes{0u, 100u, 0xFFFFFFFFu}) {
        EXPECT_EQ(
            distance(black, GL_RGBA, GL_UNSIGNED_BYTE, gray, GL_RGBA, GL_UNSIGNED_BYTE, count),
            kPixels);
        EXPECT_EQ(distance(black, 0, kPacked, gray, 0, kPacked, count), kPixels);
    }
}

// Against the slow comparison, over the whole table of types and layouts.

/// Fills `image` with as many elements of `type` as fit.
using Fill = void (*)(unsigned type, unsigned seed, GuardedImage& image);

void fill_randomly(unsigned, unsigned seed, GuardedImage& image) {
    image.fill_randomly(seed);
}

/// The ends of the range among ordinary values.
void fill_with_extremes(unsigned type, unsigned seed, GuardedImage& image) {
    std::mt19937 random(seed);
    const std::size_t elementSize = element_size(type);
    const unsigned char patterns[] = {0x00, 0xFF, 0x7F, 0x80};
    for (std::size_t i = 0; i < image.size(); i += elementSize) {
        std::memset(image.data() + i, patterns[random() % 4], elementSize);
    }
}

/// Special values of floats and halves, at every position of a vector register.
void fill_with_special_values(unsigned type, unsigned seed, GuardedImage& image) {
    using Limits = std::numeric_limits<float>;
    constexpr float kInfinity = Limits::infinity(), kMost = Limits::max(), kLeast = Limits::min();
    constexpr float kDenormal = Limits::denorm_min(), kNaN = Limits::quiet_NaN();
    const float signalling = std::bit_cast<float>(0x7F800001u);
    const float floats[] = {0.0f,          -0.0f,         1.0f,
                            -1.0f,         1.5f,          -0.25f,
                            0.5f,          2.0f,          kInfinity,
                            -kInfinity,    kNaN,          signalling,
                            kMost,         -kMost,        kLeast,
                            kDenormal,     -kDenormal,    0x1p31f,
                            0x1p32f,       -0x1p31f,      -0x1p32f,
                            2147483520.0f, 4294967040.0f, 8388608.5f,
                            0x1p-32f,      -0x1p-32f,     0.999999940395355f};
    const std::uint16_t halves[] = {0x0000, 0x8000, 0x0001, 0x03FF, 0x0400, 0x0401, 0x1C00,
                                    0x2000, 0x3400, 0x3800, 0x3BFF, 0x3C00, 0x3C01, 0x7BFF,
                                    0x7C00, 0x7C01, 0x7E00, 0x8001, 0xBC00, 0xFC00, 0xFE00,
                                    0xFFFF, 0x7FFF, 0x00FF, 0x0100};
    std::mt19937 random(seed);
    const std::size_t elementSize = element_size(type);
    for (std::size_t i = 0; i < image.size(); i += elementSize) {
        if (type == GL_FLOAT) {
            std::memcpy(image.data() + i, &floats[random() % std::size(floats)], elementSize);
        } else {
            std::memcpy(image.data() + i, &halves[random() % std::size(halves)], elementSize);
        }
    }
}

/// What the probe sends.
void fill_with_the_pattern(unsigned type, unsigned, GuardedImage& image) {
    test_fill_data(image.data(), image.size(), type);
}

/// One side of a comparison: an image of exactly the size that may be read, as memory and as slowly
/// converted elements.
struct Side {
    Side(unsigned format, unsigned type, std::size_t pastTheEnd, Fill fill, unsigned seed)
        : elements(elements_per_pixel(format) * kPixels + pastTheEnd),
          image(elements * element_size(type)) {
        fill(type, seed, image);
        converted = slow_8bit_elements(image.data(), elements, type);
    }

    std::size_t elements;
    GuardedImage image;
    std::vector<int> converted;
};

/// The sides of every layout and type, made once for all comparisons.
class Sides {
public:
    Sides(Fill fill, unsigned seed, std::size_t pastTheEnd) {
        for (const unsigned type : kTypes) {
            for (const unsigned format : kFormats) {
                const std::size_t extra = format == GL_LUMINANCE_ALPHA ? pastTheEnd : 0;
                sides_[{format, type}] = std::make_unique<Side>(format, type, extra, fill, seed++);
            }
        }
    }
    const Side& at(unsigned format, unsigned type) const { return *sides_.at({format, type}); }

private:
    std::map<std::pair<unsigned, unsigned>, std::unique_ptr<Side>> sides_;
};

/// The layout in which a side is really stored: four bytes per pixel if it is packed.
unsigned stored_format(unsigned format, unsigned type, unsigned otherType, bool isSource) {
    const bool bytes = otherType == kPacked || (isSource && otherType == GL_UNSIGNED_BYTE);
    return type == kPacked && bytes ? kPacked : format;
}

void expect_equal_to_slow_comparison(Fill fill, unsigned seed) {
    const Sides sources(fill, seed, 0);
    const Sides readBacks(fill, seed + 1000, 1);
    int compared = 0;
    for (const unsigned sourceType : kTypes) {
        for (const unsigned readType : kTypes) {
            for (const unsigned sourceFormat : kFormats) {
                for (const unsigned readFormat : kFormats) {
                    const Side& source = sources.at(
                        stored_format(sourceFormat, sourceType, readType, true), sourceType);
                    const Side& readBack = readBacks.at(
                        stored_format(readFormat, readType, sourceType, false), readType);
                    const auto expected = slow_distance(source.converted, sourceFormat, sourceType,
                                                        readBack.converted, readFormat, readType);
                    if (expected != kAllOnes) ++compared;
                    ASSERT_EQ(distance_data_switch(source.image.data(), sourceFormat, sourceType,
                                                   readBack.image.data(), readFormat, readType, 0),
                              expected)
                        << std::hex << sourceFormat << "/" << sourceType << " against "
                        << readFormat << "/" << readType;
                }
            }
        }
    }
    // 16 cells without a packed side, and 3 that keep the format, have 30 pairs of layouts each. A
    // packed source against bytes has the packed code's 3 pairs, for each of 7 formats. Two packed
    // images have all 49.
    EXPECT_EQ(compared, 19 * 30 + 7 * 3 + 49);
}

TEST(DispatchAgainstSlowComparison, gives_the_same_on_random_bytes) {
    expect_equal_to_slow_comparison(fill_randomly, 1);
}

TEST(DispatchAgainstSlowComparison, gives_the_same_on_extremes) {
    expect_equal_to_slow_comparison(fill_with_extremes, 3);
}

TEST(DispatchAgainstSlowComparison, gives_the_same_on_special_floats_and_halves) {
    expect_equal_to_slow_comparison(fill_with_special_values, 4);
}

TEST(DispatchAgainstSlowComparison, gives_the_same_on_the_pattern) {
    expect_equal_to_slow_comparison(fill_with_the_pattern, 5);
}

/// All 65536 values of a 16-bit element against bytes that increase with them.
void expect_all_16_bit_values_equal_the_slow_comparison(unsigned type) {
    GuardedImage source(kPixels * 4);
    GuardedImage readBack(kPixels * 4 * 2);
    for (std::size_t i = 0; i < kPixels * 4; ++i) {
        source.data()[i] = static_cast<unsigned char>(i >> 8);
        const auto element = static_cast<std::uint16_t>(i);
        std::memcpy(readBack.data() + 2 * i, &element, 2);
    }
    const auto sourceElements = slow_8bit_elements(source.data(), kPixels * 4, GL_UNSIGNED_BYTE);
    const auto readElements = slow_8bit_elements(readBack.data(), kPixels * 4, type);
    EXPECT_EQ(
        distance_data_switch(source.data(), GL_RGBA, GL_UNSIGNED_BYTE, readBack.data(), GL_RGBA,
                             type, 0),
        slow_distance(sourceElements, GL_RGBA, GL_UNSIGNED_BYTE, readElements, GL_RGBA, type));
    EXPECT_EQ(
        distance_data_switch(readBack.data(), GL_RGBA, type, source.data(), GL_RGBA,
                             GL_UNSIGNED_BYTE, 0),
        slow_distance(readElements, GL_RGBA, type, sourceElements, GL_RGBA, GL_UNSIGNED_BYTE));
}

TEST(DispatchAgainstSlowComparison, gives_the_same_for_every_half) {
    expect_all_16_bit_values_equal_the_slow_comparison(GL_HALF_FLOAT_ARB);
}

TEST(DispatchAgainstSlowComparison, gives_the_same_for_every_short) {
    expect_all_16_bit_values_equal_the_slow_comparison(GL_UNSIGNED_SHORT);
}

TEST(DispatchAgainstSlowComparison, gives_all_ones_for_an_unknown_layout_with_nothing_read) {
    GuardedImage nothing(0);
    for (const unsigned sourceType : kTypes) {
        for (const unsigned readType : kTypes) {
            if (sourceType == kPacked && readType == kPacked) continue;  // Formats do not count.
            for (const unsigned unknown : kUnknownFormats) {
                for (const unsigned known : kFormats) {
                    EXPECT_EQ(distance_data_switch(nothing.data(), known, sourceType,
                                                   nothing.data(), unknown, readType, 0),
                              kAllOnes);
                    if (sourceType == kPacked && readType == GL_UNSIGNED_BYTE) continue;
                    EXPECT_EQ(distance_data_switch(nothing.data(), unknown, sourceType,
                                                   nothing.data(), known, readType, 0),
                              kAllOnes);
                }
            }
        }
    }
}

}  // namespace
}  // namespace texprobe
