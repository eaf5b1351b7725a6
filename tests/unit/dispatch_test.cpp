// The comparison's single entry point: which kernel is used for which pair of pixel types.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <map>
#include <random>
#include <utility>
#include <vector>

#include "guarded_image.h"
#include "measuring/distance.h"
#include "support/slow_distance.h"

namespace texprobe {
namespace {

using namespace tests;

constexpr unsigned kPacked = GL_UNSIGNED_INT_8_8_8_8_REV;
constexpr unsigned kL = GL_LUMINANCE, kLA = GL_LUMINANCE_ALPHA;
constexpr unsigned kOther = GL_UNSIGNED_INT_8_8_8_8;
// Those that are compared, and others.
constexpr unsigned kTypes[] = {kByte,    kShort, kFloat,          kHalf,     kPacked, GL_BYTE,
                               GL_SHORT, GL_INT, GL_UNSIGNED_INT, GL_DOUBLE, kOther,  0};
constexpr unsigned kFormats[] = {GL_RGB, GL_RGBA,  kL,    kLA,      GL_BGR, GL_BGRA,   kPacked,
                                 GL_RED, GL_ALPHA, GL_RG, GL_RGBA8, 0,      0xFFFFFFFF};

using Bytes = std::vector<std::uint8_t>;

Bytes uniform(const Bytes& pixel) {
    Bytes image;
    for (std::size_t p = 0; p < kPixels; ++p) image.insert(image.end(), pixel.begin(), pixel.end());
    return image;
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
        EXPECT_EQ(distance_data_switch(uniform(row.source).data(), row.sourceFormat, row.sourceType,
                                       readBack.data(), row.readFormat, row.readType, kPixels),
                  kPixels * row.sum / row.channels)
            << row.what;
    }
}

// Against the slow comparison, over the whole table of types and layouts, and beyond.

/// Half of the elements are any, the others have an end of the range of mantissas: zeros,
/// infinities, NaNs and the neighbours of every power of two.
void fill(unsigned type, unsigned seed, GuardedImage& image) {
    std::mt19937 random(seed);
    const std::uint32_t mantissa = type == kFloat ? 0x7FFFFF : 0x3FF;
    const std::uint32_t ends[] = {0, 1, mantissa / 2 + 1, mantissa};
    const std::size_t elementSize = element_size(type);
    for (std::size_t i = 0; i < image.size(); i += elementSize) {
        auto bits = static_cast<std::uint32_t>(random());
        if (random() % 2 == 0) bits = (bits & ~mantissa) | ends[random() % 4];
        std::memcpy(image.data() + i, &bits, elementSize);
    }
}

/// One side of a comparison: an image of exactly the size that may be read, as memory and as slowly
/// converted elements.
struct Side {
    Side(unsigned format, unsigned type, std::size_t pastTheEnd, unsigned seed)
        : elements(element_size(type) == 0 ? 0 : elements_per_pixel(format) * kPixels + pastTheEnd),
          image(elements * element_size(type)) {
        fill(type, seed, image);
        converted = slow_8bit_elements(image.data(), elements, type);
    }

    std::size_t elements;
    GuardedImage image;
    std::vector<int> converted;
};

/// The sides of every layout and type, made once for all comparisons.
using Sides = std::map<std::pair<unsigned, unsigned>, Side>;

Sides make_sides(unsigned seed, std::size_t pastTheEnd) {
    Sides sides;
    for (const unsigned type : kTypes) {
        for (const unsigned format : kFormats) {
            const std::size_t extra = format == kLA ? pastTheEnd : 0;
            sides.try_emplace({format, type}, format, type, extra, seed++);
        }
    }
    return sides;
}

/// The layout in which a side is really stored: four bytes per pixel if it is packed.
unsigned stored_format(unsigned format, unsigned type, unsigned otherType, bool isSource) {
    const bool bytes = otherType == kPacked || (isSource && otherType == kByte);
    return type == kPacked && bytes ? kPacked : format;
}

TEST(Dispatch, is_that_of_the_slow_comparison_and_all_ones_with_nothing_read_where_there_is_none) {
    const Sides sources = make_sides(1, 0);
    const Sides readBacks = make_sides(1001, 1);
    std::size_t compared = 0;
    for (const unsigned sourceType : kTypes) {
        for (const unsigned readType : kTypes) {
            for (const unsigned sourceFormat : kFormats) {
                for (const unsigned readFormat : kFormats) {
                    const Side& source = sources.at(
                        {stored_format(sourceFormat, sourceType, readType, true), sourceType});
                    const Side& readBack = readBacks.at(
                        {stored_format(readFormat, readType, sourceType, false), readType});
                    const auto expected = slow_distance(source.converted, sourceFormat, sourceType,
                                                        readBack.converted, readFormat, readType);
                    if (expected != kAllOnes) ++compared;
                    // The number of pixels is not consulted.
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
    // packed source against bytes has the packed code's 3 pairs, and two packed images have one,
    // whatever the formats are called.
    constexpr std::size_t kNames = std::size(kFormats);
    EXPECT_EQ(compared, std::size_t{19} * 30 + kNames * 3 + kNames * kNames);
}

}  // namespace
}  // namespace texprobe
