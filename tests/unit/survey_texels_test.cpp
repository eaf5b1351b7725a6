// What the survey's formats hold, the pattern, and the tolerances.
// Expected values are worked out by hand from OpenGL's documents.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <set>

#include "pixels/compressed_blocks.h"
#include "pixels/texels.h"

namespace texprobe::survey {
namespace {

using testing::ElementsAre;

double quantized(const char* name, double value) {
    return quantize(*find_format(name), {value, value, value, value})[0];
}

TEST(SurveyQuantize, gives_the_nearest_step_of_normalized_formats) {
    EXPECT_DOUBLE_EQ(quantized("GL_R8", 0.5), 128 / 255.0);  // 127.5 goes up.
    EXPECT_DOUBLE_EQ(quantized("GL_R8", 1.5), 1);
    EXPECT_DOUBLE_EQ(quantized("GL_R8", -1), 0);
    EXPECT_DOUBLE_EQ(quantized("GL_R8_SNORM", -0.5), -64 / 127.0);  // -63.5 goes away from 0.
    EXPECT_DOUBLE_EQ(quantized("GL_R8_SNORM", -2), -1);
    EXPECT_DOUBLE_EQ(quantized("GL_R16", 1 / 3.0), 21845 / 65535.0);
    EXPECT_DOUBLE_EQ(quantized("GL_RGBA4", 0.49), 7 / 15.0);
    EXPECT_THAT(quantize(*find_format("GL_RGB5_A1"), {0.5, 0.1, 0.9, 0.6}),
                ElementsAre(16 / 31.0, 3 / 31.0, 28 / 31.0, 1));
    EXPECT_THAT(quantize(*find_format("GL_RG8"), {1, 1, 1, 1}), ElementsAre(1, 1, 0, 0));
}

TEST(SurveyQuantize, keeps_integers_in_their_range) {
    EXPECT_EQ(quantized("GL_R8UI", 300), 255);
    EXPECT_EQ(quantized("GL_R8I", -300), -128);
    EXPECT_EQ(quantized("GL_R32UI", 4294967295.0), 4294967295.0);
    EXPECT_EQ(quantized("GL_R32I", -2147483648.0), -2147483648.0);
    EXPECT_EQ(quantize(*find_format("GL_RGB10_A2UI"), {2000, 1, 2, 9})[3], 3);
}

TEST(SurveyQuantize, rounds_floats_to_their_mantissa) {
    // A half has 1/1024 between 1 and 2, and 2 between 2048 and 4096.
    EXPECT_EQ(quantized("GL_R16F", 1 + 1 / 1024.0), 1 + 1 / 1024.0);
    EXPECT_EQ(quantized("GL_R16F", 1 + 0.4 / 1024), 1);
    EXPECT_EQ(quantized("GL_R16F", -2051), -2052);
    // Eleven bits have 1/64 there, ten 1/32, and neither has a sign.
    EXPECT_THAT(quantize(*find_format("GL_R11F_G11F_B10F"), {1.01, -3, 1.02, 0}),
                ElementsAre(1 + 1 / 64.0, 0, 1 + 1 / 32.0, 0));
    EXPECT_EQ(quantized("GL_R32F", 0.1), static_cast<double>(0.1F));
}

TEST(SurveyQuantize, shares_the_exponent_of_the_largest) {
    // The largest is 1 = 256/512 * 2^1, so the unit is 1/256.
    EXPECT_THAT(quantize(*find_format("GL_RGB9_E5"), {1, 0.001, 0.003, 0}),
                ElementsAre(1, 0, 1 / 256.0, 0));
    // 511.6/512 rounds to 512, which needs the next exponent.
    EXPECT_THAT(quantize(*find_format("GL_RGB9_E5"), {511.6 / 512, 3 / 512.0, 0, 0}),
                ElementsAre(1, 2 / 256.0, 0, 0));
    // The largest value of all.
    EXPECT_EQ(quantized("GL_RGB9_E5", 1e9), 65408);
}

TEST(SurveyQuantize, takes_the_steps_of_srgb_on_its_curve_and_of_its_alpha_not) {
    // 188 of 255 is 0.502886, as the published table of the curve has it; 187 is 0.496933.
    EXPECT_NEAR(quantized("GL_SRGB8", 0.499), 0.496933, 1e-6);
    EXPECT_NEAR(quantized("GL_SRGB8", 0.5), 0.502886, 1e-6);
    EXPECT_NEAR(srgb_to_linear(10 / 255.0), 10 / 255.0 / 12.92, 1e-12);
    EXPECT_NEAR(quantize(*find_format("GL_SRGB8_ALPHA8"), {0, 0, 0, 0.5})[3], 128 / 255.0, 1e-12);
}

TEST(SurveyPattern, is_held_exactly_by_every_format) {
    for (const Format& format : formats()) {
        for (int i = 0; i < 64 * 64; ++i) {
            const Texel texel = format.is_compressed() ? block_pattern(format, i % 64, i / 64)
                                                       : pattern(format, i % 64, i / 64);
            const Texel held = quantize(format, texel);
            for (std::size_t c = 0; c < 4; ++c) {
                ASSERT_NEAR(texel[c], held[c], 1e-12 * std::abs(held[c]))
                    << format.name << ' ' << i;
                ASSERT_FALSE(texel[c] == 0 && std::signbit(texel[c])) << format.name;
                ASSERT_TRUE(format.has(c) || texel[c] == 0) << format.name;
            }
        }
    }
}

TEST(SurveyPattern, has_every_value_of_small_components_but_the_lowest_signed_one) {
    const auto values = [](const char* name, std::size_t component) {
        std::set<double> found;
        for (int i = 0; i < 64 * 64; ++i) {
            found.insert(pattern(*find_format(name), i % 64, i / 64)[component]);
        }
        return found;
    };
    EXPECT_EQ(values("GL_RGBA8", 3).size(), 256u);
    EXPECT_EQ(values("GL_RGB565", 1).size(), 64u);
    EXPECT_EQ(values("GL_RGB10_A2", 0).size(), 1024u);
    EXPECT_EQ(values("GL_RGB5_A1", 3).size(), 2u);
    const std::set<double> bytes = values("GL_R8I", 0);
    EXPECT_EQ(bytes.size(), 255u);
    EXPECT_EQ(*bytes.begin(), -127);
    EXPECT_EQ(*bytes.rbegin(), 127);
    const std::set<double> words = values("GL_R32UI", 0);
    EXPECT_EQ(*words.begin(), 0);
    EXPECT_EQ(*words.rbegin(), 4294967295.0);
    EXPECT_EQ(*values("GL_DEPTH_COMPONENT32F", 0).rbegin(), 1);
    EXPECT_LT(*values("GL_R16F", 0).begin(), -16);
    EXPECT_GE(*values("GL_R11F_G11F_B10F", 0).begin(), 0);
}

TEST(SurveyPattern, is_split_into_two_that_the_format_holds_and_that_add_up) {
    for (const Format& format : formats()) {
        if (!has_use(format, Use::kBlend)) continue;
        for (int i = 0; i < 64; ++i) {
            const Texel whole = pattern(format, i, 7);
            const auto parts = split(format, whole);
            for (std::size_t c = 0; c < 4; ++c) {
                ASSERT_NEAR(parts[0][c] + parts[1][c], whole[c], 1e-9) << format.name;
                ASSERT_NEAR(quantize(format, parts[0])[c], parts[0][c], 1e-9) << format.name;
            }
        }
    }
    // 255 is 127 and 128; -3 is -1 and -2.
    EXPECT_DOUBLE_EQ(split(*find_format("GL_R8"), {1, 0, 0, 0})[0][0], 127 / 255.0);
    EXPECT_DOUBLE_EQ(split(*find_format("GL_R8_SNORM"), {-3 / 127.0, 0, 0, 0})[0][0], -1 / 127.0);
    EXPECT_EQ(split(*find_format("GL_R16F"), {3, 0, 0, 0})[1][0], 1.5);
}

TEST(SurveyTolerance, is_a_step_of_normalized_formats_and_nothing_of_others) {
    const double lastBit = std::ldexp(1, -24);
    const auto allowed = [](const char* name, double value) {
        return tolerance(*find_format(name), 0, {value, 0, 0, 0});
    };
    EXPECT_DOUBLE_EQ(allowed("GL_R8", 0.5), 1 / 255.0 + lastBit);
    EXPECT_DOUBLE_EQ(allowed("GL_R16_SNORM", -0.5), 1 / 32767.0 + lastBit);
    EXPECT_DOUBLE_EQ(allowed("GL_RGB565", 0.5), 1 / 31.0 + lastBit);
    EXPECT_DOUBLE_EQ(tolerance(*find_format("GL_RGB10_A2"), 3, {0, 0, 0, 1}), 1 / 3.0 + lastBit);
    EXPECT_EQ(allowed("GL_R16F", 0.5), 0);
    EXPECT_EQ(allowed("GL_R32UI", 5), 0);
    EXPECT_EQ(allowed("GL_RGB9_E5", 1), 0);
    // From 187 to 188 of the curve, and up to its end.
    EXPECT_NEAR(allowed("GL_SRGB8", 0.496933), 0.502886 - 0.496933, 1e-6);
    EXPECT_NEAR(allowed("GL_SRGB8", 1), 1 - 0.991102, 1e-6);
    // An absent component is what it is.
    EXPECT_EQ(tolerance(*find_format("GL_R8"), 3, {0, 0, 0, 1}), lastBit);
    EXPECT_DOUBLE_EQ(tolerance(*find_format("GL_LUMINANCE8"), 2, {1, 1, 1, 1}),
                     1 / 255.0 + lastBit);
}

TEST(SurveyStep, is_the_distance_to_the_next_value) {
    EXPECT_EQ(step(*find_format("GL_R16F"), 0, {3, 0, 0, 0}), 2 / 1024.0);
    EXPECT_EQ(step(*find_format("GL_R11F_G11F_B10F"), 2, {0, 0, 0.75, 0}), 0.5 / 32);
    EXPECT_EQ(step(*find_format("GL_RGB9_E5"), 1, {1, 0.1, 0, 0}), 1 / 256.0);
}

TEST(SurveySample, has_luminance_thrice_and_alpha_where_there_is_none) {
    EXPECT_THAT(as_sampled(*find_format("GL_RG8"), {0.1, 0.2, 0, 0}), ElementsAre(0.1, 0.2, 0, 1));
    EXPECT_THAT(as_sampled(*find_format("GL_LUMINANCE8_ALPHA8"), {0.1, 0, 0, 0.4}),
                ElementsAre(0.1, 0.1, 0.1, 0.4));
}

}  // namespace
}  // namespace texprobe::survey
