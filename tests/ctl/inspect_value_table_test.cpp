// Faults of values, in all formats: each is named rightly or honestly unnamed. A wrong name would
// blame what is right.

#include "ctl/inspect_fault_table.h"

namespace texprobe::tests {
namespace {

using namespace fault_table;

double on_grid(double value, int bits) {
    const double steps = std::pow(2.0, bits) - 1;
    return std::nearbyint(value * steps) / steps;
}
double cut_below(double value, int bits) {
    return std::floor(value * 255 / (256 >> bits)) * (256 >> bits) / 255;
}
double significant(double value, int bits) {
    if (value == 0 || !std::isfinite(value)) return value;
    const double unit = std::pow(2.0, std::ilogb(value) + 1 - bits);
    return std::nearbyint(value / unit) * unit;
}
double table_srgb(double v) {
    return v <= 0.0031308 ? 12.92 * v : 1.055 * std::pow(v, 1 / 2.4) - 0.055;
}
double table_linear(double v) {
    return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4);
}

TableFault by_bits(const char* what, const FaultNames& names, const std::array<int, 4>& bits) {
    return by_value(what, names,
                    [=](double v, std::size_t c, const Rgba&) { return on_grid(v, bits[c]); });
}

std::vector<TableFault> value_rows() {
    const TableFault exchanged =
        by_order("red and blue exchanged", {"Red and blue are exchanged."}, {2, 1, 0, 3});
    const TableFault of4Bits = by_bits(
        "4 bits", {"Kept at 4 bits.", "Kept at fewer bits: red at 4, green at 4, blue at 4\\."},
        {4, 4, 4, 4});
    const TableFault noisy = by_noise("lowest bit noise", {kSmall, kNotTried}, 1);
    return {
        by_all(
            "zeros",
            {"Nothing arrived: red 0, green 0, blue 0, alpha 0 everywhere.", "Nothing arrived: "},
            [](double) { return 0.0; }),
        by_colour("black",
                  {"Red is lost: it is 0 everywhere, green is lost: it is 0 everywhere, blue is "
                   "lost: it is 0 everywhere.",
                   "Nothing arrived: |.* (is|are) lost: "},
                  [](double) { return 0.0; }),
        by_all("white",
               {"One colour came back everywhere: red 1, green 1, blue 1, alpha 1.",
                "One colour came back everywhere: "},
               [](double) { return 1.0; }),
        by_all("grey",
               {"One colour came back everywhere: red 0.2, green 0.2, blue 0.2, alpha 0.2.",
                "One colour came back everywhere: "},
               [](double) { return 0.2; }),
        by_order("no red",
                 {"Red is lost: it is 0 everywhere.",
                  "Red is lost: it is 0|Nothing arrived: luminance 0|Luminance is lost"},
                 {4, 1, 2, 3}),
        by_order("no green", {"Green is lost: it is 0 everywhere."}, {0, 4, 2, 3}),
        by_order("no blue", {"Blue is lost: it is 0 everywhere."}, {0, 1, 4, 3}),
        by_order("alpha 0", {"Alpha is lost: it is 0 everywhere."}, {0, 1, 2, 4}),
        by_order("alpha 1", {"Alpha is lost: it is 1 everywhere."}, {0, 1, 2, 5}),
        exchanged,
        by_order("red and green exchanged", {"Red and green are exchanged."}, {1, 0, 2, 3}),
        by_order("blue and alpha exchanged",
                 {"Blue and alpha are exchanged.",
                  "Blue is lost: it is 1 everywhere|Blue holds alpha, alpha holds red|Alpha holds "
                  "luminance"},
                 {0, 1, 3, 2}),
        by_order("GBRA", {"Red holds green, green holds blue, blue holds red."}, {1, 2, 0, 3}),
        by_order("ARGB",
                 {"Red holds alpha, green holds red, blue holds green, alpha holds blue.",
                  "Red holds alpha, green holds red|Red is lost: it is 1 everywhere|One colour "
                  "came back everywhere: luminance 1|(Red|Luminance) and alpha are exchanged"},
                 {3, 0, 1, 2}),
        by_order("ABGR",
                 {"Red holds alpha, green holds blue, blue holds green, alpha holds red.",
                  "Red holds alpha, green holds blue|Red is lost: it is 1 everywhere|One colour "
                  "came back everywhere: luminance 1|(Red|Luminance) and alpha are exchanged|The "
                  "bytes of each"},
                 {3, 2, 1, 0}),
        by_order("red in green", {"Green holds red.", kNotTried}, {0, 0, 2, 3}),
        by_order("red in all colours", {"Green holds red, blue holds red."}, {0, 0, 0, 3}),
        by_order("red in alpha", {"Alpha holds red.", "Alpha holds luminance"}, {0, 1, 2, 0}),
        by_order("alpha in all colours",
                 {"Red holds alpha, green holds alpha, blue holds alpha.",
                  "Luminance holds alpha|One colour came back everywhere: (red|luminance) 1"},
                 {3, 3, 3, 3}),
        by_bits("2 bits",
                {"Kept at 2 bits.", "Kept at fewer bits: red at 2, green at 2, blue at 2\\."},
                {2, 2, 2, 2}),
        of4Bits,
        by_bits("565",
                {"Kept at fewer bits: red at 5, green at 6, blue at 5.",
                 "Kept at (fewer bits: luminance at )?5|Kept at fewer bits: red at 5, green at 6, "
                 "blue at 5, alpha at 16"},
                {5, 6, 5, 16}),
        by_bits(
            "5551",
            {"Kept at fewer bits: red at 5, green at 5, blue at 5, alpha at 1.",
             "Kept at fewer bits: (.* at 5.*alpha at 1|red at 5, green at 5, blue at 5\\.)|Kept "
             "at 5 bits"},
            {5, 5, 5, 1}),
        by_bits("332",
                {"Kept at fewer bits: red at 3, green at 3, blue at 2.",
                 "Kept at (fewer bits: luminance at )?3|Kept at fewer bits: red at 3, green at 3, "
                 "blue at 2, alpha at 16"},
                {3, 3, 2, 16}),
        by_bits("10, 10, 10, 2",
                {"Kept at fewer bits: alpha at 2.", "Kept at (10 bits|fewer bits)"},
                {10, 10, 10, 2}),
        by_all("16 bits", {kRight, "Kept at 16 bits|The image is right"},
               [](double v) { return on_grid(v, 16); }),
        by_all("8 bits", {kRight, "Kept at 8 bits"}, [](double v) { return on_grid(v, 8); }),
        by_all("8 bits cut", {kRight, "Kept at 8 bits|The image is right, but not exact"},
               [](double v) { return std::floor(v * 255) / 255; }),
        by_all("10 bits", {kRight, "Kept at 10 bits"}, [](double v) { return on_grid(v, 10); }),
        by_all("12 bits", {kRight, "Kept at 12 bits|The image is right, but not exact"},
               [](double v) { return on_grid(v, 12); }),
        by_all("low bits cut", {"Kept at 5 bits."}, [](double v) { return cut_below(v, 5); }),
        by_all("lowest bit cut", {"Kept at 7 bits.", kNotTried},
               [](double v) { return cut_below(v, 7); }),
        by_all("halves", {kRight, "Kept as floats of 11 |The image is right, but"},
               [](double v) { return significant(v, 11); }),
        by_all("bfloats", {kRight, "Kept as floats of 8 |The image is right, but"},
               [](double v) { return significant(v, 8); }),
        by_all("unsigned floats of 11 bits", {kSmall, "Kept as floats of 7 "},
               [](double v) { return significant(v, 7); }),
        by_value("shared exponent",
                 {kRight,
                  "The image is right, but|Kept as floats of (9 |fewer significant bits: luminance "
                  "at 9)"},
                 [](double v, std::size_t c, const Rgba& t) {
                     const double most = std::max({t[0], t[1], t[2]});
                     const double unit = most > 0 ? std::pow(2.0, std::ilogb(most) - 8) : 1;
                     return c < 3 ? std::nearbyint(v / unit) * unit : v;
                 }),
        by_all("a step more", {kSmall}, [](double v) { return std::min(v + 1 / 255.0, 1.0); }),
        noisy,
        by_noise("noise of 3 bits", {kUnknown, kNotTried}, 7),
        by_colour("sRGB encoded", {"The colours were encoded as sRGB."}, table_srgb),
        by_colour("sRGB decoded", {"The colours were decoded as sRGB."}, table_linear),
        by_all("sRGB encoded, alpha too", {kUnknown, kNotTried}, table_srgb),
        by_colour("sRGB encoded twice", {kUnknown},
                  [](double v) { return table_srgb(table_srgb(v)); }),
        by_colour("gamma 1.8", {kUnknown},
                  [](double v) { return std::pow(std::max(v, 0.0), 1.8); }),
        by_colour("gamma 2.2", {kUnknown},
                  [](double v) { return std::pow(std::max(v, 0.0), 2.2); }),
        by_value("premultiplied", {"The colours were multiplied by alpha."},
                 [](double v, std::size_t c, const Rgba& t) { return c < 3 ? v * t[3] : v; }),
        by_value("divided by alpha", {"The colours were divided by alpha."},
                 [](double v, std::size_t c, const Rgba& t) {
                     return c < 3 ? (t[3] > 0 ? std::min(v / t[3], 1.0) : 0) : v;
                 }),
        by_value(
            "over white", {kUnknown},
            [](double v, std::size_t c, const Rgba& t) { return c < 3 ? v * t[3] + 1 - t[3] : v; }),
        by_colour("half",
                  {"Red, green, blue came back as 0.5 times what was sent.", ".* came back as 0.5"},
                  [](double v) { return v / 2; }),
        by_all("half, alpha too",
               {"Red, green, blue, alpha came back as 0.5 times what was sent.", kNotTried},
               [](double v) { return v / 2; }),
        by_colour("double",
                  {"Red, green, blue came back as 2 times what was sent.",
                   ".* came back as (2|1.99|2.0.) times"},
                  [](double v) { return std::min(2 * v, 1.0); }),
        by_colour("brighter",
                  {"Red, green, blue came back as what was sent plus 0.2.",
                   ".* what was sent plus 0.(2|199)"},
                  [](double v) { return std::min(v + 0.2, 1.0); }),
        by_colour("darker",
                  {"Red, green, blue came back as what was sent minus 0.2.",
                   ".* what was sent minus 0.(2|199)"},
                  [](double v) { return std::max(v - 0.2, 0.0); }),
        by_colour("studio range",
                  {"Red, green, blue came back as 0.859 times what was sent plus 0.0627.",
                   ".* came back as 0.8[56].* times what was sent plus 0.06"},
                  [](double v) { return (16 + 219 * v) / 255; }),
        by_all("inverted", {"Red, green, blue, alpha came back inverted.", ".* came back inverted"},
               [](double v) { return 1 - v; }),
        by_value("red inverted", {"Red came back inverted.", kNotTried},
                 [](double v, std::size_t c, const Rgba&) { return c == 0 ? 1 - v : v; }),
        by_colour("clamped at a half", {kUnknown}, [](double v) { return std::min(v, 0.5); }),
        by_colour("in thirds", {kUnknown, "Right only in column 0"},
                  [](double v) { return v < 1 / 3.   ? 0
                                        : v < 2 / 3. ? 0.5
                                                     : 1; }),
        by_value("grey of three", {kUnknown},
                 [](double v, std::size_t c, const Rgba& t) {
                     return c < 3 ? (t[0] + t[1] + t[2]) / 3 : v;
                 }),
        by_value("luma", {kUnknown},
                 [](double v, std::size_t c, const Rgba& t) {
                     return c < 3 ? 0.3 * t[0] + 0.59 * t[1] + 0.11 * t[2] : v;
                 }),
        by_all("signed for unsigned", {kUnknown}, [](double v) { return v < 0.5 ? v : v - 0.5; }),
        by_colour("negated",
                  {"Red is lost: it is 0 everywhere, green is lost: it is 0 everywhere, ",
                   ".* came back (as -1 times|inverted)|Nothing arrived|.* lost"},
                  [](double v) { return -v; }),
        by_both("red and blue exchanged, and lowest bit noise",
                {"Red and blue are exchanged; values are not exact either.", kNotTried}, exchanged,
                noisy),
        by_both("red and blue exchanged, of 4 bits", {kUnknown, kNotTried}, exchanged, of4Bits),
    };
}

TEST(FaultOfValues, is_named_in_bytes) {
    expect_names(value_rows());
}

TEST(FaultOfValues, has_no_misleading_name_in_any_format) {
    // A sample, unless all faults are wanted.
    expect_no_misleading_name(value_rows(), FAULT_STRIDE == 1 ? 1 : 7 * IMAGE_STRIDE);
}

}  // namespace
}  // namespace texprobe::tests
