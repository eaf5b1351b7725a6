// The conversions of one element to the 8-bit scale.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>

#include "measuring/conversions.h"
#include "support/slow_distance.h"

namespace texprobe {
namespace {

using tests::slow_float_to_8bit;
using tests::slow_half_to_8bit;

int half_to_8bit(unsigned bits) {
    return to_8bit(QORFloat16{static_cast<std::uint16_t>(bits)});
}

float float_of_bits(std::uint32_t bits) {
    float value = 0;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

TEST(ByteConversion, keeps_every_byte) {
    for (int value = 0; value < 256; ++value) {
        EXPECT_EQ(to_8bit(static_cast<std::uint8_t>(value)), value);
    }
}

TEST(ShortConversion, is_the_high_byte_without_rounding) {
    EXPECT_EQ(to_8bit(std::uint16_t{0x0000}), 0);
    EXPECT_EQ(to_8bit(std::uint16_t{0x00FF}), 0);
    EXPECT_EQ(to_8bit(std::uint16_t{0x0100}), 1);
    EXPECT_EQ(to_8bit(std::uint16_t{0x80FF}), 128);
    EXPECT_EQ(to_8bit(std::uint16_t{0xFFFF}), 255);
    for (unsigned value = 0; value < 65536; ++value) {
        ASSERT_EQ(to_8bit(static_cast<std::uint16_t>(value)), static_cast<int>(value / 256));
    }
}

TEST(HalfConversion, gives_the_values_worked_out_by_hand) {
    EXPECT_EQ(half_to_8bit(0x0000), 0);    // 0.0
    EXPECT_EQ(half_to_8bit(0x3400), 64);   // 0.25
    EXPECT_EQ(half_to_8bit(0x3800), 128);  // 0.5
    EXPECT_EQ(half_to_8bit(0x3BFF), 255);  // the largest below 1.0
    EXPECT_EQ(half_to_8bit(0x3C00), 255);  // 1.0
    // 2^-8: s = 0x400, t = 0x10020, t >> 8 = 0x100, less 1 is 0xFF.
    EXPECT_EQ(half_to_8bit(0x1C00), 0);
    // 2^-7: t >> 7 = 0x200, less 1 is 0x1FF.
    EXPECT_EQ(half_to_8bit(0x2000), 1);
    // 0.75: s = 0x600, t = 0x18030, t >> 1 = 0xC018.
    EXPECT_EQ(half_to_8bit(0x3A00), 192);
}

TEST(HalfConversion, is_0_for_every_subnormal_and_for_the_smallest_normal_numbers) {
    for (unsigned bits = 0; bits <= 0x0400; ++bits) ASSERT_EQ(half_to_8bit(bits), 0) << bits;
}

TEST(HalfConversion, is_0_with_the_sign_bit_set_whatever_the_rest) {
    for (unsigned bits = 0x8000; bits <= 0xFFFF; ++bits) ASSERT_EQ(half_to_8bit(bits), 0) << bits;
}

TEST(HalfConversion, is_255_from_1_up_with_infinity_and_nan) {
    for (unsigned bits = 0x3C00; bits <= 0x7FFF; ++bits) {
        ASSERT_EQ(half_to_8bit(bits), 255) << bits;
    }
}

TEST(HalfConversion, never_falls_as_the_positive_value_rises) {
    for (unsigned bits = 1; bits <= 0x7FFF; ++bits) {
        ASSERT_GE(half_to_8bit(bits), half_to_8bit(bits - 1)) << bits;
    }
}

/// The value of a finite, positive half float.
double value_of_half(unsigned bits) {
    const int exponent = static_cast<int>(bits >> 10);
    const int mantissa = static_cast<int>(bits & 0x3FF);
    return exponent == 0 ? std::ldexp(mantissa, -24) : std::ldexp(1024 + mantissa, exponent - 25);
}

unsigned half_nearest_to(double value) {
    unsigned nearest = 0;
    for (unsigned bits = 1; bits <= 0x3C00; ++bits) {
        if (std::abs(value_of_half(bits) - value) < std::abs(value_of_half(nearest) - value)) {
            nearest = bits;
        }
    }
    return nearest;
}

TEST(HalfConversion, of_the_half_nearest_to_k_255ths_is_k_and_one_more_from_240_to_254) {
    for (int k = 0; k <= 255; ++k) {
        const int expected = k >= 240 && k <= 254 ? k + 1 : k;
        EXPECT_EQ(half_to_8bit(half_nearest_to(k / 255.0)), expected) << k;
    }
}

TEST(HalfConversion, equals_the_slow_one_for_all_65536_values) {
    for (unsigned bits = 0; bits < 65536; ++bits) {
        ASSERT_EQ(half_to_8bit(bits), slow_half_to_8bit(static_cast<std::uint16_t>(bits))) << bits;
    }
}

TEST(FloatConversion, gives_255_for_0_and_for_1) {
    EXPECT_EQ(to_8bit(0.0f), 255);
    EXPECT_EQ(to_8bit(-0.0f), 255);
    EXPECT_EQ(to_8bit(1.0f), 255);
}

TEST(FloatConversion, of_k_255ths_is_k) {
    for (int k = 1; k <= 255; ++k) {
        EXPECT_EQ(to_8bit(static_cast<float>(k) / 255.0f), k) << k;
    }
}

TEST(FloatConversion, takes_1_before_it_keeps_the_high_byte) {
    EXPECT_EQ(to_8bit(0.5f), 127);          // 0x80000000 - 1
    EXPECT_EQ(to_8bit(1.0f / 256.0f), 0);   // 0x01000000 - 1
    EXPECT_EQ(to_8bit(257.0f / 65536), 1);  // 0x01010000 - 1
    EXPECT_EQ(to_8bit(std::ldexp(1.0f, -32)), 0);
    EXPECT_EQ(to_8bit(std::nextafter(1.0f, 0.0f)), 255);  // 0xFFFFFF00 - 1
}

TEST(FloatConversion, wraps_around_above_1) {
    EXPECT_EQ(to_8bit(1.5f), 127);
    EXPECT_EQ(to_8bit(2.0f), 255);
    EXPECT_EQ(to_8bit(2.25f), 63);
    EXPECT_EQ(to_8bit(4194304.5f), 127);  // 2^22 + 0.5
    EXPECT_EQ(to_8bit(8388609.0f), 255);  // 2^23 + 1: no fraction is left
}

TEST(FloatConversion, wraps_around_below_0) {
    EXPECT_EQ(to_8bit(-0.25f), 191);  // 0xC0000000 - 1
    EXPECT_EQ(to_8bit(-1.0f), 255);
    EXPECT_EQ(to_8bit(-1.5f), 127);
    EXPECT_EQ(to_8bit(-std::ldexp(1.0f, -32)), 255);  // 0xFFFFFFFF - 1
}

TEST(FloatConversion, is_255_for_whatever_is_smaller_than_a_unit_of_the_scale) {
    EXPECT_EQ(to_8bit(std::nextafter(std::ldexp(1.0f, -32), 0.0f)), 255);
    EXPECT_EQ(to_8bit(std::numeric_limits<float>::min()), 255);
    EXPECT_EQ(to_8bit(std::numeric_limits<float>::denorm_min()), 255);
    EXPECT_EQ(to_8bit(-std::numeric_limits<float>::denorm_min()), 255);
    EXPECT_EQ(to_8bit(std::nextafter(-std::ldexp(1.0f, -32), 0.0f)), 255);
}

TEST(FloatConversion, is_255_for_nan_and_infinities) {
    EXPECT_EQ(to_8bit(kNaN), 255);
    EXPECT_EQ(to_8bit(-kNaN), 255);
    EXPECT_EQ(to_8bit(float_of_bits(0x7F800001u)), 255);  // a signalling NaN
    EXPECT_EQ(to_8bit(float_of_bits(0xFFFFFFFFu)), 255);
    EXPECT_EQ(to_8bit(kInfinity), 255);
    EXPECT_EQ(to_8bit(-kInfinity), 255);
}

TEST(FloatConversion, is_255_at_both_ends_of_the_64_bit_range_and_beyond) {
    for (const float end : {std::ldexp(1.0f, 31), std::ldexp(1.0f, 32)}) {  // 2^63, 2^64 scaled
        for (const float sign : {1.0f, -1.0f}) {
            EXPECT_EQ(to_8bit(sign * end), 255) << sign * end;
            EXPECT_EQ(to_8bit(sign * std::nextafter(end, 0.0f)), 255) << sign * end;
            EXPECT_EQ(to_8bit(sign * std::nextafter(end, kInfinity)), 255) << sign * end;
        }
    }
    EXPECT_EQ(to_8bit(std::numeric_limits<float>::max()), 255);
    EXPECT_EQ(to_8bit(std::numeric_limits<float>::lowest()), 255);
}

TEST(FloatConversion, equals_the_slow_one_for_every_sign_and_exponent) {
    std::mt19937 random(20);
    for (std::uint32_t signAndExponent = 0; signAndExponent < 512; ++signAndExponent) {
        for (int i = 0; i < 400; ++i) {
            // The ends of each range of mantissas, then random ones.
            const std::uint32_t mantissa = i < 8    ? static_cast<std::uint32_t>(i)
                                           : i < 16 ? 0x7FFFFFu - static_cast<std::uint32_t>(i - 8)
                                           : i < 39
                                               ? 1u << (i - 16)
                                               : static_cast<std::uint32_t>(random()) & 0x7FFFFFu;
            const std::uint32_t bits = (signAndExponent << 23) | mantissa;
            ASSERT_EQ(to_8bit(float_of_bits(bits)), slow_float_to_8bit(float_of_bits(bits)))
                << std::hex << bits;
        }
    }
}

}  // namespace
}  // namespace texprobe
