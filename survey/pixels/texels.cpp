#include "pixels/texels.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>

#include "pixels/compressed_blocks.h"

namespace texprobe::survey {

namespace {

constexpr int kSharedMantissaBits = 9;
constexpr int kSharedBias = 15;
constexpr int kSharedLargestExponent = 31;

double power_of_two(int exponent) {
    return std::ldexp(1.0, exponent);
}

bool is_signed(Kind kind) {
    return kind == Kind::kSnorm || kind == Kind::kInt;
}

/// The largest number of a component that is no float.
double largest(Kind kind, int bits) {
    return static_cast<double>((std::uint64_t{1} << (is_signed(kind) ? bits - 1 : bits)) - 1);
}

/// After the point; of the small floats as OpenGL defines them.
int mantissa_bits(int bits) {
    return bits == 10 ? 5 : bits == 11 ? 6 : bits == 16 ? 10 : 23;
}

int exponent_of(double value) {
    int exponent = 0;
    std::frexp(value, &exponent);
    return exponent - 1;
}

double round_float(double value, int bits) {
    if (value == 0) return 0;
    const double unit = power_of_two(exponent_of(value) - mantissa_bits(bits));
    return std::nearbyint(value / unit) * unit;
}

double quantize_component(Kind kind, int bits, double value) {
    if (kind == Kind::kFloat) return round_float(value, bits);
    if (kind == Kind::kUfloat) return round_float(std::max(value, 0.0), bits);
    const double top = largest(kind, bits);
    const double lowest = kind == Kind::kSnorm ? -top : kind == Kind::kInt ? -top - 1 : 0;
    const double number = std::round(number_of(kind, bits, value));
    return value_of(kind, bits, std::clamp(number, lowest, top));
}

/// The unit of the three components, as EXT_texture_shared_exponent chooses it.
double shared_unit(const Texel& texel) {
    const double most = std::max({texel[0], texel[1], texel[2], 0.0});
    int exponent = most == 0 ? 0 : std::max(-kSharedBias - 1, exponent_of(most)) + 1 + kSharedBias;
    const auto unit = [&] { return power_of_two(exponent - kSharedBias - kSharedMantissaBits); };
    if (std::floor(most / unit() + 0.5) == power_of_two(kSharedMantissaBits)) ++exponent;
    exponent = std::min(exponent, kSharedLargestExponent);
    return unit();
}

Texel quantize_shared(const Texel& texel) {
    const double unit = shared_unit(texel);
    const double top = power_of_two(kSharedMantissaBits) - 1;
    Texel result = {0, 0, 0, 0};
    for (std::size_t c = 0; c < 3; ++c) {
        result[c] = std::min(std::floor(std::max(texel[c], 0.0) / unit + 0.5), top) * unit;
    }
    return result;
}

/// Counts through all numbers of up to 32 bits, far from one to the next; each component otherwise.
std::uint32_t scattered(int x, int y, std::size_t component) {
    const auto index = static_cast<std::uint32_t>(y * 64 + x);
    constexpr std::uint32_t kOdd[] = {0x9E3779B1, 0x85EBCA6B, 0xC2B2AE35, 0x27D4EB2F};
    return index * kOdd[component] + static_cast<std::uint32_t>(component) * 0x165667B1;
}

/// A number of that many bits. The first texels have the ends of the range, and its middle, where
/// signed formats have 0, 1 and -1.
double pattern_number(int bits, int x, int y, std::size_t component) {
    const double top = largest(Kind::kUint, bits);
    const double middle = (top + 1) / 2;
    const double ends[] = {0, top, 1, top - 1, middle, middle + 1, middle - 1, middle};
    if (y == 0 && x < 8) {
        return std::clamp(ends[(static_cast<std::size_t>(x) + component) % 8], 0.0, top);
    }
    // The low bits of an odd number's multiples have every value; the high ones vary for the eye.
    const std::uint32_t number = scattered(x, y, component);
    return bits == 32 ? number : number & ((std::uint32_t{1} << bits) - 1);
}

double pattern_float(const Format& format, int x, int y, std::size_t component) {
    constexpr double kFirst[] = {0, 1, 0.5, 2};
    const bool isFirst = y == 0 && x < (format.is_depth() ? 3 : 4);
    if (isFirst) return kFirst[x];
    const int bits = mantissa_bits(format.bits[component]);
    const std::uint32_t number = scattered(x, y, component);
    const double mantissa = 1 + (number >> (32 - bits)) / power_of_two(bits);
    const int exponent = static_cast<int>(number % 9);
    // Depth is in 0 to 1.
    if (format.is_depth()) return mantissa * power_of_two(-1 - exponent);
    const double sign = format.kind == Kind::kFloat && (number / 9) % 2 == 1 ? -1 : 1;
    return sign * mantissa * power_of_two(exponent - 4);
}

double pattern_component(const Format& format, int x, int y, std::size_t component) {
    const Kind kind = format.kind_of(component);
    const int bits = format.bits[component];
    if (kind == Kind::kFloat || kind == Kind::kUfloat)
        return pattern_float(format, x, y, component);
    const double number = pattern_number(bits, x, y, component);
    const double top = largest(kind, bits);
    return value_of(kind, bits, is_signed(kind) ? std::max(number - top - 1, -top) : number);
}

/// The first component is at least half of the largest, so that the exponent is as meant.
Texel pattern_shared(int x, int y) {
    const double unit = power_of_two(static_cast<int>(scattered(x, y, 3) % 9) - 4 - 9);
    Texel texel = {0, 0, 0, 0};
    for (std::size_t c = 0; c < 3; ++c) {
        const double number = pattern_number(kSharedMantissaBits, x, y, c);
        texel[c] = (c == 0 ? std::max(number, 256.0) : number) * unit;
    }
    return texel;
}

std::string describe(const Format& format, const Texel& texel) {
    std::string text = "(";
    for (std::size_t c = 0; c < sampled_components(format); ++c) {
        char number[32];
        std::snprintf(number, sizeof number, format.is_integer() ? "%.0f" : "%.9g", texel[c]);
        text += (c == 0 ? "" : ", ") + std::string(number);
    }
    return text + ")";
}

}  // namespace

double srgb_to_linear(double encoded) {
    return encoded <= 0.04045 ? encoded / 12.92 : std::pow((encoded + 0.055) / 1.055, 2.4);
}

double linear_to_srgb(double linear) {
    return linear < 0.0031308 ? linear * 12.92 : 1.055 * std::pow(linear, 1 / 2.4) - 0.055;
}

double number_of(Kind kind, int bits, double value) {
    if (kind == Kind::kSrgb) value = linear_to_srgb(value);
    return is_normalized(kind) ? value * largest(kind, bits) : value;
}

double value_of(Kind kind, int bits, double number) {
    const double value = is_normalized(kind) ? number / largest(kind, bits) : number;
    return kind == Kind::kSrgb ? srgb_to_linear(value) : value;
}

Texel quantize(const Format& format, const Texel& texel) {
    if (format.is_compressed()) return quantize_block(format, texel);
    if (format.kind == Kind::kSharedExponent) return quantize_shared(texel);
    Texel result = {0, 0, 0, 0};
    for (std::size_t c = 0; c < 4; ++c) {
        if (!format.has(c)) continue;
        result[c] = quantize_component(format.kind_of(c), format.bits[c], texel[c]);
    }
    return result;
}

Texel pattern(const Format& format, int x, int y) {
    if (format.kind == Kind::kSharedExponent) return pattern_shared(x, y);
    Texel texel = {0, 0, 0, 0};
    for (std::size_t c = 0; c < 4; ++c) {
        if (format.has(c)) texel[c] = pattern_component(format, x, y, c);
    }
    return texel;
}

Texel ramp(const Format& format, double part) {
    const bool isSigned =
        format.kind == Kind::kSnorm || (format.kind == Kind::kFloat && !format.is_depth());
    const auto value = [&](double place) { return isSigned ? 2 * place - 1 : place; };
    return {value(part), value(1 - part), value(part), value(1 - part)};
}

std::array<Texel, 2> split(const Format& format, const Texel& texel) {
    Texel half = {0, 0, 0, 0};
    Texel rest = {0, 0, 0, 0};
    for (std::size_t c = 0; c < 4; ++c) {
        if (!format.has(c)) continue;
        const Kind kind = format.kind_of(c);
        const int bits = format.bits[c];
        const double steps = std::round(number_of(kind, bits, texel[c]));
        half[c] = texel[c] / 2;
        if (kind == Kind::kSrgb) half[c] = quantize_component(kind, bits, half[c]);
        if (kind == Kind::kUnorm || kind == Kind::kSnorm) {
            half[c] = value_of(kind, bits, std::trunc(steps / 2));
        }
        rest[c] = texel[c] - half[c];
    }
    return {half, rest};
}

double step(const Format& format, std::size_t component, const Texel& texel) {
    // Luminance is sampled as three components.
    if (format.base == Base::kLuminance && component < 3) component = 0;
    const Kind kind = format.kind_of(component);
    const int bits = format.bits[component];
    const double value = texel[component];
    if (bits == 0) return 0;
    if (kind == Kind::kSharedExponent) return shared_unit(texel);
    if (!is_normalized(kind)) {
        return power_of_two((value == 0 ? -14 : exponent_of(value)) - mantissa_bits(bits));
    }
    const double top = largest(kind, bits);
    if (kind != Kind::kSrgb) return 1 / top;
    const double next = std::min(number_of(kind, bits, std::clamp(value, 0.0, 1.0)) + 1, top);
    return value_of(kind, bits, next) - value_of(kind, bits, next - 1);
}

double tolerance(const Format& format, std::size_t component, const Texel& expected) {
    if (!is_normalized(format.kind_of(component))) return 0;
    // A shader sees a normalized value as a float, which may be off by one of its own last bits.
    return step(format, component, expected) + power_of_two(-24);
}

Texel as_sampled(const Format& format, Texel texel) {
    if (format.base == Base::kLuminance) texel[1] = texel[2] = texel[0];
    if (!format.has(3)) texel[3] = 1;
    return texel;
}

std::string describe_difference(const Format& format, const Texel& expected, int x, int y,
                                const Texel& came) {
    return "expected " + describe(format, expected) + " at " + std::to_string(x) + ", " +
           std::to_string(y) + ", came " + describe(format, came);
}

}  // namespace texprobe::survey
