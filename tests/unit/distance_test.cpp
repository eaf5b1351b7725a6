// The distance kernels: which channels are compared, and what their differences add up to.

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "guarded_image.h"
#include "measuring/distance.h"

namespace texprobe {
namespace {

using tests::GuardedImage;
using tests::kPixels;

constexpr unsigned kPacked = 0x8367;
constexpr unsigned long long kAllOnes = 18446744073709551615ULL;
constexpr unsigned kLayouts[] = {GL_RGB, GL_RGBA, GL_LUMINANCE, GL_LUMINANCE_ALPHA,
                                 GL_BGR, GL_BGRA, kPacked};

using Bytes = std::vector<std::uint8_t>;
using Codes = std::vector<unsigned>;

/// An image with all pixels equal to `pixel`.
template <typename Element>
std::vector<Element> uniform(const std::vector<Element>& pixel) {
    std::vector<Element> image;
    image.reserve(kPixels * pixel.size() + 1);
    for (std::size_t p = 0; p < kPixels; ++p) image.insert(image.end(), pixel.begin(), pixel.end());
    return image;
}

Bytes uniform(const Bytes& pixel) {
    return uniform<std::uint8_t>(pixel);
}

template <typename T, typename U>
unsigned long long distance(const std::vector<U>& first, unsigned firstFormat,
                            const std::vector<T>& second, unsigned secondFormat) {
    return distance_data_format<T, U>(first.data(), firstFormat, second.data(), secondFormat,
                                      kPixels);
}

TEST(Distance, of_identical_rgba_images_is_0) {
    const Bytes image = uniform({10, 20, 30, 40});
    EXPECT_EQ(distance(image, GL_RGBA, image, GL_RGBA), 0u);
}

TEST(Distance, of_black_and_white_is_16384_times_255_squared_in_every_layout) {
    for (const unsigned layout : kLayouts) {
        const Bytes black(kPixels * 4 + 1, 0);
        const Bytes white(kPixels * 4 + 1, 255);
        EXPECT_EQ(distance(black, layout, white, layout), 1065369600u) << layout;
        EXPECT_EQ(distance(white, layout, black, layout), 1065369600u) << layout;
    }
}

TEST(Distance, counts_every_pixel_with_its_full_square) {
    for (const std::size_t pixel :
         {std::size_t{0}, std::size_t{255}, std::size_t{256}, std::size_t{8191}, kPixels - 1}) {
        Bytes image(kPixels, 100);
        image[pixel] = 103;
        EXPECT_EQ(distance(Bytes(kPixels, 100), GL_LUMINANCE, image, GL_LUMINANCE), 9u) << pixel;
        EXPECT_EQ(distance(image, GL_LUMINANCE, Bytes(kPixels, 100), GL_LUMINANCE), 9u) << pixel;
    }
}

TEST(Distance, over_three_channels_is_truncated) {
    const Bytes image(kPixels * 3, 7);
    Bytes other = image;
    other[0] = 8;
    EXPECT_EQ(distance(image, GL_RGB, other, GL_RGB), 0u);  // 1 / 3
    other[4] = 8;
    EXPECT_EQ(distance(image, GL_RGB, other, GL_RGB), 0u);  // 2 / 3
    other[8] = 8;
    EXPECT_EQ(distance(image, GL_RGB, other, GL_RGB), 1u);  // 3 / 3, of three pixels
}

TEST(Distance, over_four_channels_is_truncated) {
    const Bytes image(kPixels * 4, 7);
    Bytes other = image;
    other[3] = 8;
    other[4] = 5;
    EXPECT_EQ(distance(image, GL_RGBA, other, GL_RGBA), 1u);  // (1 + 4) / 4
}

TEST(Distance, over_luminance_is_the_plain_sum) {
    Bytes image(kPixels, 0);
    image[5] = 1;
    EXPECT_EQ(distance(Bytes(kPixels, 0), GL_LUMINANCE, image, GL_LUMINANCE), 1u);
}

TEST(Distance, from_rgba_to_bgra_is_a_full_reversal) {
    const Bytes rgba = uniform({10, 20, 30, 40});
    const Bytes bgra = uniform({30, 20, 10, 40});
    const Bytes abgr = uniform({40, 30, 20, 10});
    EXPECT_EQ(distance(rgba, GL_RGBA, abgr, GL_BGRA), 0u);
    EXPECT_EQ(distance(rgba, GL_RGBA, abgr, kPacked), 0u);
    EXPECT_EQ(distance(abgr, GL_BGRA, rgba, GL_RGBA), 0u);
    // The same pixels correctly reordered: 10-40, 20-10, 30-20, 40-30.
    EXPECT_EQ(distance(rgba, GL_RGBA, bgra, GL_BGRA), kPixels * (900 + 100 + 100 + 100) / 4);
    EXPECT_EQ(distance(rgba, GL_RGBA, bgra, kPacked), kPixels * 300);
    EXPECT_EQ(distance(bgra, GL_BGRA, rgba, GL_RGBA), kPixels * 300);
}

TEST(Distance, from_the_packed_code_to_rgba_exchanges_red_and_blue) {
    const Bytes rgba = uniform({10, 20, 30, 40});
    const Bytes bgra = uniform({30, 20, 10, 40});
    EXPECT_EQ(distance(bgra, kPacked, rgba, GL_RGBA), 0u);
    EXPECT_NE(distance(bgra, GL_BGRA, rgba, GL_RGBA), 0u);
}

TEST(Distance, between_the_two_bgra_codes_keeps_the_order) {
    const Bytes bgra = uniform({30, 20, 10, 40});
    for (const unsigned first : Codes{GL_BGRA, kPacked}) {
        for (const unsigned second : Codes{GL_BGRA, kPacked}) {
            EXPECT_EQ(distance(bgra, first, bgra, second), 0u);
        }
    }
}

TEST(Distance, from_three_elements_ignores_the_alpha_of_the_other_side) {
    const Bytes rgb = uniform({10, 20, 30});
    const Bytes bgr = uniform({30, 20, 10});
    EXPECT_EQ(distance(rgb, GL_RGB, uniform({10, 20, 30, 0}), GL_RGBA), 0u);
    EXPECT_EQ(distance(bgr, GL_BGR, uniform({10, 20, 30, 0}), GL_RGBA), 0u);
    for (const unsigned second : Codes{GL_BGRA, kPacked}) {
        EXPECT_EQ(distance(rgb, GL_RGB, uniform({30, 20, 10, 0}), second), 0u);
        EXPECT_EQ(distance(bgr, GL_BGR, uniform({30, 20, 10, 0}), second), 0u);
    }
}

TEST(Distance, between_rgb_and_bgr_exchanges_red_and_blue) {
    const Bytes rgb = uniform({10, 20, 30});
    const Bytes bgr = uniform({30, 20, 10});
    EXPECT_EQ(distance(rgb, GL_RGB, bgr, GL_BGR), 0u);
    EXPECT_EQ(distance(bgr, GL_BGR, rgb, GL_RGB), 0u);
    EXPECT_EQ(distance(rgb, GL_RGB, bgr, GL_RGB), kPixels * (400 + 0 + 400) / 3);
}

TEST(Distance, from_luminance_compares_it_with_each_of_the_three_colors) {
    const Bytes luminance = uniform(Bytes{50});
    for (const unsigned second : Codes{GL_RGB, GL_BGR}) {
        EXPECT_EQ(distance(luminance, GL_LUMINANCE, uniform({50, 50, 50}), second), 0u);
        EXPECT_EQ(distance(luminance, GL_LUMINANCE, uniform({51, 52, 53}), second),
                  kPixels * (1 + 4 + 9) / 3);
    }
    for (const unsigned second : Codes{GL_RGBA, GL_BGRA, kPacked}) {
        EXPECT_EQ(distance(luminance, GL_LUMINANCE, uniform({51, 52, 53, 200}), second),
                  kPixels * (1 + 4 + 9) / 3);
    }
}

TEST(Distance, from_luminance_to_luminance_alpha_ignores_the_alpha) {
    const Bytes luminance = uniform(Bytes{50});
    EXPECT_EQ(distance(luminance, GL_LUMINANCE, uniform({52, 200}), GL_LUMINANCE_ALPHA),
              kPixels * 4);
}

TEST(Distance, from_luminance_alpha_to_four_colors_compares_the_alphas) {
    const Bytes luminanceAlpha = uniform({50, 90});
    for (const unsigned second : Codes{GL_RGBA, GL_BGRA, kPacked}) {
        EXPECT_EQ(distance(luminanceAlpha, GL_LUMINANCE_ALPHA, uniform({51, 52, 53, 94}), second),
                  kPixels * (1 + 4 + 9 + 16) / 4);
    }
}

/// L, A of pixel p are (p, p + 1): every alpha equals the luminance of the next pixel.
Bytes chained_luminance_alpha() {
    Bytes image;
    for (std::size_t p = 0; p < kPixels; ++p) {
        image.push_back(static_cast<std::uint8_t>(p));
        image.push_back(static_cast<std::uint8_t>(p + 1));
    }
    return image;
}

TEST(Distance, of_luminance_alpha_compares_each_alpha_with_the_next_luminance) {
    Bytes image = chained_luminance_alpha();
    image.push_back(0);  // What follows the last alpha, 16384 mod 256.
    EXPECT_EQ(distance(image, GL_LUMINANCE_ALPHA, image, GL_LUMINANCE_ALPHA), 0u);

    Bytes constant = uniform({100, 104});
    constant.push_back(100);
    EXPECT_EQ(distance(constant, GL_LUMINANCE_ALPHA, constant, GL_LUMINANCE_ALPHA),
              kPixels * 16 / 2);
}

TEST(Distance, of_luminance_alpha_ignores_the_alphas_of_the_second_image) {
    Bytes first = chained_luminance_alpha();
    Bytes second = first;
    second.push_back(0);
    for (std::size_t p = 0; p < kPixels; ++p) second[2 * p + 1] = 77;
    EXPECT_EQ(distance(first, GL_LUMINANCE_ALPHA, second, GL_LUMINANCE_ALPHA), 0u);
}

TEST(Distance, of_luminance_alpha_counts_the_one_element_past_the_second_image) {
    const Bytes first = chained_luminance_alpha();
    Bytes second = first;
    second.push_back(4);  // 0 would be equal.
    EXPECT_EQ(distance(first, GL_LUMINANCE_ALPHA, second, GL_LUMINANCE_ALPHA), 16u / 2);
}

template <typename Element>
void expect_exactly_one_element_past_is_read() {
    GuardedImage first(kPixels * 2 * sizeof(Element));
    GuardedImage second((kPixels * 2 + 1) * sizeof(Element));
    const auto distanceOfLuminanceAlpha = [&] {
        return distance_data_format<Element, Element>(first.elements<Element>(), GL_LUMINANCE_ALPHA,
                                                      second.elements<Element>(),
                                                      GL_LUMINANCE_ALPHA, kPixels);
    };
    const unsigned long long before = distanceOfLuminanceAlpha();
    unsigned char* pastTheEnd = second.data() + kPixels * 2 * sizeof(Element);
    for (std::size_t i = 0; i < sizeof(Element); ++i) pastTheEnd[i] = 0x3A;
    EXPECT_NE(distanceOfLuminanceAlpha(), before);
}

TEST(Distance, of_luminance_alpha_reads_exactly_one_element_past_the_second_image) {
    expect_exactly_one_element_past_is_read<std::uint8_t>();
    expect_exactly_one_element_past_is_read<std::uint16_t>();
    expect_exactly_one_element_past_is_read<QORFloat16>();
    expect_exactly_one_element_past_is_read<float>();
}

TEST(Distance, of_a_float_second_image_wraps_at_0_and_1) {
    const Bytes black(kPixels, 0);
    const Bytes white(kPixels, 255);
    const std::vector<float> zeros(kPixels, 0.0f);
    const std::vector<float> ones(kPixels, 1.0f);
    EXPECT_EQ(distance(black, GL_LUMINANCE, zeros, GL_LUMINANCE), kPixels * 65025);
    EXPECT_EQ(distance(white, GL_LUMINANCE, zeros, GL_LUMINANCE), 0u);
    EXPECT_EQ(distance(white, GL_LUMINANCE, ones, GL_LUMINANCE), 0u);
}

TEST(Distance, of_a_half_second_image_converts_each_half) {
    const Bytes middle(kPixels, 128);
    const std::vector<QORFloat16> halves(kPixels, QORFloat16{0x3800});
    EXPECT_EQ(distance(middle, GL_LUMINANCE, halves, GL_LUMINANCE), 0u);

    const Bytes black(kPixels, 0);
    for (const unsigned negative : Codes{0x8000u, 0x8001u, 0xB800u, 0xBC00u, 0xFC00u, 0xFE00u}) {
        const std::vector<QORFloat16> negatives(kPixels,
                                                QORFloat16{static_cast<std::uint16_t>(negative)});
        EXPECT_EQ(distance(black, GL_LUMINANCE, negatives, GL_LUMINANCE), 0u) << negative;
    }
}

TEST(Distance, of_a_16_bit_second_image_takes_the_high_byte) {
    const Bytes middle(kPixels, 128);
    const std::vector<std::uint16_t> shorts(kPixels, 0x80FF);
    EXPECT_EQ(distance(middle, GL_LUMINANCE, shorts, GL_LUMINANCE), 0u);
}

TEST(Distance, converts_a_first_image_that_is_not_made_of_bytes) {
    const Bytes middle(kPixels, 128);
    EXPECT_EQ(
        distance(std::vector<std::uint16_t>(kPixels, 0x80FF), GL_LUMINANCE, middle, GL_LUMINANCE),
        0u);
    EXPECT_EQ(distance(std::vector<QORFloat16>(kPixels, QORFloat16{0x3800}), GL_LUMINANCE, middle,
                       GL_LUMINANCE),
              0u);
    EXPECT_EQ(distance(std::vector<float>(kPixels, 0.5f), GL_LUMINANCE, middle, GL_LUMINANCE),
              kPixels);  // 127 against 128
}

TEST(Distance, does_not_read_its_count) {
    const Bytes black(kPixels, 0);
    const Bytes gray(kPixels, 1);
    for (const unsigned count : Codes{0u, 1u, 100u, 16385u, 0xFFFFFFFFu}) {
        EXPECT_EQ((distance_data_format<std::uint8_t, std::uint8_t>(
                      black.data(), GL_LUMINANCE, gray.data(), GL_LUMINANCE, count)),
                  kPixels);
    }
}

bool is_compared(unsigned first, unsigned second) {
    const auto isColor3 = [](unsigned layout) { return layout == GL_RGB || layout == GL_BGR; };
    const auto isColor4 = [](unsigned layout) {
        return layout == GL_RGBA || layout == GL_BGRA || layout == kPacked;
    };
    if (isColor3(first)) return isColor3(second) || isColor4(second);
    if (isColor4(first)) return isColor4(second);
    if (first == GL_LUMINANCE) {
        return second == GL_LUMINANCE || second == GL_LUMINANCE_ALPHA || isColor3(second) ||
               isColor4(second);
    }
    return first == GL_LUMINANCE_ALPHA && (second == GL_LUMINANCE_ALPHA || isColor4(second));
}

TEST(Distance, of_layouts_that_are_not_compared_is_all_ones_with_nothing_read) {
    constexpr unsigned kCodes[] = {GL_RGB,  GL_RGBA,   GL_LUMINANCE, GL_LUMINANCE_ALPHA, GL_BGR,
                                   GL_BGRA, kPacked,   GL_RED,       GL_ALPHA,           GL_RG,
                                   0,       0xFFFFFFFF};
    // Any access to the images would crash.
    GuardedImage nothing(0);
    const auto* image = static_cast<const std::uint8_t*>(nothing.data());
    int refused = 0;
    for (const unsigned first : kCodes) {
        for (const unsigned second : kCodes) {
            if (is_compared(first, second)) continue;
            ++refused;
            EXPECT_EQ((distance_data_format<std::uint8_t, std::uint8_t>(image, first, image, second,
                                                                        kPixels)),
                      kAllOnes)
                << std::hex << first << " " << second;
        }
    }
    EXPECT_EQ(refused, 144 - 30);
}

}  // namespace
}  // namespace texprobe
