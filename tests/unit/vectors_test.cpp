// The conversions as compiled for each kind of vectors that this processor has.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "TexProbe/distance.h"
#include "TexProbe/vectors.h"
#include "slow_distance.h"

namespace {

using texprobe::tests::slow_float_to_8bit;
using texprobe::tests::slow_half_to_8bit;

std::vector<QORFloat16> all_halves() {
    std::vector<QORFloat16> halves;
    for (unsigned bits = 0; bits < 65536; ++bits) {
        halves.push_back({static_cast<std::uint16_t>(bits)});
    }
    return halves;
}

/// Floats of every sign and exponent, the ends of each range of mantissas among them.
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

template <typename Element, typename Run>
std::vector<std::uint8_t> convert(const std::vector<Element>& elements, Run run) {
    std::vector<std::uint8_t> bytes(elements.size());
    const Element* source = elements.data();
    std::uint8_t* target = bytes.data();
    const std::size_t count = elements.size();
    run([=] {
        for (std::size_t i = 0; i < count; ++i) {
            target[i] = static_cast<std::uint8_t>(to_8bit(source[i]));
        }
        return true;
    });
    return bytes;
}

template <typename Run>
void expect_conversions_equal_the_slow_ones(Run run) {
    const auto halves = all_halves();
    const auto fromHalves = convert(halves, run);
    for (std::size_t i = 0; i < halves.size(); ++i) {
        ASSERT_EQ(fromHalves[i], slow_half_to_8bit(halves[i].bits)) << i;
    }
    const auto floats = floats_of_every_kind();
    const auto fromFloats = convert(floats, run);
    for (std::size_t i = 0; i < floats.size(); ++i) {
        ASSERT_EQ(fromFloats[i], slow_float_to_8bit(floats[i])) << floats[i];
    }
}

TEST(Vectors, convert_alike_on_any_processor) {
    expect_conversions_equal_the_slow_ones([](auto loop) { return run_portably(loop); });
}

TEST(Vectors, convert_alike_on_the_widest) {
    expect_conversions_equal_the_slow_ones([](auto loop) { return run_on_widest_vectors(loop); });
}

#ifdef __x86_64__

TEST(Vectors, convert_alike_on_avx2) {
    if (!has_avx2()) GTEST_SKIP() << "this processor has no AVX2";
    expect_conversions_equal_the_slow_ones([](auto loop) { return run_on_avx2(loop); });
}

TEST(Vectors, convert_alike_on_avx512) {
    if (!has_avx512()) GTEST_SKIP() << "this processor has no AVX-512";
    expect_conversions_equal_the_slow_ones([](auto loop) { return run_on_avx512(loop); });
}

#endif

}  // namespace
