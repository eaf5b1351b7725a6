// The test pattern.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

#include "guarded_image.h"
#include "measuring/pattern.h"
#include "scripted_random.h"

namespace texprobe {
namespace {

using tests::GuardedImage;
using tests::kPixels;
using tests::randomCalls;
using tests::scriptedRandom;

constexpr GLenum kTypes[] = {GL_UNSIGNED_BYTE, GL_UNSIGNED_SHORT, GL_UNSIGNED_INT_8_8_8_8_REV,
                             GL_FLOAT, GL_HALF_FLOAT_ARB};
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

TEST(Pattern, keeps_the_low_32_bits_of_the_random_value) {
    const auto words = pattern<std::uint32_t>(16, GL_UNSIGNED_BYTE, 0x7FFFFFFF);
    EXPECT_EQ(words, (std::vector<std::uint32_t>{0, 0x7FFFFFFF, 0xFFFFFFFE, 0x7FFFFFFD}));
    if (sizeof(long) > 4) {
        const long wide = static_cast<long>(0x1FFFFFFFFLL);
        const auto wrapped = pattern<std::uint32_t>(16, GL_UNSIGNED_BYTE, wide);
        EXPECT_EQ(wrapped, (std::vector<std::uint32_t>{0, 0xFFFFFFFF, 0xFFFFFFFE, 0xFFFFFFFD}));
    }
}

TEST(Pattern, of_step_0_is_all_zeros_or_all_the_smallest_value) {
    for (const std::uint32_t word : pattern<std::uint32_t>(65536, GL_UNSIGNED_BYTE, 0)) {
        ASSERT_EQ(word, 0u);
    }
    for (const float value : pattern<float>(65536, GL_FLOAT, 0)) {
        ASSERT_EQ(value, std::ldexp(1.0f, -32));
    }
    for (const std::uint16_t half : pattern<std::uint16_t>(65536, GL_HALF_FLOAT_ARB, 0)) {
        ASSERT_EQ(half, 0x0200);
    }
}

TEST(Pattern, of_floats_is_the_word_plus_1_scaled_and_rounded_to_nearest) {
    const auto words = pattern<std::uint32_t>(16 * kPixels, GL_UNSIGNED_BYTE, 0x327B23C6);
    const auto floats = pattern<float>(16 * kPixels, GL_FLOAT, 0x327B23C6);
    for (std::size_t i = 0; i < words.size(); ++i) {
        // A double holds all 33 bits, and dividing by a power of two is exact.
        const double exact = (static_cast<double>(words[i]) + 1) / 4294967296.0;
        ASSERT_EQ(bits_of(floats[i]), bits_of(static_cast<float>(exact))) << words[i];
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

TEST(Pattern, of_halves_converts_every_16_bit_element_in_memory_order) {
    for (const std::size_t size : kSizesOfImages) {
        const auto elements = pattern<std::uint16_t>(size, GL_UNSIGNED_SHORT, 0x643C9869);
        const auto halves = pattern<std::uint16_t>(size, GL_HALF_FLOAT_ARB, 0x643C9869);
        for (std::size_t i = 0; i < elements.size(); ++i) {
            ASSERT_EQ(halves[i], pattern_half(elements[i])) << i;
        }
    }
}

TEST(Pattern, of_halves_gives_the_values_worked_out_by_hand) {
    EXPECT_EQ(pattern_half(0x0000), 0x0200);  // Existing records were made with this pattern.
    EXPECT_EQ(pattern_half(0x0001), 0x0200);
    EXPECT_EQ(pattern_half(0x0002), 0x0300);
    EXPECT_EQ(pattern_half(0x0003), 0x0400);  // 2^-14
    EXPECT_EQ(pattern_half(0x0004), 0x0500);  // 5 * 2^-16
    EXPECT_EQ(pattern_half(0x3FFF), 0x3400);  // 0.25
    EXPECT_EQ(pattern_half(0x7FFF), 0x3800);  // 0.5
    EXPECT_EQ(pattern_half(0x801E), 0x3800);  // The bits that do not fit are dropped.
    EXPECT_EQ(pattern_half(0x801F), 0x3801);
    EXPECT_EQ(pattern_half(0xFFFE), 0x3BFF);
    EXPECT_EQ(pattern_half(0xFFFF), 0x3C00);  // 1.0
}

/// The largest half float that is not above a normal value.
std::uint16_t half_not_above(double value) {
    int exponent = 0;
    const double fraction = std::frexp(value, &exponent);  // In [1/2, 1).
    const int mantissa = static_cast<int>(std::floor(std::ldexp(fraction, 11))) - 1024;
    return static_cast<std::uint16_t>(((exponent + 14) << 10) + mantissa);
}

TEST(Pattern, of_halves_is_truncated_toward_zero_for_every_element_from_3_up) {
    for (unsigned element = 3; element < 65536; ++element) {
        ASSERT_EQ(pattern_half(static_cast<std::uint16_t>(element)),
                  half_not_above((element + 1) / 65536.0))
            << element;
    }
}

TEST(Pattern, draws_exactly_one_random_value_whatever_the_type_and_size) {
    for (const GLenum type : kTypes) {
        for (const std::size_t size : {0u, 1u, 3u, 4u, 9u, 4096u}) {
            std::vector<unsigned char> data(size);
            randomCalls = 0;
            test_fill_data(data.data(), size, type);
            EXPECT_EQ(randomCalls, 1) << type << " " << size;
        }
    }
}

TEST(Pattern, writes_nothing_past_its_last_whole_word) {
    scriptedRandom = 0;
    for (const GLenum type : kIntegerTypes) {
        for (std::size_t size = 0; size <= 9; ++size) {
            std::vector<unsigned char> data(12, 0xA5);
            std::vector<unsigned char> expected = data;
            std::fill_n(expected.begin(), size / 4 * 4, 0x00);
            test_fill_data(data.data(), size, type);
            EXPECT_EQ(data, expected) << type << " " << size;
        }
    }
}

TEST(Pattern, of_floats_writes_nothing_past_its_last_whole_word) {
    constexpr std::uint32_t kSmallest = 0x2F800000u;
    constexpr std::uint32_t kUntouched = 0xA5A5A5A5u;
    scriptedRandom = 0;
    for (std::size_t size = 0; size <= 9; ++size) {
        std::array<std::uint32_t, 3> data = {kUntouched, kUntouched, kUntouched};
        test_fill_data(data.data(), size, GL_FLOAT);
        EXPECT_EQ(data[0], size >= 4 ? kSmallest : kUntouched) << size;
        EXPECT_EQ(data[1], size >= 8 ? kSmallest : kUntouched) << size;
        EXPECT_EQ(data[2], kUntouched) << size;
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

TEST(Pattern, stays_within_the_image) {
    for (const GLenum type : kTypes) {
        for (const std::size_t size : kSizesOfImages) {
            GuardedImage image(size);
            test_fill_data(image.data(), size, type);
        }
    }
}

TEST(Pattern, is_the_same_at_any_address) {
    for (const GLenum type : kTypes) {
        const auto expected = pattern<unsigned char>(4096, type, 0x66334873);
        for (const std::size_t offset : {1u, 2u, 3u}) {
            std::vector<unsigned char> memory(4096 + offset);
            test_fill_data(memory.data() + offset, 4096, type);
            EXPECT_TRUE(std::equal(expected.begin(), expected.end(),
                                   memory.begin() + static_cast<std::ptrdiff_t>(offset)))
                << type << " " << offset;
        }
    }
}

}  // namespace
}  // namespace texprobe
