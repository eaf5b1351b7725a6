#include "decoded_blocks.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace texprobe::survey {

namespace {

using Decoded = std::vector<Texel>;

void require(bool isTrue) {
    if (!isTrue) throw std::runtime_error("a mode that is not expected");
}

/// Of a number that has the first byte lowest, up to bit 127.
int low_bits(const unsigned char* bytes, int first, int count) {
    int value = 0;
    for (int i = count - 1; i >= 0; --i) {
        value = value * 2 + (bytes[(first + i) / 8] >> (first + i) % 8 & 1);
    }
    return value;
}

/// Of a number of 64 bits that has the first byte highest, from bit `last` down to `first`.
int high_bits(const unsigned char* bytes, int last, int first) {
    int value = 0;
    for (int i = last; i >= first; --i) value = value * 2 + (bytes[7 - i / 8] >> i % 8 & 1);
    return value;
}

int with_sign(int value, int bits) {
    return value >= 1 << (bits - 1) ? value - (1 << bits) : value;
}

/// A narrow number with its own highest bits below it.
double widened(int value, int bits) {
    int wide = value << (8 - bits);
    return (wide | wide >> bits) / 255.0;
}

/// Two colors of 565, and what the two bits of each texel choose among them and mixtures.
void decode_bc_color(const unsigned char* bytes, bool canBeTransparent, bool isAlwaysOfFour,
                     Decoded* texels) {
    Texel colors[4];
    for (const int i : {0, 1}) {
        const int color = low_bits(bytes, 16 * i, 16);
        colors[i] = {widened(color >> 11, 5), widened(color >> 5 & 63, 6), widened(color & 31, 5),
                     1};
    }
    const bool isOfFour = isAlwaysOfFour || low_bits(bytes, 0, 16) > low_bits(bytes, 16, 16);
    for (std::size_t c = 0; c < 3; ++c) {
        const double first = colors[0][c];
        const double second = colors[1][c];
        colors[2][c] = isOfFour ? (2 * first + second) / 3 : (first + second) / 2;
        colors[3][c] = isOfFour ? (first + 2 * second) / 3 : 0;
    }
    colors[2][3] = 1;
    colors[3][3] = isOfFour || !canBeTransparent ? 1 : 0;
    for (int i = 0; i < 16; ++i) {
        const double alpha = (*texels)[static_cast<std::size_t>(i)][3];
        Texel& texel = (*texels)[static_cast<std::size_t>(i)];
        texel = colors[low_bits(bytes, 32 + 2 * i, 2)];
        if (isAlwaysOfFour) texel[3] = alpha;
    }
}

void decode_bc4(const unsigned char* bytes, bool isSigned, std::size_t component, Decoded* texels) {
    double ends[8];
    for (const int i : {0, 1}) {
        ends[i] = isSigned ? std::max(with_sign(bytes[i], 8), -127) / 127.0 : bytes[i] / 255.0;
    }
    const int steps = ends[0] > ends[1] ? 7 : 5;
    for (int i = 1; i < steps; ++i) {
        ends[i + 1] = ((steps - i) * ends[0] + i * ends[1]) / steps;
    }
    if (steps == 5) ends[6] = isSigned ? -1 : 0;
    if (steps == 5) ends[7] = 1;
    for (int i = 0; i < 16; ++i) {
        (*texels)[static_cast<std::size_t>(i)][component] = ends[low_bits(bytes, 16 + 3 * i, 3)];
    }
}

/// To 16 bits, or 15 and a sign.
int unquantize_bc6(int number, bool isSigned) {
    if (!isSigned) {
        return number == 0 ? 0 : number == 1023 ? 0xFFFF : ((number << 16) + 0x8000) >> 10;
    }
    const int size = std::abs(number);
    const int wide = size == 0 ? 0 : size >= 511 ? 0x7FFF : ((size << 15) + 0x4000) >> 9;
    return number < 0 ? -wide : wide;
}

double half_of(int bits) {
    const double fraction = (bits & 1023) / 1024.0;
    const int exponent = bits >> 10 & 31;
    return exponent == 0 ? std::ldexp(fraction, -14) : std::ldexp(1 + fraction, exponent - 15);
}

Decoded decode_bc6(const unsigned char* bytes, bool isSigned) {
    constexpr int kWeights[] = {0, 4, 9, 13, 17, 21, 26, 30, 34, 38, 43, 47, 51, 55, 60, 64};
    require(low_bits(bytes, 0, 5) == 3);
    Decoded texels(16, Texel{0, 0, 0, 1});
    for (int i = 0; i < 16; ++i) {
        const int weight =
            kWeights[i == 0 ? low_bits(bytes, 65, 3) : low_bits(bytes, 64 + 4 * i, 4)];
        for (int c = 0; c < 3; ++c) {
            int ends[2];
            for (const int end : {0, 1}) {
                const int number = low_bits(bytes, 5 + 30 * end + 10 * c, 10);
                ends[end] = unquantize_bc6(isSigned ? with_sign(number, 10) : number, isSigned);
            }
            const int mixed = ((64 - weight) * ends[0] + weight * ends[1] + 32) >> 6;
            const double value = half_of(isSigned ? std::abs(mixed) * 31 >> 5 : mixed * 31 >> 6);
            texels[static_cast<std::size_t>(i)][static_cast<std::size_t>(c)] =
                mixed < 0 ? -value : value;
        }
    }
    return texels;
}

Decoded decode_bc7(const unsigned char* bytes) {
    constexpr int kWeights[] = {0, 21, 43, 64};
    require(low_bits(bytes, 0, 6) == 32 && low_bits(bytes, 6, 2) == 0);
    const auto mixed = [&](double first, double second, int index) {
        return ((64 - kWeights[index]) * first + kWeights[index] * second) / 64;
    };
    Decoded texels(16);
    for (int i = 0; i < 16; ++i) {
        Texel& texel = texels[static_cast<std::size_t>(i)];
        const int index = i == 0 ? low_bits(bytes, 66, 1) : low_bits(bytes, 65 + 2 * i, 2);
        const int ofAlpha = i == 0 ? low_bits(bytes, 97, 1) : low_bits(bytes, 96 + 2 * i, 2);
        for (int c = 0; c < 3; ++c) {
            texel[static_cast<std::size_t>(c)] =
                mixed(widened(low_bits(bytes, 8 + 14 * c, 7), 7),
                      widened(low_bits(bytes, 15 + 14 * c, 7), 7), index);
        }
        texel[3] = mixed(low_bits(bytes, 50, 8) / 255.0, low_bits(bytes, 58, 8) / 255.0, ofAlpha);
    }
    return texels;
}

/// Where the corners' colors differ, the plane through them; texel i is in column i / 4.
Texel planar_texel(const unsigned char* bytes, int x, int y) {
    const auto at = [&](int last, int first) { return high_bits(bytes, last, first); };
    const int corners[3][3] = {
        {at(62, 57), at(48, 48) << 5 | at(44, 43) << 3 | at(41, 39), at(56, 56) << 6 | at(54, 49)},
        {at(38, 34) << 1 | at(32, 32), at(24, 19), at(31, 25)},
        {at(18, 13), at(5, 0), at(12, 6)}};
    Texel texel = {0, 0, 0, 1};
    constexpr std::size_t kComponents[] = {0, 2, 1};
    for (int i = 0; i < 3; ++i) {
        int colors[3];
        for (int corner = 0; corner < 3; ++corner) {
            colors[corner] =
                static_cast<int>(std::lround(255 * widened(corners[corner][i], i == 2 ? 7 : 6)));
        }
        const int sum =
            x * (colors[1] - colors[0]) + y * (colors[2] - colors[0]) + 4 * colors[0] + 2;
        texel[kComponents[i]] = std::clamp(sum >> 2, 0, 255) / 255.0;
    }
    return texel;
}

Decoded decode_etc2(const unsigned char* bytes, bool hasPunchthrough) {
    int bases[3];
    int sums[3];
    for (int c = 0; c < 3; ++c) {
        bases[c] = high_bits(bytes, 63 - 8 * c, 59 - 8 * c);
        sums[c] = bases[c] + with_sign(high_bits(bytes, 58 - 8 * c, 56 - 8 * c), 3);
    }
    const auto overflows = [&](int c) { return sums[c] < 0 || sums[c] > 31; };
    require(!overflows(0) && !overflows(1));
    const bool isDifferential = high_bits(bytes, 33, 33) != 0;
    const bool isPlanar = (hasPunchthrough || isDifferential) && overflows(2);
    // The other modes add to the base, unless holes are allowed and the bit of no holes is not set.
    require(isPlanar || (hasPunchthrough && !isDifferential));
    Decoded texels;
    for (int i = 0; i < 16; ++i) {
        if (isPlanar) {
            texels.push_back(planar_texel(bytes, i / 4, i % 4));
            continue;
        }
        const int index = high_bits(bytes, 16 + i, 16 + i) * 2 + high_bits(bytes, i, i);
        require(index == 0 || index == 2);
        for (int c = 0; c < 3; ++c) require(sums[c] == bases[c]);
        texels.push_back(index == 2 ? Texel{0, 0, 0, 0}
                                    : Texel{widened(bases[0], 5), widened(bases[1], 5),
                                            widened(bases[2], 5), 1});
    }
    return texels;
}

constexpr int kEacModifiers[16][8] = {
    {-3, -6, -9, -15, 2, 5, 8, 14}, {-3, -7, -10, -13, 2, 6, 9, 12}, {-2, -5, -8, -13, 1, 4, 7, 12},
    {-2, -4, -6, -13, 1, 3, 5, 12}, {-3, -6, -8, -12, 2, 5, 7, 11},  {-3, -7, -9, -11, 2, 6, 8, 10},
    {-4, -7, -8, -11, 3, 6, 7, 10}, {-3, -5, -8, -11, 2, 4, 7, 10},  {-2, -6, -8, -10, 1, 5, 7, 9},
    {-2, -5, -8, -10, 1, 4, 7, 9},  {-2, -4, -8, -10, 1, 3, 7, 9},   {-2, -5, -7, -10, 1, 4, 6, 9},
    {-3, -4, -7, -10, 2, 3, 6, 9},  {-1, -2, -3, -10, 0, 1, 2, 9},   {-4, -6, -8, -9, 3, 5, 7, 8},
    {-3, -5, -7, -9, 2, 4, 6, 8}};

/// The number of each texel: of alpha up to 255, of others up to 2047, of signed ones to 1023.
int eac_number(const unsigned char* bytes, int texel, bool isAlpha, bool isSigned) {
    const int multiplier = high_bits(bytes, 55, 52);
    const int index = high_bits(bytes, 47 - 3 * texel, 45 - 3 * texel);
    const int modifier = kEacModifiers[high_bits(bytes, 51, 48)][index];
    if (isAlpha) {
        require(multiplier != 0);  // Which encoders must not write.
        return std::clamp(bytes[0] + modifier * multiplier, 0, 255);
    }
    const int added = multiplier == 0 ? modifier : modifier * multiplier * 8;
    if (!isSigned) return std::clamp(bytes[0] * 8 + 4 + added, 0, 2047);
    require(bytes[0] != 0x80);
    return std::clamp(with_sign(bytes[0], 8) * 8 + added, -1023, 1023);
}

}  // namespace

