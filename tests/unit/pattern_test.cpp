// The test pattern, and the transfer format of each texture format.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <vector>

#include "guarded_image.h"
#include "measuring/pattern.h"
#include "support/formats.h"

namespace texprobe {
namespace {

long scriptedRandom = 0;
int randomCalls = 0;

}  // namespace

/// Replaces the library's in the whole program.
extern "C" long random() {
    ++randomCalls;
    return scriptedRandom;
}

namespace {

using tests::GuardedImage;
using tests::kPixels;

constexpr GLenum kTypes[] = {GL_UNSIGNED_BYTE, GL_FLOAT, GL_HALF_FLOAT_ARB};
constexpr GLenum kIntegerTypes[] = {GL_UNSIGNED_BYTE, GL_UNSIGNED_SHORT,
                                    GL_UNSIGNED_INT_8_8_8_8_REV, GL_UNSIGNED_INT, 0};
constexpr std::size_t kSizesOfImages[] = {kPixels,     2 * kPixels, 3 * kPixels,  4 * kPixels,
                                          6 * kPixels, 8 * kPixels, 12 * kPixels, 16 * kPixels};

template <typename Element>
std::vector<Element> pattern(std::size_t size, GLenum type, long step) {
    scriptedRandom = step;
    std::vector<Element> elements(size / sizeof(Element));
    test_fill_data(elements.data(), size, type);
    return elements;
}

std::uint32_t bits_of(float value) {
    std::uint32_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

TEST(Pattern, of_integer_types_is_an_arithmetic_progression_of_words_from_0) {
    for (const GLenum type : kIntegerTypes) {
        for (const std::size_t size : kSizesOfImages) {
            std::uint32_t expected = 0;
            for (const std::uint32_t word : pattern<std::uint32_t>(size, type, 0x6B8B4567)) {
                ASSERT_EQ(word, expected) << type << " " << size;
                expected += 0x6B8B4567;
            }
        }
    }
}

TEST(Pattern, of_floats_gives_the_values_worked_out_by_hand) {
    EXPECT_EQ(bits_of(pattern_float(0x00000000u)), 0x2F800000u);  // 2^-32
    EXPECT_EQ(bits_of(pattern_float(0x00000001u)), 0x30000000u);  // 2^-31
    EXPECT_EQ(bits_of(pattern_float(0x00000002u)), 0x30400000u);  // 3 * 2^-32
    EXPECT_EQ(bits_of(pattern_float(0x3FFFFFFFu)), 0x3E800000u);  // 0.25
    EXPECT_EQ(bits_of(pattern_float(0x7FFFFFFFu)), 0x3F000000u);  // 0.5
    EXPECT_EQ(bits_of(pattern_float(0xFFFFFE7Fu)), 0x3F7FFFFEu);  // a tie: to even, down
    EXPECT_EQ(bits_of(pattern_float(0xFFFFFEFFu)), 0x3F7FFFFFu);  // exact
    EXPECT_EQ(bits_of(pattern_float(0xFFFFFF7Eu)), 0x3F7FFFFFu);  // just below a tie
    EXPECT_EQ(bits_of(pattern_float(0xFFFFFF7Fu)), 0x3F800000u);  // a tie: to even, up
    EXPECT_EQ(bits_of(pattern_float(0xFFFFFFFEu)), 0x3F800000u);
    EXPECT_EQ(bits_of(pattern_float(0xFFFFFFFFu)), 0x3F800000u);  // 1.0
}

TEST(Pattern, of_floats_and_halves_converts_every_element_in_memory_order) {
    for (const std::size_t size : kSizesOfImages) {
        const auto words = pattern<std::uint32_t>(size, GL_UNSIGNED_BYTE, 0x643C9869);
        const auto floats = pattern<float>(size, GL_FLOAT, 0x643C9869);
        for (std::size_t i = 0; i < words.size(); ++i) {
            ASSERT_EQ(bits_of(floats[i]), bits_of(pattern_float(words[i]))) << i;
        }
        const auto elements = pattern<std::uint16_t>(size, GL_UNSIGNED_SHORT, 0x643C9869);
        const auto halves = pattern<std::uint16_t>(size, GL_HALF_FLOAT_ARB, 0x643C9869);
        for (std::size_t i = 0; i < elements.size(); ++i) {
            ASSERT_EQ(halves[i], pattern_half(elements[i])) << i;
        }
    }
}

/// The largest half float that is not above a normal value.
std::uint16_t half_not_above(double value) {
    int exponent = 0;
    const double fraction = std::frexp(value, &exponent);  // In [1/2, 1).
    const int mantissa = static_cast<int>(std::floor(std::ldexp(fraction, 11))) - 1024;
    return static_cast<std::uint16_t>(((exponent + 14) << 10) + mantissa);
}

TEST(Pattern, of_halves_is_truncated_toward_zero_for_every_element_from_3_up) {
    EXPECT_EQ(pattern_half(0), 0x0200);  // Existing records were made with this pattern.
    EXPECT_EQ(pattern_half(1), 0x0200);
    EXPECT_EQ(pattern_half(2), 0x0300);
    EXPECT_EQ(pattern_half(0x801E), 0x3800);  // The bits that do not fit are dropped.
    EXPECT_EQ(pattern_half(0x801F), 0x3801);
    EXPECT_EQ(pattern_half(0xFFFF), 0x3C00);  // 1.0
    for (unsigned element = 3; element < 65536; ++element) {
        ASSERT_EQ(pattern_half(static_cast<std::uint16_t>(element)),
                  half_not_above((element + 1) / 65536.0))
            << element;
    }
}

TEST(Pattern, draws_one_random_value_and_writes_nothing_past_its_last_whole_word) {
    constexpr std::uint32_t kUntouched = 0xA5A5A5A5u;
    scriptedRandom = 0;
    std::vector<GLenum> types(std::begin(kIntegerTypes), std::end(kIntegerTypes));
    types.push_back(GL_FLOAT);
    for (const GLenum type : types) {
        for (std::size_t size = 0; size <= 9; ++size) {
            std::vector<std::uint32_t> words(3, kUntouched);
            std::vector<std::uint32_t> expected = words;
            std::fill_n(expected.begin(), size / 4, type == GL_FLOAT ? 0x2F800000u : 0u);
            randomCalls = 0;
            test_fill_data(words.data(), size, type);
            EXPECT_EQ(randomCalls, 1);
            EXPECT_EQ(words, expected) << type << " " << size;
        }
    }
}

TEST(Pattern, of_halves_converts_the_last_element_of_whatever_the_buffer_held) {
    using Elements = std::array<std::uint16_t, 5>;
    scriptedRandom = 0;
    const Elements expected[] = {
        {0x7FFF, 0x7FFF, 0x7FFF, 0x7FFF, 0x7FFF},  // size 0 and 1
        {0x3800, 0x7FFF, 0x7FFF, 0x7FFF, 0x7FFF},  // 2 and 3
        {0x0200, 0x0200, 0x7FFF, 0x7FFF, 0x7FFF},  // 4 and 5
        {0x0200, 0x0200, 0x3800, 0x7FFF, 0x7FFF},  // 6 and 7
        {0x0200, 0x0200, 0x0200, 0x0200, 0x7FFF},  // 8 and 9
    };
    for (std::size_t size = 0; size <= 9; ++size) {
        Elements data = {0x7FFF, 0x7FFF, 0x7FFF, 0x7FFF, 0x7FFF};
        test_fill_data(data.data(), size, GL_HALF_FLOAT_ARB);
        EXPECT_EQ(data, expected[size / 2]) << size;
    }
}

TEST(Pattern, is_the_same_at_any_address_and_stays_in_its_memory) {
    for (const GLenum type : kTypes) {
        for (const std::size_t size : kSizesOfImages) {
            const auto expected = pattern<unsigned char>(size, type, 0x66334873);
            // The memory ends with the pattern.
            for (const std::size_t offset : {0u, 1u, 2u, 3u}) {
                GuardedImage memory(size + offset);
                test_fill_data(memory.data() + offset, size, type);
                EXPECT_EQ(std::memcmp(memory.data() + offset, expected.data(), size), 0)
                    << type << " " << size << " " << offset;
            }
        }
    }
}

TEST(BestPixelFormat, is_that_of_the_sixteen_and_leaves_its_outputs_untouched_for_any_other) {
    for (unsigned internalFormat = 0; internalFormat < 0x10000; ++internalFormat) {
        const auto& listed = tests::kFormats;
        const auto row = std::find_if(listed.begin(), listed.end(), [&](const auto& format) {
            return format.internalFormat == internalFormat;
        });
        const bool isListed = row != listed.end();
        unsigned format = 11;
        unsigned type = 22;
        unsigned bytesPerPixel = 33;
        ASSERT_EQ(best_pixel_format(internalFormat, &format, &type, &bytesPerPixel), isListed);
        ASSERT_EQ(format, isListed ? row->format : 11) << std::hex << internalFormat;
        ASSERT_EQ(type, isListed ? row->type : 22) << std::hex << internalFormat;
        ASSERT_EQ(bytesPerPixel, isListed ? row->bytesPerPixel : 33) << std::hex << internalFormat;
    }
}

}  // namespace
}  // namespace texprobe
