// What `inspect` says of images, on images that are made here.

#include "inspect/analysis.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <functional>
#include <utility>

namespace texprobe::tests {
namespace {

using ctl::analyse;
using ctl::Channel;
using ctl::Evidence;
using ctl::Image;

// OpenGL's numbers.
constexpr unsigned kRgb = 0x1907;
constexpr unsigned kRgba = 0x1908;
constexpr unsigned kLuminance = 0x1909;
constexpr unsigned kLuminanceAlpha = 0x190A;
constexpr unsigned kBgra = 0x80E1;
constexpr unsigned kByte = 0x1401;
constexpr unsigned kShort = 0x1403;
constexpr unsigned kFloat = 0x1406;
constexpr unsigned kHalf = 0x140B;
constexpr unsigned kPacked = 0x8367;

/// Bytes that look random, and are the same in every run.
std::uint8_t noise(std::size_t i, unsigned seed = 1) {
    std::uint32_t value = static_cast<std::uint32_t>(i) * 2654435761U + seed * 40503U;
    value ^= value >> 15;
    value *= 2246822519U;
    return static_cast<std::uint8_t>((value ^ (value >> 13)) >> 16);
}

Image bytes_image(unsigned format, std::size_t elements,
                  const std::function<std::uint8_t(std::size_t pixel, std::size_t element)>& of) {
    Image image{{format, kByte}, {}};
    for (std::size_t i = 0; i < 16384 * elements; ++i) {
        image.bytes.push_back(of(i / elements, i % elements));
    }
    return image;
}

template <class Element>
Image image_of(unsigned format, unsigned type, std::size_t elements,
               const std::function<Element(std::size_t index)>& of) {
    Image image{{format, type}, std::vector<std::uint8_t>(16384 * elements * sizeof(Element))};
    for (std::size_t i = 0; i < 16384 * elements; ++i) {
        const Element element = of(i);
        std::memcpy(image.bytes.data() + i * sizeof element, &element, sizeof element);
    }
    return image;
}

/// Four random bytes a pixel: red, green, blue, alpha.
Image random_image(unsigned seed = 1) {
    return bytes_image(kRgba, 4,
                       [=](std::size_t p, std::size_t e) { return noise(4 * p + e, seed); });
}

/// Pixel p's bytes from pixel `source(p)`.
Image moved(const Image& image, const std::function<std::size_t(std::size_t)>& source) {
    return bytes_image(
        kRgba, 4, [&](std::size_t p, std::size_t e) { return image.bytes[4 * source(p) + e]; });
}

std::string sentence(const Image& sent, const Image& returned) {
    return analyse({sent, returned, {}, {}, false}).sentence;
}

// Figures

TEST(Analysis, gives_the_errors_of_each_channel_by_hand) {
    Image sent = bytes_image(kRgba, 4, [](std::size_t, std::size_t) { return 100; });
    Image returned = sent;
    returned.bytes[4 * 300 + 0] = 110;  // red, row 2, column 44
    returned.bytes[4 * 301 + 0] = 98;
    returned.bytes[4 * 5 + 3] = 0;  // alpha, row 0, column 5
    const ctl::Analysis analysis = analyse({sent, returned, {}, {}, false});
    ASSERT_EQ(analysis.channels.size(), 4u);
    EXPECT_EQ(analysis.steps, 255u);
    const ctl::ChannelErrors& red = analysis.channels[0];
    EXPECT_EQ(red.channel, Channel::kRed);
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
        return image_of<std::uint16_t>(kLuminance, kShort, 1, [=](std::size_t i) {
            return static_cast<std::uint16_t>(i == 0 ? first : i);
        });
    };
    const auto of16 = analyse({shorts(1000), shorts(1001), {}, {}, true});
    EXPECT_EQ(of16.steps, 65535u);
    EXPECT_NEAR(of16.channels[0].largest, 1, 1e-6);
    EXPECT_EQ(of16.sentence, "Wrong in row 0.");

