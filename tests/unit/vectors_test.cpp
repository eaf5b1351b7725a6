// The conversions as compiled for each kind of vector that this processor has.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "measuring/conversions.h"
#include "measuring/vectors.h"
#include "support/slow_distance.h"

namespace texprobe {
namespace {

using tests::slow_float_to_8bit;
using tests::slow_half_to_8bit;

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

TEST(Vectors, convert_alike_on_any_processor) {
    expect_conversions_equal_the_slow_ones(convert, convert);
}

TEST(Vectors, convert_alike_on_wide_ones) {
    expect_conversions_equal_the_slow_ones(call_on_wide_vectors<convert<QORFloat16>>,
                                           call_on_wide_vectors<convert<float>>);
}

TEST(Vectors, convert_alike_on_the_widest) {
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

#ifdef TEXPROBE_X86_VECTORS

TEST(Vectors, convert_alike_on_avx2) {
    if (!has_avx2()) GTEST_SKIP() << "this processor has no AVX2";
    expect_conversions_equal_the_slow_ones(call_on_avx2<convert<QORFloat16>>,
                                           call_on_avx2<convert<float>>);
}

TEST(Vectors, convert_alike_on_avx512) {
    if (!has_avx512()) GTEST_SKIP() << "this processor has no AVX-512";
    expect_conversions_equal_the_slow_ones(call_on_avx512<convert<QORFloat16>>,
                                           call_on_avx512<convert<float>>);
}

#endif

}  // namespace
}  // namespace texprobe
