// Linear sampling, between the texels of a row.

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "uses/uses.h"

namespace texprobe::survey {

namespace {

constexpr int kRowWidth = 128;

/// First a ramp through the whole range; then, for formats of a few steps, up and down by quarters.
Texel row_texel(const Format& format, int x) {
    constexpr int kHalf = kRowWidth / 2;
    const double part =
        x < kHalf ? static_cast<double>(x) / (kHalf - 1) : std::abs((x - kHalf) % 8 - 4) / 4.0;
    return quantize(format, ramp(format, part));
}

/// What is between two texels, and how far from it a sample may be.
struct Between {
    Texel value;
    Texel allowed;
};

/// sRGB may be filtered before or after it is decoded.
double after_decoding(double a, double b, double weight) {
    return srgb_to_linear(linear_to_srgb(a) * (1 - weight) + linear_to_srgb(b) * weight);
}

Between between(const Format& format, const Texel& a, const Texel& b, double weight) {
    Between result = {};
    for (std::size_t c = 0; c < 4; ++c) {
        const double value = a[c] + (b[c] - a[c]) * weight;
        const double other = format.kind_of(c) == Kind::kSrgb && format.has(c)
                                 ? after_decoding(a[c], b[c], weight)
                                 : value;
        const double one = std::max(std::abs(step(format, c, a)), std::abs(step(format, c, b)));
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
    Image row;
    const auto failure =
        upload(work, texture,
               make_image(kRowWidth, 1, [&](int x, int) { return row_texel(format, x); }), &row);
    if (failure) return *failure;
    texture.bind();
    texture.set(gl::kMinFilter, gl::kLinear);
    texture.set(gl::kMagFilter, gl::kLinear);
    const Image came = work.judge.sample_row(texture, kRowWidth);
    const auto betweenAt = [&](int x) {
        const int left = x / 4;
        return between(format, row.at(left, 0), row.at(std::min(left + 1, kRowWidth - 1), 0),
                       (x % 4) / 4.0);
    };
    const Image expected =
        make_image(came.width, 1, [&](int x, int) { return betweenAt(x).value; });
    const std::string difference = first_difference(
        format, expected, came, [&](std::size_t c, int x, int) { return betweenAt(x).allowed[c]; });
    const std::string errors = take_errors(work.gl());
    if (!errors.empty()) return refused("sampling gives " + errors);
    return difference.empty() ? Finding{} : other_pixels("quarters between texels: " + difference);
}

}  // namespace texprobe::survey
