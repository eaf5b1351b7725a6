// What `inspect` says of images, on images that are made here.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "ctl/inspect_images.h"

namespace texprobe::tests {
namespace {

using ctl::analyse;
using ctl::Image;
using testing::AllOf;
using testing::EndsWith;
using testing::StartsWith;

using namespace images;

TEST(Analysis, gives_the_errors_of_each_channel_by_hand) {
    const Image sent = bytes_image([](std::size_t) { return 100; });
    Image returned = sent;
    returned.bytes[4 * 300 + 0] = 110;  // red, row 2, column 44
    returned.bytes[4 * 301 + 0] = 98;
    returned.bytes[4 * 5 + 3] = 0;  // alpha, row 0, column 5
    const ctl::Analysis analysis = analyse({sent, returned, {}, {}, false});
    ASSERT_EQ(analysis.channels.size(), 4u);
    EXPECT_EQ(analysis.steps, 255u);
    const ctl::ChannelErrors& red = analysis.channels[0];
    EXPECT_EQ(red.channel, ctl::Channel::kRed);
    EXPECT_NEAR(red.largest, 10, 1e-9);
    EXPECT_NEAR(red.mean, 12.0 / 16384, 1e-9);
    EXPECT_EQ(red.pixels, 2u);
    EXPECT_EQ(red.first->row, 2u);
    EXPECT_EQ(red.first->column, 44u);
    EXPECT_EQ(analysis.channels[1].pixels, 0u);
    EXPECT_FALSE(analysis.channels[1].first);
    EXPECT_NEAR(analysis.channels[3].largest, 100, 1e-9);
    EXPECT_EQ(analysis.channels[3].first->column, 5u);
}

TEST(Analysis, has_the_full_precision_of_16_bits_and_of_floats) {
    const auto shorts = [](std::uint16_t first) {
        return image_of<std::uint16_t>(GL_LUMINANCE, GL_UNSIGNED_SHORT, 1, [=](std::size_t i) {
            return static_cast<std::uint16_t>(i == 0 ? first : i);
        });
    };
    const auto of16 = analyse({shorts(1000), shorts(1001), {}, {}, true});
    EXPECT_EQ(of16.steps, 65535u);
    EXPECT_NEAR(of16.channels[0].largest, 1, 1e-6);
    EXPECT_EQ(of16.sentence,
              "The image is right, but not exact: values differ by up to 1 of 65535, in 1 of 16384 "
              "pixels.");

    const auto floats = [](float first) {
        return image_of<float>(GL_LUMINANCE, GL_FLOAT, 1, [=](std::size_t i) {
            return i == 0 ? first : static_cast<float>(i + 1) / 20000.0F;
        });
    };
    const auto ofFloats = analyse({floats(0.5F), floats(0.5F + 0x1p-24F), {}, {}, true});
    EXPECT_FALSE(ofFloats.steps);
    EXPECT_EQ(ofFloats.channels[0].largest, 0x1p-24);
    EXPECT_EQ(ofFloats.sentence,
              "The image is right, but not exact: values differ by up to 5.96e-08, in 1 of 16384 "
              "pixels.");
}

TEST(Analysis, takes_a_step_of_rounding_for_exact_only_where_values_are_rounded) {
    const auto sent = image_of<std::uint16_t>(GL_RGBA, GL_UNSIGNED_SHORT, 4, [](std::size_t i) {
        return static_cast<std::uint16_t>(noise(i) << 8 | 200);
    });
    // x * 256 + 200 of 65535 is x of 255 and a part, which is above a half for an x below 71.
    const Image truncated = random_image();
    EXPECT_EQ(analyse({sent, truncated, {}, {}, true}).sentence,
              "The driver is exact to 8 bits, which is all that an upload shows.");
    const Image off =
        bytes_image([](std::size_t i) { return static_cast<std::uint8_t>(noise(i) ^ 1); });
    EXPECT_EQ(analyse({truncated, off, {}, {}, false}).sentence,
              "The image is right, but not exact: values differ by up to 1 of 255, in 16384 of "
              "16384 pixels.");
}

TEST(Analysis, says_that_a_test_compares_by_rules_of_its_own) {
    EXPECT_EQ(analyse({random_image(), random_image(), {}, {}, false}).sentence,
              "The driver is right. This no comes from the test itself, which compares by rules of "
              "its own.");
}

TEST(Analysis, names_a_stale_image_by_its_test) {
    EXPECT_EQ(analyse({random_image(1),
                       random_image(2),
                       {},
                       {{"an old test", random_image(3)},
                        {"an earlier test", random_image(2)},
                        {"the test before", random_image(4)}},
                       false})
                  .sentence,
              "A stale image came back: that of the test of an earlier test.");
}

TEST(Analysis, does_not_take_a_uniform_image_for_a_stale_one) {
    const Image uniform = bytes_image([](std::size_t) { return 51; });
    EXPECT_EQ(analyse({random_image(), uniform, {}, {{"a test", uniform}}, false}).sentence,
              "One colour came back everywhere: red 0.2, green 0.2, blue 0.2, alpha 0.2.");
}

TEST(Analysis, reads_halves_as_floats_are_read) {
    // 1, 0.5, 2^-24 (the smallest), 65504 (the largest), infinity
    const std::uint16_t bits[] = {0x3C00, 0x3800, 0x0001, 0x7BFF, 0x7C00};
    const float values[] = {1.0F, 0.5F, 0x1p-24F, 65504.0F, HUGE_VALF};
    const auto halves = image_of<std::uint16_t>(GL_LUMINANCE, GL_HALF_FLOAT_ARB, 1,
                                                [&](std::size_t i) { return bits[i % 5]; });
    const auto floats =
        image_of<float>(GL_LUMINANCE, GL_FLOAT, 1, [&](std::size_t i) { return values[i % 5]; });
    EXPECT_EQ(ctl::decode(halves).values, ctl::decode(floats).values);
}

TEST(Analysis, says_that_a_buffer_does_not_hold_what_was_written) {
    EXPECT_EQ(analyse({random_image(), random_image(), random_image(2), {}, false}).sentence,
              "The pixel buffer object does not hold what was written into it.");
    EXPECT_EQ(analyse({random_image(), random_image(), random_image(), {}, true}).sentence,
              "The driver is exact.");
}

TEST(Analysis, has_no_name_for_values_that_are_no_numbers) {
    const auto numbers = image_of<float>(GL_LUMINANCE, GL_FLOAT, 1, [](std::size_t i) {
        return static_cast<float>(noise(i)) / 256.0F;
    });
    const auto notNumbers = image_of<float>(GL_LUMINANCE, GL_FLOAT, 1,
                                            [](std::size_t i) { return i % 2 == 0 ? NAN : 0.25F; });
    EXPECT_THAT(analyse({numbers, notNumbers, {}, {}, false}).sentence,
                AllOf(StartsWith("It differs without a pattern that is known here: in "),
                      EndsWith(", by up to so much that some values are no numbers.")));
}

TEST(Analysis, refuses_what_it_cannot_read) {
    EXPECT_THROW(analyse({{{GL_RGBA, GL_BYTE}, {}}, random_image(), {}, {}, false}),
                 std::invalid_argument);
    Image shortened = random_image();
    shortened.bytes.pop_back();
    EXPECT_THROW(analyse({random_image(), shortened, {}, {}, false}), std::invalid_argument);
}

}  // namespace
}  // namespace texprobe::tests