Decoded decode_block(const Format& format, const unsigned char* bytes) {
    Decoded texels(16, Texel{0, 0, 0, 1});
    const bool isSigned = format.kind == Kind::kSnorm || format.kind == Kind::kFloat;
    switch (format.block.scheme) {
        case Scheme::kBc1:
            decode_bc_color(bytes, format.has(3), false, &texels);
            return texels;
        case Scheme::kBc2:
            for (int i = 0; i < 16; ++i) {
                texels[static_cast<std::size_t>(i)][3] = low_bits(bytes, 4 * i, 4) / 15.0;
            }
            decode_bc_color(bytes + 8, false, true, &texels);
            return texels;
        case Scheme::kBc3:
            decode_bc4(bytes, false, 3, &texels);
            decode_bc_color(bytes + 8, false, true, &texels);
            return texels;
        case Scheme::kBc4:
            decode_bc4(bytes, isSigned, 0, &texels);
            if (format.has(1)) decode_bc4(bytes + 8, isSigned, 1, &texels);
            return texels;
        case Scheme::kBc6:
            return decode_bc6(bytes, isSigned);
        case Scheme::kBc7:
            return decode_bc7(bytes);
        case Scheme::kEtc2Eac:
            texels = decode_etc2(bytes + 8, false);
            for (int i = 0; i < 16; ++i) {
                texels[static_cast<std::size_t>(i)][3] = eac_number(bytes, i, true, false) / 255.0;
            }
            return texels;
        case Scheme::kEac:
            for (int i = 0; i < 16; ++i) {
                for (std::size_t c = 0; c < (format.has(1) ? 2 : 1); ++c) {
                    texels[static_cast<std::size_t>(i)][c] =
                        eac_number(bytes + 8 * c, i, false, isSigned) /
                        (isSigned ? 1023.0 : 2047.0);
                }
            }
            return texels;
        case Scheme::kAstc:
            require(low_bits(bytes, 0, 12) == 0xDFC && low_bits(bytes, 12, 26) == (1 << 26) - 1 &&
                    low_bits(bytes, 38, 26) == (1 << 26) - 1);
            for (std::size_t c = 0; c < 4; ++c) {
                for (Texel& texel : texels) texel[c] = bytes[9 + 2 * c] / 255.0;
            }
            return texels;
        default:
            return decode_etc2(bytes, format.block.scheme == Scheme::kEtc2Punchthrough);
    }
}

}  // namespace texprobe::survey
