// Texels of any format as four doubles, which hold 32-bit integers and floats exactly; and their
// values in a format.

#ifndef TEXPROBE_SURVEY_TEXELS_H
#define TEXPROBE_SURVEY_TEXELS_H

#include <array>
#include <cmath>
#include <cstddef>
#include <string>
#include <vector>

#include "table/format_table.h"

namespace texprobe::survey {

using Texel = std::array<double, 4>;

struct TexelImage {
    int width = 0;
    int height = 0;
    std::vector<Texel> texels = {};
    // Where it is in the texture.
    int left = 0;
    int top = 0;

    const Texel& at(int x, int y) const { return texels[static_cast<unsigned>(y * width + x)]; }
};

/// Makes an image of `texel(x, y)`.
template <typename Function>
TexelImage make_image(int width, int height, Function texel) {
    TexelImage image = {width, height};
    image.texels.reserve(static_cast<unsigned>(width * height));
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) image.texels.push_back(texel(x, y));
    }
    return image;
}

/// The texels of a comparison, to be shown.
struct SeenTexels {
    struct Pair {
        Texel expected;
        Texel came;
        bool isWrong;
    };
    int width = 0;
    std::size_t components = 0;
    std::vector<Pair> pairs = {};
};

/// Set, each comparison leaves its texels there; a survey does without.
inline SeenTexels* seenTexels = nullptr;

double srgb_to_linear(double encoded);
double linear_to_srgb(double linear);

/// The value of a normalized component as a number of steps of that many bits, not rounded; other
/// components are their own number.
double number_of(Kind kind, int bits, double value);

/// The other way round.
double value_of(Kind kind, int bits, double number);

inline bool is_normalized(Kind kind) {
    return kind == Kind::kUnorm || kind == Kind::kSnorm || kind == Kind::kSrgb;
}

/// The nearest texel that the format holds; sRGB in linear values. Of compressed formats, that a
/// block of one color holds.
Texel quantize(const Format& format, const Texel& texel);

/// Values that the format holds exactly, of its whole range except denormals, NaN, infinities, -0
/// and the lowest signed value. Every value of up to twelve bits is among those of 64 x 64 texels.
Texel pattern(const Format& format, int x, int y);

/// `part`, from 0 to 1, of the way through the format's range (of floats, from -1 or 0 to 1), as it
/// would be without steps. Every other component goes down. Not for integers.
Texel ramp(const Format& format, double part);

/// Two texels that the format holds, except sRGB's second one, and whose sum is `texel`.
std::array<Texel, 2> split(const Format& format, const Texel& texel);

/// How far it is from this texel's component to the next value that the format holds. Not for
/// integers.
double step(const Format& format, std::size_t component, const Texel& texel);

/// How far a drawn or blended component may be from its right value: one step of normalized
/// formats; the others hold the pattern exactly.
double tolerance(const Format& format, std::size_t component, const Texel& expected);

/// The texel that a shader gets: luminance in three components, absent components as 0, and
/// absent alpha as 1.
Texel as_sampled(const Format& format, Texel texel);

/// Components whose samples are defined: of depth the first.
inline std::size_t sampled_components(const Format& format) {
    return format.is_depth() ? 1 : 4;
}

/// "expected (0.5, 0, 0, 1) at 3, 4, came ...", with enough digits to tell two floats apart.
std::string describe_difference(const Format& format, const Texel& expected, int x, int y,
                                const Texel& came);

/// The first texel with a component that `isSame(component, expected, came, x, y)` does not take
/// for that of `expectedAt(x, y)`; empty if there is none.
template <typename Expected, typename Same>
std::string first_mismatch(const Format& format, const TexelImage& came, Expected expectedAt,
                           Same isSame) {
    std::string first;
    const std::size_t components = sampled_components(format);
    if (seenTexels) *seenTexels = {came.width, components};
    for (int y = 0; y < came.height; ++y) {
        for (int x = 0; x < came.width; ++x) {
            const Texel& expected = expectedAt(x, y);
            const Texel& here = came.at(x, y);
            std::size_t c = 0;
            while (c < components && (expected[c] == here[c] || isSame(c, expected, here, x, y))) {
                ++c;
            }
            const bool isWrong = c < components;
            if (isWrong && first.empty()) {
                first = describe_difference(format, expected, came.left + x, came.top + y, here);
            }
            if (seenTexels) {
                seenTexels->pairs.push_back({expected, here, isWrong});
            } else if (isWrong) {
                return first;
            }
        }
    }
    return first;
}

/// The right value of a texel, and how far from it each component may be.
struct ExpectedTexel {
    Texel value;
    Texel allowed;
};

/// The first texel that is farther from `at(x, y)` than that allows; empty if there is none.
template <typename At>
std::string first_difference(const Format& format, const TexelImage& came, At at) {
    return first_mismatch(
        format, came, [&](int x, int y) -> const Texel& { return at(x, y).value; },
        [&](std::size_t c, const Texel& expected, const Texel& here, int x, int y) {
            return std::abs(expected[c] - here[c]) <= at(x, y).allowed[c];
        });
}

}  // namespace texprobe::survey

#endif
