// The faults that drivers have had, each done to an image, and its name: the pattern, or honestly
// none. A wrong name would blame what is right.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "ctl/inspect_images.h"

namespace texprobe::tests {
namespace {

using namespace images;

struct NamedFault {
    const char* what;
    Damage damage;
    /// How the sentence begins.
    const char* sentence;
};

/// The tool's own pattern: an arithmetic progression of words.
Image progression() {
    return image_of<std::uint32_t>(
        kRgba, kByte, 1, [](std::size_t i) { return static_cast<std::uint32_t>(i) * 1804289383U; });
}

void expect_names(const Image& sent, const std::vector<NamedFault>& faults) {
    for (std::size_t i = 0; i < faults.size(); i += IMAGE_STRIDE) {
        const NamedFault& fault = faults[i];
        const std::string named = ctl::analyse({sent, fault.damage(sent), {}, {}, false}).sentence;
        EXPECT_EQ(named.substr(0, std::string(fault.sentence).size()), fault.sentence)
            << fault.what << ": " << named;
    }
}

constexpr const char* kUnknown = "It differs without a pattern that is known here: in ";
constexpr const char* kSmall = "The image is right, but not exact: values differ by up to ";

const std::vector<NamedFault>& faults_of_values() {
    static const std::vector<NamedFault> faults = {
        {"zeros", values([](double) { return 0.0; }), "Nothing arrived: red 0, green 0, blue 0, "},
        {"grey", values([](double) { return 0.2; }),
         "One colour came back everywhere: red 0.2, green 0.2, blue 0.2, alpha 0.2."},
        {"alpha 0", bytes([](int v, std::size_t, std::size_t e) { return e == 3 ? 0 : v; }),
         "Alpha is lost: it is 0 everywhere."},
        {"alpha 1", bytes([](int v, std::size_t, std::size_t e) { return e == 3 ? 255 : v; }),
         "Alpha is lost: it is 1 everywhere."},
        {"no green", bytes([](int v, std::size_t, std::size_t e) { return e == 1 ? 0 : v; }),
         "Green is lost: it is 0 everywhere."},
        {"BGRA", channels({2, 1, 0, 3}), "Red and blue are exchanged."},
        {"GRBA", channels({1, 0, 2, 3}), "Red and green are exchanged."},
        {"RGAB", channels({0, 1, 3, 2}), "Blue and alpha are exchanged."},
        {"GBRA", channels({1, 2, 0, 3}), "Red holds green, green holds blue, blue holds red."},
        {"ABGR", channels({3, 2, 1, 0}),
         "Red holds alpha, green holds blue, blue holds green, alpha holds red."},
        {"RRBA", channels({0, 0, 2, 3}), "Green holds red."},
        {"RRRA", channels({0, 0, 0, 3}), "Green holds red, blue holds red."},
        {"4444", bits({4, 4, 4, 4}), "Kept at 4 bits."},
        {"5551", bits({5, 5, 5, 1}),
         "Kept at fewer bits: red at 5, green at 5, blue at 5, alpha at 1."},
        {"565", bits({5, 6, 5, 8}), "Kept at fewer bits: red at 5, green at 6, blue at 5."},
        {"low bits cut", bytes([](int v, std::size_t, std::size_t) { return v & 0xF8; }),
         "Kept at 5 bits."},
        {"lowest bit cut", bytes([](int v, std::size_t, std::size_t) { return v & 0xFE; }),
         "Kept at 7 bits."},
        {"lowest bit noise", low_noise(1), kSmall},
        {"lowest bit of one pixel",
         bytes([](int v, std::size_t p, std::size_t) { return p == 4000 ? v ^ 1 : v; }),
         "The image is right, but not exact: values differ by up to 1 of 255, in 1 of 16384 "},
        {"one more", bytes([](int v, std::size_t, std::size_t) { return std::min(v + 1, 255); }),
         kSmall},
        {"noise of 3 bits", low_noise(7), kUnknown},
        {"sRGB encoded",
         values(
             [](double v) { return v <= 0.0031308 ? 12.92 * v : 1.055 * pow(v, 1 / 2.4) - .055; },
             3),
         "The colours were encoded as sRGB."},
        {"sRGB decoded",
         values([](double v) { return v <= .04045 ? v / 12.92 : pow((v + .055) / 1.055, 2.4); }, 3),
         "The colours were decoded as sRGB."},
        {"sRGB encoded, alpha too", values([](double v) {
             return v <= 0.0031308 ? 12.92 * v : 1.055 * pow(v, 1 / 2.4) - .055;
         }),
         kUnknown},
        {"half", values([](double v) { return v / 2; }),
         "Red, green, blue, alpha came back as 0.5 times what was sent."},
        {"half, but not alpha", values([](double v) { return v / 2; }, 3),
         "Red, green, blue came back as 0.5 times what was sent."},
        {"double", values([](double v) { return v * 2; }, 3),
         "Red, green, blue came back as 2 times what was sent."},
        {"brighter", values([](double v) { return v + 0.2; }, 3),
         "Red, green, blue came back as what was sent plus 0.2."},
        {"darker", values([](double v) { return v - 0.2; }, 3),
         "Red, green, blue came back as what was sent minus 0.2."},
        {"studio range", values([](double v) { return (16 + 219 * v) / 255; }, 3),
         "Red, green, blue came back as 0.859 times what was sent plus 0.0627."},
        {"inverted", values([](double v) { return 1 - v; }),
         "Red, green, blue, alpha came back inverted."},
        {"red inverted", values([](double v) { return 1 - v; }, 1), "Red came back inverted."},
        {"gamma 1.8", values([](double v) { return pow(v, 1.8); }, 3), kUnknown},
        {"clamped at a half", values([](double v) { return std::min(v, 0.5); }), kUnknown},
        {"BGRA and lowest bit noise", both(channels({2, 1, 0, 3}), low_noise(1)),
         "Red and blue are exchanged; values are not exact either."},
        {"BGRA of 4 bits", both(channels({2, 1, 0, 3}), bits({4, 4, 4, 4})), kUnknown},
    };
    return faults;
}

const std::vector<NamedFault>& faults_of_places() {
    using std::size_t;
    static const std::vector<NamedFault> faults = {
        {"3 rows up", pixels([](size_t p) { return p < 384 ? p : p - 384; }),
         "The image is shifted by 3 rows: row 3 holds the sent row 0."},
        {"a row down", pixels([](size_t p) { return p + 128; }),
         "The image is shifted by one row: row 0 holds the sent row 1."},
        {"a pixel on", pixels([](size_t p) { return p == 0 ? 0 : p - 1; }),
         "The image is shifted by one pixel towards its end."},
        {"2 pixels back", pixels([](size_t p) { return p + 2; }),
         "The image is shifted by 2 pixels towards its beginning."},
        {"a byte on", moved_bytes([](size_t i) { return i - 1; }),
         "The image is shifted by one byte towards its end."},
        {"3 bytes back", moved_bytes([](size_t i) { return i + 3; }),
         "The image is shifted by 3 bytes towards its beginning."},
        {"rows taken to be padded by a pixel", read_apart(512, 516),
         "The sent rows were taken to be 516 bytes apart; they are 512."},
        {"rows taken to be padded by 2 bytes", read_apart(512, 514),
         "The sent rows were taken to be 514 bytes apart; they are 512."},
        {"rows taken to be padded to 1024", read_apart(512, 1024),
         "The sent rows were taken to be 1024 bytes apart; they are 512."},
        {"as if of 3 bytes", read_apart(512, 384),
         "The sent rows were taken to be 384 bytes apart; they are 512."},
        {"rows padded by 16", written_apart(512, 528),
         "The rows came back 528 bytes apart instead of 512."},
        {"rows padded to 1024", written_apart(512, 1024),
         "The rows came back 1024 bytes apart instead of 512."},
        {"upside down", pixels([](size_t p) { return (127 - p / 128) * 128 + p % 128; }),
         "The image is upside down: row 0 holds the sent row 127."},
        {"mirrored", pixels([](size_t p) { return p / 128 * 128 + 127 - p % 128; }),
         "The image is mirrored: column 0 holds the sent column 127."},
        {"turned", pixels([](size_t p) { return 16383 - p; }),
         "The image is turned by 180 degrees: row 0 holds the sent row 127, mirrored."},
        {"transposed", pixels([](size_t p) { return p % 128 * 128 + p / 128; }),
         "Rows and columns are exchanged: row 0 holds the sent column 0."},
        {"turned by 90", pixels([](size_t p) { return p % 128 * 128 + 127 - p / 128; }), kUnknown},
        {"pairs of rows exchanged", pixels([](size_t p) { return p ^ 128; }), kUnknown},
        {"tiles of 4 x 4", pixels([](size_t p) {
             return p / 512 * 512 + p % 16 / 4 * 128 + p % 512 / 16 * 4 + p % 4;
         }),
         kUnknown},
        {"each fourth pixel", pixels([](size_t p) { return p / 256 * 256 + p % 128 / 2 * 2; }),
         kUnknown},
        {"one pixel", part([](size_t r, size_t c) { return r == 33 && c == 5; }),
         "Wrong in one pixel, in row 33, column 5."},
        {"one pixel empty", part([](size_t r, size_t c) { return r == 33 && c == 5; }, true),
         "Wrong in one pixel, in row 33, column 5: nothing arrived there."},
        {"last pixel", part([](size_t r, size_t c) { return r == 127 && c == 127; }),
         "Wrong in one pixel, in row 127, column 127."},
        {"tile", part([](size_t r, size_t c) { return r / 16 == 2 && c / 16 == 4; }),
         "Wrong from row 32 to 47 and from column 64 to 79."},
        {"empty tile", part([](size_t r, size_t c) { return r / 16 == 2 && c / 16 == 4; }, true),
         "Wrong from row 32 to 47 and from column 64 to 79: nothing arrived there."},
        {"two tiles", part([](size_t r, size_t c) { return r / 16 == 2 && (c / 16 | 2) == 2; }),
         "Wrong in 512 pixels, from row 32 to 47 and from column 0 to 47."},
        {"a quarter", part([](size_t r, size_t c) { return r < 64 && c < 64; }),
         "Wrong from row 0 to 63 and from column 0 to 63."},
        {"a diagonal", part([](size_t r, size_t c) { return r == c; }),
         "Wrong in 128 pixels, from row 0 to 127 and from column 0 to 127."},
        {"three pixels", part([](size_t r, size_t c) { return r % 50 == 3 && c == r; }),
         "Wrong in 3 pixels, from row 3 to 103 and from column 3 to 103."},
        {"from row 100", part([](size_t r, size_t) { return r >= 100; }),
         "Wrong in rows 100 to 127."},
        {"from row 100, empty", part([](size_t r, size_t) { return r >= 100; }, true),
         "Wrong in rows 100 to 127: nothing arrived there."},
        {"the upper half", part([](size_t r, size_t) { return r < 64; }, true),
         "Wrong in rows 0 to 63: nothing arrived there."},
        {"all but a row", part([](size_t r, size_t) { return r > 0; }, true),
         "Wrong in rows 1 to 127: nothing arrived there."},
        {"rows 5 to 8", part([](size_t r, size_t) { return r >= 5 && r < 9; }),
         "Wrong in rows 5 to 8."},
        {"odd rows", part([](size_t r, size_t) { return r % 2 == 1; }), "Wrong in every odd row."},
        {"even rows", part([](size_t r, size_t) { return r % 2 == 0; }),
         "Wrong in every even row."},
        {"two rows", part([](size_t r, size_t) { return r == 3 || r == 77; }),
         "Wrong in 2 of 128 rows, the first of which is 3."},
        {"columns", part([](size_t, size_t c) { return c >= 64; }, true),
         "Wrong in columns 64 to 127: nothing arrived there."},
        {"a column", part([](size_t, size_t c) { return c == 9; }), "Wrong in column 9."},
        {"each fourth column", part([](size_t, size_t c) { return c % 4 == 1; }),
         "Wrong in 32 of 128 columns, the first of which is 1."},
        {"a chessboard", part([](size_t r, size_t c) { return (r + c) % 2 == 0; }), kUnknown},
        {"a part and lowest bit noise",
         both(low_noise(1), part([](size_t r, size_t) { return r >= 100; })),
         "Wrong in rows 100 to 127; values are not exact either."},
    };
    return faults;
}

TEST(Fault, is_named_in_an_image_of_noise) {
    expect_names(random_image(), faults_of_values());
    expect_names(random_image(), faults_of_places());
}

TEST(Fault, is_named_in_the_pattern_of_the_tool) {
    expect_names(progression(), faults_of_values());
    expect_names(progression(), faults_of_places());
}

TEST(Fault, is_named_by_its_alpha) {
    const auto withAlpha = [](const std::function<double(double colour, double alpha)>& of) {
        return [=](const Image& sent) {
            Image image = sent;
            for (std::size_t i = 0; i < image.bytes.size(); ++i) {
                const double alpha = sent.bytes[i / 4 * 4 + 3] / 255.0;
                if (i % 4 == 3) continue;
                image.bytes[i] = static_cast<std::uint8_t>(
                    std::lround(std::min(of(sent.bytes[i] / 255.0, alpha), 1.0) * 255));
            }
            return image;
        };
    };
    expect_names(
        random_image(),
        {{"premultiplied", withAlpha([](double c, double a) { return c * a; }),
          "The colours were multiplied by alpha."},
         {"divided", withAlpha([](double c, double a) { return a > 0 ? c / a : 0; }),
          "The colours were divided by alpha."},
         {"over white", withAlpha([](double c, double a) { return c * a + 1 - a; }), kUnknown}});
}

TEST(Fault, is_named_in_other_layouts) {
    const auto wrongTile = [](std::size_t r, std::size_t c) { return r / 16 == 2 && c / 16 == 4; };
    // Other values there are right by chance.
    expect_names(bytes_image(kLuminance, 1, [](std::size_t p, std::size_t) { return noise(p); }),
                 {{"tile of other noise", bytes([=](int v, std::size_t p, std::size_t) {
                       return wrongTile(p / 128, p % 128) ? noise(p, 3) : v;
                   }),
                   "Wrong from row 32 to 47 and from column 64 to 79."},
                  {"padded to 256", read_apart(128, 256),
                   "The sent rows were taken to be 256 bytes apart; they are 128."},
                  {"lowest bit noise", low_noise(1), kSmall},
                  {"lost", values([](double) { return 0.0; }), "Nothing arrived: luminance 0 "},
                  {"sRGB", values([](double v) {
                       return v <= 0.0031308 ? 12.92 * v : 1.055 * pow(v, 1 / 2.4) - .055;
                   }),
                   "The colours were encoded as sRGB."}});
    expect_names(
        bytes_image(kRgb, 3, [](std::size_t p, std::size_t e) { return noise(3 * p + e); }),
        {{"padded to 512", read_apart(384, 512),
          "The sent rows were taken to be 512 bytes apart; they are 384."},
         {"written padded to 512", written_apart(384, 512),
          "The rows came back 512 bytes apart instead of 384."},
         {"a byte on", moved_bytes([](std::size_t i) { return i - 1; }),
          "The image is shifted by one byte towards its end."}});
    const auto shortOf = [](std::size_t i) {
        return static_cast<std::uint16_t>(noise(2 * i) << 8 | noise(2 * i + 1));
    };
    using Short = std::uint16_t;
    expect_names(
        image_of<Short>(kLuminance, kShort, 1, shortOf),
        {{"byte order", reversed_elements(2), "The bytes of each element are in reverse order."},
         {"8 bits", elements<Short>([](Short v) { return Short((v >> 8) * 257); }),
          "Kept at 8 bits."},
         {"10 bits",
          elements<Short>([](Short v) { return Short(((v >> 6) * 65535 + 511) / 1023); }),
          "Kept at 10 bits."},
         {"8 bits, cut", elements<Short>([](Short v) { return Short(v & 0xFF00); }),
          "Kept at 8 bits."},
         {"lowest bit", elements<Short>([](Short v) { return Short(v ^ 1); }), kSmall},
         {"half", elements<Short>([](Short v) { return Short(v / 2); }),
          "Luminance came back as 0.5 times what was sent."}});
}

TEST(Fault, is_named_in_floats) {
    const auto value = [](std::size_t i) {
        return static_cast<float>((noise(3 * i) << 16 | noise(3 * i + 1) << 8 | noise(3 * i + 2)) +
                                  1) *
               0x1p-24F;
    };
    const auto inHalf = [](float v) {
        int exponent = 0;
        const float mantissa = std::frexp(v, &exponent);
        return std::ldexp(std::floor(std::ldexp(mantissa, 11)), exponent - 11);
    };
    expect_names(
        image_of<float>(kLuminance, kFloat, 1, value),
        {{"byte order", reversed_elements(4), "The bytes of each element are in reverse order."},
         {"halves", elements<float>(inHalf),
          "Kept as floats of 11 significant bits, as half floats have."},
         {"8 bits", elements<float>([](float v) { return std::round(v * 255) / 255; }),
          "Kept at 8 bits."},
         {"double", elements<float>([](float v) { return v * 2; }),
          "Luminance came back as 2 times what was sent."},
         {"no numbers", elements<float>([](float v) { return v < 0.5F ? NAN : v; }), kUnknown}});
}

TEST(Fault, of_an_upload_of_16_bits_is_named_as_far_as_8_bits_show_it) {
    const auto sent = image_of<std::uint16_t>(kRgba, kShort, 4, [](std::size_t i) {
        return static_cast<std::uint16_t>(noise(i) << 8 | noise(i, 2));
    });
    const auto eight = [](const Image& image) {
        return bytes_image(kRgba, 4, [&](std::size_t p, std::size_t e) {
            return image.bytes[2 * (4 * p + e) + 1];
        });
    };
    const auto then = [&](const Damage& damage) { return both(eight, damage); };
    expect_names(
        sent,
        {{"cut to 8 bits", eight,
          "The driver is right to 8 bits, which is all that an upload shows. This no comes from "
          "the test itself, which compares by rules of its own."},
         {"BGRA", then(channels({2, 1, 0, 3})), "Red and blue are exchanged."},
         {"4 bits", then(bits({4, 4, 4, 4})), "Kept at 4 bits."},
         {"tile",
          then(part([](std::size_t r, std::size_t c) { return r / 16 == 2 && c / 16 == 4; })),
          "Wrong from row 32 to 47 and from column 64 to 79."},
         {"padded to 2048", both(read_apart(1024, 2048), eight),
          "The sent rows were taken to be 2048 bytes apart; they are 1024."},
         {"half", then(values([](double v) { return v / 2; })),
          "Red, green, blue, alpha came back as 0.50"}});
}

}  // namespace
}  // namespace texprobe::tests
