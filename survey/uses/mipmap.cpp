// glGenerateMipmap, of ramps and of one color, also where sizes are odd.

#include <algorithm>
#include <vector>

#include "uses/uses.h"

namespace texprobe::survey {

namespace {

/// A base image: a ramp along a side, or one color; and the last level that is made of it.
struct MipmapBase {
    int width;
    int height;
    int lastLevel;
    bool isAlongX;
    bool isRamp;

    int length() const { return isAlongX ? width : height; }
    int place(int x, int y) const { return isAlongX ? x : y; }
    /// The image, and the rule that its levels must keep.
    std::string name() const {
        const std::string size = std::to_string(width) + " x " + std::to_string(height);
        return isRamp ? std::string("a ramp along ") + (isAlongX ? "x" : "y") + ", " + size +
                            ", is farther off than one base texel's slope"
                      : "one color, " + size + ", is not exactly that color";
    }
};

// Mesa compiles a shader for each format, others for sizes that are no powers of two, and others
// for the levels after the first: nearly all of the survey's time. More goes wrong with odd sizes,
// so they have all levels.
constexpr MipmapBase kBases[] = {{128, 128, 1, true, true},
                                 {128, 128, 1, false, true},
                                 {61, 37, 5, true, true},
                                 {61, 37, 5, false, true},
                                 {61, 37, 5, true, false}};

TexelImage image_of(const Format& format, const MipmapBase& base) {
    constexpr double kOneColor = 0.3;
    std::vector<Texel> texels;
    for (int i = 0; i < base.length(); ++i) {
        const double part = base.isRamp ? static_cast<double>(i) / (base.length() - 1) : kOneColor;
        texels.push_back(quantize(format, ramp(format, part)));
    }
    return make_image(base.width, base.height, [&](int x, int y) -> const Texel& {
        return texels[static_cast<std::size_t>(base.place(x, y))];
    });
}

/// The ramp at the centre of a texel of a level, in which `count` texels cover the base.
Texel ramp_at(const Format& format, const MipmapBase& base, int index, int count) {
    const double place = (index + 0.5) * base.length() / count - 0.5;
    Texel texel = ramp(format, place / (base.length() - 1));
    for (std::size_t c = 0; c < 4; ++c) {
        if (!format.has(c)) texel[c] = 0;
    }
    return as_sampled(format, texel);
}

/// The mean of the base texels under a texel of a level, if sRGB is reduced without decoding it.
double mean_of_encoded(const Format& format, const MipmapBase& base, std::size_t component,
                       int index, int count) {
    const int first = index * base.length() / count;
    const int end = std::max(first + 1, (index + 1) * base.length() / count);
    double sum = 0;
    for (int i = first; i < end; ++i) {
        sum += linear_to_srgb(ramp_at(format, base, i, base.length())[component]);
    }
    return srgb_to_linear(sum / (end - first));
}

/// One base texel's slope; half a step for the rounding of the base texels, and half a step for
/// each level.
double allowed(const Format& format, const MipmapBase& base, std::size_t component, int level,
               Texel expected) {
    const bool isLuminance = format.base == Base::kLuminance && component < 3;
    if (!format.has(component) && !isLuminance) return 0;
    const double slope =
        std::abs(ramp(format, 1)[component] - ramp(format, 0)[component]) / (base.length() - 1);
    for (double& value : expected) value = std::abs(value) + slope;
    return slope + step(format, component, expected) * (1 + level) / 2;
}

ExpectedTexel level_texel(const Format& format, const MipmapBase& base, int level, int index,
                          int count) {
    ExpectedTexel texel = {ramp_at(format, base, index, count), {}};
    for (std::size_t c = 0; c < 4; ++c) {
        const double expected = texel.value[c];
        const bool isSrgb = format.has(c) && format.kind_of(c) == Kind::kSrgb;
        const double other = isSrgb ? mean_of_encoded(format, base, c, index, count) : expected;
        texel.allowed[c] =
            allowed(format, base, c, level, texel.value) + std::abs(other - expected);
    }
    return texel;
}

std::string compare_level(const Format& format, const MipmapBase& base, int level,
                          const Texel& oneColor, const TexelImage& came) {
    const int count = base.isAlongX ? came.width : came.height;
    std::vector<ExpectedTexel> texels;
    texels.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        texels.push_back(base.isRamp ? level_texel(format, base, level, i, count)
                                     : ExpectedTexel{oneColor, {}});
    }
    return first_difference(format, came, [&](int x, int y) -> const ExpectedTexel& {
        return texels[static_cast<std::size_t>(base.place(x, y))];
    });
}

Finding try_base(const Work& work, const MipmapBase& base) {
    const Format& format = work.format;
    const Texture texture(work.gl());
    TexelImage arrived;
    if (const auto failure = upload(work, texture, image_of(format, base), &arrived)) {
        return *failure;
    }
    texture.bind();
    texture.set(gl::kMaxLevel, base.lastLevel);
    work.gl().GenerateMipmap(gl::kTexture2D);
    const Errors errors = take_errors(work.gl());
    if (!errors.empty()) return with_errors(refused("glGenerateMipmap gives "), errors);
    for (int level = 1; level <= base.lastLevel; ++level) {
        const int width = std::max(1, base.width >> level);
        const int height = std::max(1, base.height >> level);
        const TexelImage came = work.judge.look(texture, format, level, width, height);
        const std::string difference =
            compare_level(format, base, level, arrived.texels.front(), came);
        if (difference.empty()) continue;
        return of_difference(difference,
                             "level " + std::to_string(level) + " of " + base.name() + ": ");
    }
    return {};
}

}  // namespace

Finding generate_mipmap(const Work& work) {
    for (const MipmapBase& base : kBases) {
        Finding finding = try_base(work, base);
        if (finding.kind != Finding::Kind::kHolds) return finding;
    }
    return {};
}

}  // namespace texprobe::survey
