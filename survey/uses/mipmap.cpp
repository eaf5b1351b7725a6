// glGenerateMipmap, of ramps and of one color, also where sizes are odd.

#include <algorithm>
#include <cmath>

#include "uses/uses.h"

namespace texprobe::survey {

namespace {

/// One base image: a ramp along a side, or one color.
struct Base2D {
    int width;
    int height;
    bool isAlongX;
    bool isRamp;

    int length() const { return isAlongX ? width : height; }
    std::string name() const {
        const std::string size = std::to_string(width) + " x " + std::to_string(height);
        return isRamp ? std::string("a ramp along ") + (isAlongX ? "x" : "y") + ", " + size
                      : "one color, " + size;
    }
};

constexpr Base2D kBases[] = {{128, 128, true, true},
                             {128, 128, false, true},
                             {61, 37, true, true},
                             {61, 37, false, true},
                             {61, 37, true, false}};

int level_count(const Base2D& base) {
    int levels = 1;
    for (int size = std::max(base.width, base.height); size > 1; size /= 2) ++levels;
    return levels;
}

/// Where along the ramp the centre of a texel of a level is; `count` texels cover it.
Texel ramp_at(const Format& format, const Base2D& base, int index, int count) {
    const double place = (index + 0.5) * base.length() / count - 0.5;
    return ramp(format, place / (base.length() - 1));
}

/// The mean of what a texel of a level covers, if sRGB is reduced without decoding it.
double mean_of_encoded(const Format& format, const Base2D& base, std::size_t component, int index,
                       int count) {
    const int first = index * base.length() / count;
    const int end = std::max(first + 1, (index + 1) * base.length() / count);
    double sum = 0;
    for (int i = first; i < end; ++i) {
        sum += linear_to_srgb(ramp_at(format, base, i, base.length())[component]);
    }
    return srgb_to_linear(sum / (end - first));
}

/// One base texel's slope; half a step for what the base texels were rounded by, and half a step
/// for each level.
double allowed(const Format& format, const Base2D& base, std::size_t component, int level,
               Texel expected) {
    if (component == 3 && !format.has(3)) return 0;
    const Texel start = ramp(format, 0);
    const Texel end = ramp(format, 1);
    const double slope = std::abs(end[component] - start[component]) / (base.length() - 1);
    for (double& value : expected) value = std::abs(value) + slope;
    const bool isAbsent = format.base == Base::kColor && component < 3 && !format.has(component);
    return isAbsent ? 0 : slope + step(format, component, expected) * (1 + level) / 2;
}

std::string compare_level(const Work& work, const Base2D& base, int level, const Image& came) {
    const Format& format = work.format;
    const int count = base.isAlongX ? came.width : came.height;
    const auto place = [&](int x, int y) { return base.isAlongX ? x : y; };
    const auto expectedAt = [&](int x, int y) {
        Texel texel = ramp_at(format, base, place(x, y), count);
        for (std::size_t c = 0; c < 4; ++c) {
            if (!format.has(c)) texel[c] = 0;
        }
        return as_sampled(format, texel);
    };
    return first_difference(
        format, make_image(came.width, came.height, expectedAt), came,
        [&](std::size_t c, int x, int y) {
            const Texel expected = expectedAt(x, y);
            const bool isSrgb = format.has(c) && format.kind_of(c) == Kind::kSrgb;
            const double other =
                isSrgb ? mean_of_encoded(format, base, c, place(x, y), count) : expected[c];
            return allowed(format, base, c, level, expected) + std::abs(other - expected[c]);
        });
}

Finding try_base(const Work& work, const Base2D& base) {
    const Format& format = work.format;
    const Texture texture(work.gl());
    const Image image = make_image(base.width, base.height, [&](int x, int y) {
        constexpr double kOneColor = 0.3;
        const double part = static_cast<double>(base.isAlongX ? x : y) / (base.length() - 1);
        return quantize(format, ramp(format, base.isRamp ? part : kOneColor));
    });
    Image arrived;
    if (const auto failure = upload(work, texture, image, &arrived)) return *failure;
    texture.bind();
    texture.set(gl::kMaxLevel, level_count(base) - 1);
    work.gl().GenerateMipmap(gl::kTexture2D);
    const std::string errors = take_errors(work.gl());
    if (!errors.empty()) return refused("glGenerateMipmap gives " + errors);
    for (int level = 1; level < level_count(base); ++level) {
        const int width = std::max(1, base.width >> level);
        const int height = std::max(1, base.height >> level);
        const Image came = work.judge.look(texture, Numbers::kFloat, level, width, height);
        const std::string difference =
            base.isRamp
                ? compare_level(work, base, level, came)
                : first_difference(
                      format,
                      make_image(width, height, [&](int, int) { return arrived.texels.front(); }),
                      came, [](std::size_t, int, int) { return 0.0; });
        if (difference.empty()) continue;
        return other_pixels("level " + std::to_string(level) + " of " + base.name() + ": " +
                            difference);
    }
    return {};
}

}  // namespace

Finding generate_mipmap(const Work& work) {
    for (const Base2D& base : kBases) {
        Finding finding = try_base(work, base);
        if (finding.kind != Finding::Kind::kHolds) return finding;
    }
    return {};
}

}  // namespace texprobe::survey
