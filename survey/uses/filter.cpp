// Linear sampling, between the texels of a row.

#include <algorithm>
#include <cstdlib>
#include <vector>

#include "uses/uses.h"

namespace texprobe::survey {

namespace {

constexpr int kRowWidth = 128;

/// First a ramp through the whole range; then, for formats of a few steps, up and down by quarters.
/// Compressed blocks have the color of their first texel.
Texel row_texel(const Format& format, int x) {
    x -= x % format.block.side;
    constexpr int kHalfRow = kRowWidth / 2;
    const double part = x < kHalfRow ? static_cast<double>(x) / (kHalfRow - 1)
                                     : std::abs((x - kHalfRow) % 8 - 4) / 4.0;
    return quantize(format, ramp(format, part));
}

/// sRGB may be filtered before or after it is decoded.
double after_decoding(double a, double b, double weight) {
    return srgb_to_linear(linear_to_srgb(a) * (1 - weight) + linear_to_srgb(b) * weight);
}

/// A texel between two others.
ExpectedTexel between(const Format& format, const Texel& a, const Texel& b, double weight) {
    ExpectedTexel result = {};
    for (std::size_t c = 0; c < 4; ++c) {
        const double value = a[c] + (b[c] - a[c]) * weight;
        const bool isSrgb = format.kind_of(c) == Kind::kSrgb && format.has(c);
        const double other = isSrgb ? after_decoding(a[c], b[c], weight) : value;
        const double one = std::max(step(format, c, a), step(format, c, b));
        result.value[c] = (value + other) / 2;
        result.allowed[c] =
            std::max(one, std::abs(a[c] - b[c]) / 256) + std::abs(value - other) / 2;
    }
    return result;
}

}  // namespace

Finding filter(const Work& work) {
    const Format& format = work.format;
    const Texture texture(work.gl());
    TexelImage row;
    const auto failure =
        upload(work, texture,
               make_image(kRowWidth, 1, [&](int x, int) { return row_texel(format, x); }), &row);
    if (failure) return *failure;
    texture.bind();
    texture.set(gl::kMinFilter, gl::kLinear);
    texture.set(gl::kMagFilter, gl::kLinear);
    const TexelImage came = work.judge.sample_row(texture, kRowWidth);
    std::vector<ExpectedTexel> expected;
    for (int x = 0; x < came.width; ++x) {
        const int left = x / 4;
        const int right = std::min(left + 1, kRowWidth - 1);
        expected.push_back(between(format, row.at(left, 0), row.at(right, 0), x % 4 / 4.0));
    }
    const std::string difference = first_difference(
        format, came,
        [&](int x, int) -> const ExpectedTexel& { return expected[static_cast<std::size_t>(x)]; });
    const Errors errors = take_errors(work.gl());
    if (!errors.empty()) return with_errors(refused("sampling gives "), errors);
    return of_difference(difference, "quarters between texels: ");
}

}  // namespace texprobe::survey
