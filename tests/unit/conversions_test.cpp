// The conversions to the 8-bit scale: of one element by hand, and as compiled for each kind of
// vector that this processor has against the slow ones.

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <utility>
#include <vector>

#include "measuring/conversions.h"
#include "measuring/vectors.h"
#include "support/slow_distance.h"

namespace texprobe {
namespace {

using tests::slow_float_to_8bit;
using tests::slow_half_to_8bit;

TEST(Conversion, of_bytes_keeps_them_and_of_shorts_takes_the_high_byte) {
    for (unsigned value = 0; value < 65536; ++value) {
        ASSERT_EQ(to_8bit(static_cast<std::uint16_t>(value)), static_cast<int>(value / 256));
    }
    for (int value = 0; value < 256; ++value) {
        ASSERT_EQ(to_8bit(static_cast<std::uint8_t>(value)), value);
    }
}

TEST(Conversion, of_halves_gives_the_values_worked_out_by_hand) {
    const std::pair<std::uint16_t, int> rows[] = {
        {0x0000, 0},   {0x0001, 0},  // subnormal
        {0x0400, 0},                 // the smallest normal number
        {0x1C00, 0},                 // 2^-8: s = 0x400, t = 0x10020, t >> 8 = 0x100, less 1 is 0xFF
        {0x2000, 1},                 // 2^-7: t >> 7 = 0x200, less 1 is 0x1FF
        {0x3400, 64},                // 0.25
        {0x3800, 128},               // 0.5
        {0x3A00, 192},               // 0.75: s = 0x600, t = 0x18030, t >> 1 = 0xC018
        {0x3BFF, 255},               // the largest below 1
        {0x3C00, 255},               // 1
        {0x7C00, 255},               // infinity
        {0x7FFF, 255},               // not a number
        {0x8000, 0},                 // with the sign bit, whatever the rest
        {0xBC00, 0},   {0xFFFF, 0}};
    for (const auto& [bits, byte] : rows) EXPECT_EQ(to_8bit(QORFloat16{bits}), byte) << bits;
}

TEST(Conversion, of_floats_gives_the_values_worked_out_by_hand) {
    using Limits = std::numeric_limits<float>;
    const float unit = std::ldexp(1.0f, -32);
    const std::pair<float, int> rows[] = {
        {0.0f, 255},  // 0 - 1
        {-0.0f, 255},
        {1.0f, 255},
        {0.5f, 127},          // 0x80000000 - 1
        {1.0f / 256.0f, 0},   // 0x01000000 - 1
        {257.0f / 65536, 1},  // 0x01010000 - 1
        {unit, 0},
        {std::nextafter(unit, 0.0f), 255},  // smaller than a unit of the scale
        {Limits::denorm_min(), 255},
        {-Limits::denorm_min(), 255},
        {std::nextafter(1.0f, 0.0f), 255},  // 0xFFFFFF00 - 1
        {1.5f, 127},                        // wraps around above 1
        {2.25f, 63},
        {4194304.5f, 127},  // 2^22 + 0.5
        {8388609.0f, 255},  // 2^23 + 1: no fraction is left
        {-0.25f, 191},      // wraps around below 0: 0xC0000000 - 1
        {-1.0f, 255},
        {-1.5f, 127},
        {-unit, 255},  // 0xFFFFFFFF - 1
        {std::ldexp(1.0f, 31), 255},
        {-std::ldexp(1.0f, 31), 255},
        {std::ldexp(1.0f, 32), 255},
        {Limits::max(), 255},
        {Limits::lowest(), 255},
        {Limits::quiet_NaN(), 255},
        {Limits::infinity(), 255},
        {-Limits::infinity(), 255}};
    for (const auto& [value, byte] : rows) EXPECT_EQ(to_8bit(value), byte) << value;
    for (int k = 1; k <= 255; ++k) EXPECT_EQ(to_8bit(static_cast<float>(k) / 255.0f), k);
}

std::vector<QORFloat16> all_halves() {
    std::vector<QORFloat16> halves;
    for (unsigned bits = 0; bits < 65536; ++bits) {
        halves.push_back({static_cast<std::uint16_t>(bits)});
    }
    return halves;
}

/// Floats of every sign and exponent, with the ends of each range of mantissas.
std::vector<float> floats_of_every_kind() {
    std::mt19937 random(31);
    std::vector<float> floats;
    for (std::uint32_t signAndExponent = 0; signAndExponent < 512; ++signAndExponent) {
        for (std::uint32_t i = 0; i < 200; ++i) {
            const auto any = static_cast<std::uint32_t>(random());
            const std::uint32_t mantissa = i < 4 ? i : i < 8 ? 0x800003u - i : any & 0x7FFFFFu;
            const std::uint32_t bits = (signAndExponent << 23) | mantissa;
            float value = 0;
            std::memcpy(&value, &bits, sizeof value);
            floats.push_back(value);
        }
    }
    return floats;
}

template <typename Element>
using Conversion = void (*)(const Element* elements, std::size_t count, std::uint8_t* bytes);

void expect_conversions_equal_the_slow_ones(Conversion<QORFloat16> convertHalves,
                                            Conversion<float> convertFloats) {
    const auto halves = all_halves();
    std::vector<std::uint8_t> bytes(halves.size());
    convertHalves(halves.data(), halves.size(), bytes.data());
    for (std::size_t i = 0; i < halves.size(); ++i) {
        ASSERT_EQ(bytes[i], slow_half_to_8bit(halves[i].bits)) << i;
    }
    const auto floats = floats_of_every_kind();
    bytes.resize(floats.size());
    convertFloats(floats.data(), floats.size(), bytes.data());
    for (std::size_t i = 0; i < floats.size(); ++i) {
        ASSERT_EQ(bytes[i], slow_float_to_8bit(floats[i])) << floats[i];
    }
}

TEST(Vectors, convert_alike_whatever_the_processor_has) {
    expect_conversions_equal_the_slow_ones(convert, convert);
    expect_conversions_equal_the_slow_ones(call_on_wide_vectors<convert<QORFloat16>>,
                                           call_on_wide_vectors<convert<float>>);
    expect_conversions_equal_the_slow_ones(call_on_widest_vectors<convert<QORFloat16>>,
                                           call_on_widest_vectors<convert<float>>);
}

TEST(Vectors, convert_as_many_elements_as_they_are_told) {
    const std::vector<float> floats(100, 0.5f);
    for (std::size_t count = 0; count < floats.size(); ++count) {
        std::vector<std::uint8_t> bytes(floats.size(), 1);
        call_on_widest_vectors<convert<float>>(floats.data(), count, bytes.data());
        for (std::size_t i = 0; i < bytes.size(); ++i) ASSERT_EQ(bytes[i], i < count ? 127 : 1);
    }
}

}  // namespace
}  // namespace texprobe