    const auto floats = [](float first) {
        return image_of<float>(kLuminance, kFloat, 1, [=](std::size_t i) {
            return i == 0 ? first : static_cast<float>(i + 1) / 20000.0F;
        });
    };
    const auto ofFloats = analyse({floats(0.5F), floats(0.5F + 0x1p-24F), {}, {}, true});
    EXPECT_FALSE(ofFloats.steps);
    EXPECT_EQ(ofFloats.channels[0].largest, 0x1p-24);
    EXPECT_EQ(ofFloats.channels[0].pixels, 1u);
}

TEST(Analysis, compares_channels_in_their_true_order) {
    // The same colours, blue first in one word, and red first in bytes.
    const Image sent = image_of<std::uint32_t>(kBgra, kPacked, 1, [](std::size_t i) {
        return std::uint32_t{noise(4 * i + 2)} | std::uint32_t{noise(4 * i + 1)} << 8 |
               std::uint32_t{noise(4 * i)} << 16 | std::uint32_t{noise(4 * i + 3)} << 24;
    });
    EXPECT_EQ(analyse({sent, random_image(), {}, {}, true}).sentence, "The driver is exact.");
}

TEST(Analysis, knows_what_opengl_makes_of_luminance_and_of_a_missing_alpha) {
    const auto luminance =
        bytes_image(kLuminance, 1, [](std::size_t p, std::size_t) { return noise(p); });
    const auto grey = bytes_image(kRgba, 4, [](std::size_t p, std::size_t e) {
        return e == 3 ? std::uint8_t{255} : noise(p);
    });
    EXPECT_EQ(analyse({luminance, grey, {}, {}, true}).sentence, "The driver is exact.");
    const auto withAlpha = bytes_image(
        kLuminanceAlpha, 2, [](std::size_t p, std::size_t e) { return noise(2 * p + e); });
    const auto greyWithAlpha = bytes_image(
        kRgba, 4, [](std::size_t p, std::size_t e) { return noise(2 * p + (e == 3 ? 1 : 0)); });
    EXPECT_EQ(analyse({withAlpha, greyWithAlpha, {}, {}, true}).sentence, "The driver is exact.");
    const auto colours =
        bytes_image(kRgb, 3, [](std::size_t p, std::size_t e) { return noise(3 * p + e); });
    const auto opaque = bytes_image(kRgba, 4, [](std::size_t p, std::size_t e) {
        return e == 3 ? std::uint8_t{255} : noise(3 * p + e);
    });
    EXPECT_EQ(analyse({colours, opaque, {}, {}, true}).sentence, "The driver is exact.");
}

TEST(Analysis, takes_a_step_of_rounding_for_exact_only_where_values_are_rounded) {
    const Image sent = image_of<std::uint16_t>(kRgba, kShort, 4, [](std::size_t i) {
        return static_cast<std::uint16_t>(noise(i) << 8 | 200);
    });
    // x * 256 + 200 of 65535 is x of 255 and a part, which is above a half for an x below 71.
    const Image truncated =
        bytes_image(kRgba, 4, [](std::size_t p, std::size_t e) { return noise(4 * p + e); });
    EXPECT_EQ(analyse({sent, truncated, {}, {}, true}).sentence,
              "The driver is exact, but for rounding.");
    const Image off = bytes_image(kRgba, 4, [](std::size_t p, std::size_t e) {
        return static_cast<std::uint8_t>(noise(4 * p + e) ^ 1);
    });
    EXPECT_EQ(sentence(truncated, off),
              "The image is right, but not exact: values differ by up to 1 of 255.");
}

// The sentences that the whole program does not meet on a scripted driver

TEST(Analysis, names_each_exchange_of_channels) {
    const Image image = random_image();
    const auto with = [&](std::array<std::size_t, 4> order) {
        return sentence(image, bytes_image(kRgba, 4, [&](std::size_t p, std::size_t e) {
                            return image.bytes[4 * p + order[e]];
                        }));
    };
    EXPECT_EQ(with({2, 1, 0, 3}), "Red and blue are exchanged.");
    EXPECT_EQ(with({1, 0, 2, 3}), "Red and green are exchanged.");
    EXPECT_EQ(with({0, 1, 3, 2}), "Blue and alpha are exchanged.");
    EXPECT_EQ(with({1, 2, 0, 3}), "Red holds green, green holds blue, blue holds red.");
    EXPECT_EQ(with({0, 0, 2, 3}), "Green holds red.");
}

TEST(Analysis, does_not_blame_an_alpha_that_is_1_by_definition) {
    const Image sent =
        bytes_image(kRgb, 3, [](std::size_t p, std::size_t e) { return noise(3 * p + e); });
    const Image returned = bytes_image(kRgba, 4, [](std::size_t p, std::size_t e) {
        return e == 3 ? std::uint8_t{255} : noise(3 * p + 2 - e);
    });
    EXPECT_EQ(sentence(sent, returned), "Red and blue are exchanged.");
}

TEST(Analysis, names_the_byte_order_of_floats_and_of_packed_words) {
    const auto floats = [](bool isReversed) {
        Image image = image_of<float>(kLuminance, kFloat, 1, [](std::size_t i) {
            return static_cast<float>(noise(i)) / 256.0F;
        });
        for (std::size_t i = 0; isReversed && i < image.bytes.size(); i += 4) {
            std::swap(image.bytes[i], image.bytes[i + 3]);
            std::swap(image.bytes[i + 1], image.bytes[i + 2]);
        }
        return image;
    };
    const std::string expected = "The bytes of each element are in reverse order.";
    EXPECT_EQ(sentence(floats(false), floats(true)), expected);
    const auto words = [](bool isReversed) {
        return image_of<std::uint32_t>(kBgra, kPacked, 1, [=](std::size_t i) {
            std::uint32_t word = 0;
            for (std::size_t byte = 0; byte < 4; ++byte) {
                word = word << 8 | noise(4 * i + (isReversed ? 3 - byte : byte));
            }
            return word;
        });
    };
    EXPECT_EQ(sentence(words(false), words(true)), expected);
}

TEST(Analysis, names_a_lost_channel) {
    const Image image = random_image();
    const auto with = [&](std::size_t lost, std::uint8_t value) {
        return sentence(image, bytes_image(kRgba, 4, [&](std::size_t p, std::size_t e) {
                            return e == lost ? value : image.bytes[4 * p + e];
                        }));
    };
    EXPECT_EQ(with(3, 0), "Alpha is lost: it is 0 everywhere.");
    EXPECT_EQ(with(3, 255), "Alpha is lost: it is 1 everywhere.");
    EXPECT_EQ(with(1, 0), "Green is lost: it is 0 everywhere.");
    EXPECT_EQ(sentence(image, bytes_image(kRgba, 4, [](std::size_t, std::size_t) { return 51; })),
              "One colour came back everywhere: red 0.2, green 0.2, blue 0.2, alpha 0.2.");
    EXPECT_EQ(sentence(image, bytes_image(kRgba, 4,
                                          [](std::size_t, std::size_t e) {
                                              return e == 3 ? std::uint8_t{255} : std::uint8_t{0};
                                          })),
              "Nothing arrived: red 0, green 0, blue 0, alpha 1 everywhere.");
}

TEST(Analysis, names_shifts_and_turns) {
    const Image image = random_image();
    EXPECT_EQ(sentence(image, moved(image, [](std::size_t p) { return p < 384 ? 0 : p - 384; })),
              "The image is shifted by 3 rows: row 3 holds the sent row 0.");
    EXPECT_EQ(sentence(image, moved(image, [](std::size_t p) { return (p + 128) % 16384; })),
              "The image is shifted by one row: row 0 holds the sent row 1.");
    EXPECT_EQ(sentence(image, moved(image, [](std::size_t p) { return p == 0 ? 0 : p - 1; })),
              "The image is shifted by one pixel towards its end.");
    EXPECT_EQ(sentence(image, moved(image, [](std::size_t p) { return (p + 2) % 16384; })),
              "The image is shifted by 2 pixels towards its beginning.");
    EXPECT_EQ(sentence(image,
                       moved(image, [](std::size_t p) { return (127 - p / 128) * 128 + p % 128; })),
              "The image is upside down: row 0 holds the sent row 127.");
    EXPECT_EQ(
        sentence(image, moved(image, [](std::size_t p) { return p / 128 * 128 + 127 - p % 128; })),
        "The image is mirrored: column 0 holds the sent column 127.");
}

TEST(Analysis, says_which_part_is_wrong) {
    const Image image = random_image();
    const Image other = random_image(7);
    const auto where = [&](const std::function<bool(std::size_t row, std::size_t column)>& isWrong,
                           bool isEmpty) {
        return sentence(image, bytes_image(kRgba, 4, [&](std::size_t p, std::size_t e) {
                            if (!isWrong(p / 128, p % 128)) return image.bytes[4 * p + e];
                            return isEmpty ? std::uint8_t{0} : other.bytes[4 * p + e];
                        }));
    };
    const auto from100 = [](std::size_t row, std::size_t) { return row >= 100; };
    EXPECT_EQ(where(from100, true), "Wrong from row 100 on: nothing arrived there.");
    EXPECT_EQ(where(from100, false), "Wrong from row 100 on.");
    EXPECT_EQ(where([](std::size_t row, std::size_t) { return row < 64; }, true),
              "Wrong up to row 63: nothing arrived there.");
    EXPECT_EQ(where([](std::size_t row, std::size_t) { return row >= 5 && row < 9; }, false),
              "Wrong from row 5 to 8.");
    EXPECT_EQ(where([](std::size_t row, std::size_t) { return row % 2 == 1; }, false),
              "Wrong in every odd row.");
    EXPECT_EQ(where([](std::size_t row, std::size_t) { return row % 2 == 0; }, false),
              "Wrong in every even row.");
    EXPECT_EQ(where([](std::size_t row, std::size_t) { return row == 3 || row == 77; }, false),
              "Wrong in 2 of 128 rows, the first of which is 3.");
    EXPECT_EQ(where([](std::size_t, std::size_t column) { return column >= 64; }, true),
              "Wrong from column 64 on: nothing arrived there.");
}

TEST(Analysis, names_a_stale_image_by_its_test) {
    const Evidence evidence = {random_image(1),
                               random_image(2),
                               {},
                               {{"an old test", random_image(3)},
                                {"an earlier test", random_image(2)},
                                {"the test before", random_image(4)}},
                               false};
    EXPECT_EQ(analyse(evidence).sentence,
              "A stale image came back: that of the test of an earlier test.");
}

TEST(Analysis, does_not_take_a_uniform_image_for_a_stale_one) {
    const auto uniform = bytes_image(kRgba, 4, [](std::size_t, std::size_t) { return 51; });
    const Evidence evidence = {random_image(1), uniform, {}, {{"a test", uniform}}, false};
    EXPECT_EQ(analyse(evidence).sentence,
              "One colour came back everywhere: red 0.2, green 0.2, blue 0.2, alpha 0.2.");
}

TEST(Analysis, counts_the_bits_that_are_kept) {
    const Image sent = random_image();
    const auto bits = [&](std::array<int, 4> of) {
        return sentence(sent, bytes_image(kRgba, 4, [&](std::size_t p, std::size_t e) {
                            const int most = (1 << of[e]) - 1;
                            const int kept = (sent.bytes[4 * p + e] * most + 127) / 255;
                            return static_cast<std::uint8_t>((kept * 255 + most / 2) / most);
                        }));
    };
    EXPECT_EQ(bits({4, 4, 4, 4}), "Kept at 4 bits.");
    EXPECT_EQ(bits({5, 5, 5, 1}),
              "Kept at fewer bits: red at 5, green at 5, blue at 5, alpha at "
              "1.");
    EXPECT_EQ(bits({5, 6, 5, 8}), "Kept at fewer bits: red at 5, green at 6, blue at 5.");

    const auto shorts = image_of<std::uint16_t>(kLuminance, kShort, 1, [](std::size_t i) {
        return static_cast<std::uint16_t>(noise(2 * i) << 8 | noise(2 * i + 1));
    });
    const auto of10 = image_of<std::uint16_t>(kLuminance, kShort, 1, [](std::size_t i) {
        const unsigned value = static_cast<unsigned>(noise(2 * i) << 8 | noise(2 * i + 1)) >> 6;
        return static_cast<std::uint16_t>((value * 65535 + 511) / 1023);
    });
    EXPECT_EQ(sentence(shorts, of10), "Kept at 10 bits.");
}

TEST(Analysis, counts_the_significant_bits_that_are_kept) {
    const auto value = [](std::size_t i) {
        return static_cast<float>((noise(3 * i) << 16 | noise(3 * i + 1) << 8 | noise(3 * i + 2)) +
                                  1) *
               0x1p-24F;
    };
    const auto floats = image_of<float>(kLuminance, kFloat, 1, value);
    const auto halves = image_of<float>(kLuminance, kFloat, 1, [&](std::size_t i) {
        int exponent = 0;
        const float mantissa = std::frexp(value(i), &exponent);
        return std::ldexp(std::floor(std::ldexp(mantissa, 11)), exponent - 11);
    });
    EXPECT_EQ(sentence(floats, halves),
              "Kept as floats of 11 significant bits, as half floats "
              "have.");
}

TEST(Analysis, reads_halves_as_floats_are_read) {
    // 1, 0.5, 2^-24 (the smallest), 65504 (the largest), infinity
    const std::uint16_t bits[] = {0x3C00, 0x3800, 0x0001, 0x7BFF, 0x7C00};
    const float values[] = {1.0F, 0.5F, 0x1p-24F, 65504.0F, HUGE_VALF};
    const ctl::Planes halves = ctl::decode(
        image_of<std::uint16_t>(kLuminance, kHalf, 1, [&](std::size_t i) { return bits[i % 5]; }));
    const ctl::Planes floats = ctl::decode(
        image_of<float>(kLuminance, kFloat, 1, [&](std::size_t i) { return values[i % 5]; }));
    EXPECT_EQ(halves.values, floats.values);
}

TEST(Analysis, says_that_a_buffer_does_not_hold_what_was_written) {
    EXPECT_EQ(analyse({random_image(), random_image(), random_image(2), {}, false}).sentence,
              "The pixel buffer object does not hold what was written into it.");
    EXPECT_EQ(analyse({random_image(), random_image(), random_image(), {}, true}).sentence,
              "The driver is exact.");
}

TEST(Analysis, admits_what_it_does_not_know) {
    EXPECT_EQ(sentence(random_image(1), random_image(2)).substr(0, 80),
              "It differs without a pattern that is known here: in 16384 of 16384 pixels, by up");
    const auto notNumbers = image_of<float>(kLuminance, kFloat, 1,
                                            [](std::size_t i) { return i % 2 == 0 ? NAN : 0.25F; });
    const auto numbers = image_of<float>(
        kLuminance, kFloat, 1, [](std::size_t i) { return static_cast<float>(noise(i)) / 256.0F; });
    EXPECT_EQ(sentence(numbers, notNumbers).substr(0, 49),
              "It differs without a pattern that is known here: ");
}

TEST(Analysis, names_a_structure_besides_lost_precision) {
    const Image sent = random_image();
    const Image swapped = bytes_image(kRgba, 4, [&](std::size_t p, std::size_t e) {
        const std::uint8_t value = sent.bytes[4 * p + (e < 3 ? 2 - e : 3)];
        return static_cast<std::uint8_t>(value ^ 1);
    });
    EXPECT_EQ(sentence(sent, swapped), "Red and blue are exchanged; values are not exact either.");
}

TEST(Analysis, refuses_what_it_cannot_read) {
    EXPECT_THROW(analyse({{{kRgba, 0x1400}, {}}, random_image(), {}, {}, false}),
                 std::invalid_argument);
    Image shortened = random_image();
    shortened.bytes.pop_back();
    EXPECT_THROW(analyse({random_image(), shortened, {}, {}, false}), std::invalid_argument);
}

}  // namespace
}  // namespace texprobe::tests
