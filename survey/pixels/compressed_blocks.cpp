#include "pixels/compressed_blocks.h"

#include <algorithm>
#include <cstdlib>

namespace texprobe::survey {

namespace {

using Numbers = std::array<int, 4>;

/// The bits that a block of one color has for each component, in the mode that is written here.
Numbers kept_bits(Scheme scheme) {
    switch (scheme) {
        case Scheme::kBc1:
            return {5, 6, 5, 1};
        case Scheme::kBc2:
            return {5, 6, 5, 4};
        case Scheme::kBc3:
            return {5, 6, 5, 8};
        case Scheme::kBc6:
            return {16, 16, 16, 0};
        case Scheme::kBc7:
            return {7, 7, 7, 8};
        case Scheme::kEtc2:
        case Scheme::kEtc2Eac:
            return {6, 7, 6, 8};
        case Scheme::kEtc2Punchthrough:
            return {5, 5, 5, 1};
        case Scheme::kEac:
            return {11, 11, 0, 0};
        default:  // BC4 and ASTC.
            return {8, 8, 8, 8};
    }
}

/// The format without compression that has as many bits as a block keeps.
Format kept_format(const Format& format) {
    Format kept = format;
    kept.block = {};
    const Numbers bits = kept_bits(format.block.scheme);
    for (std::size_t c = 0; c < 4; ++c) {
        if (format.has(c)) kept.bits[c] = bits[c];
    }
    return kept;
}

// BC6 has ten bits, whose numbers are evenly spaced on the scale of a half's bits, except the last.

constexpr int kLargestHalf = 0x7BFF;

int bc6_spacing(const Format& format) {
    return format.kind == Kind::kFloat ? 62 : 31;
}

int largest_of_bc6(const Format& format) {
    return format.kind == Kind::kFloat ? 511 : 1023;
}

/// The documents' two steps, to 16 bits and back by 31/32 or 31/64, come to the middle of a space.
double value_of_bc6(const Format& format, int number) {
    const int size = std::abs(number);
    const int spacing = bc6_spacing(format);
    const int bits = size == largest_of_bc6(format) ? kLargestHalf : size * spacing + spacing / 2;
    const double value = size == 0 ? 0 : std::ldexp(bits % 1024 + 1024, bits / 1024 - 25);
    return number < 0 ? -value : value;
}

/// Of a value that a half holds. Denormals become 0.
int number_of_bc6(const Format& format, double value) {
    int exponent = 0;
    const double mantissa = std::frexp(std::abs(value), &exponent);
    const int bits = (exponent + 14) * 1024 + static_cast<int>(mantissa * 2048) - 1024;
    const int spacing = bc6_spacing(format);
    if (value == 0 || bits < 1024 + spacing) return 0;
    const int size = std::min(bits / spacing, largest_of_bc6(format));
    return value < 0 ? -size : size;
}

/// The components as the integers that are written.
Numbers numbers_of(const Format& format, const Texel& texel) {
    const Format kept = kept_format(format);
    Numbers numbers = {0, 0, 0, 0};
    for (std::size_t c = 0; c < 4; ++c) {
        if (!format.has(c)) continue;
        const double number = number_of(kept.kind_of(c), kept.bits[c], texel[c]);
        numbers[c] = format.block.scheme == Scheme::kBc6 ? number_of_bc6(format, texel[c])
                                                         : static_cast<int>(std::lround(number));
    }
    return numbers;
}

/// Of a component of one, or four to seven bits, which the documents fill up to eight with its own
/// highest bits.
double filled_up(Kind kind, int bits, double value) {
    const int number = static_cast<int>(std::lround(number_of(kind, bits, value)));
    const double filled =
        bits == 1 ? number : (number << (8 - bits) | number >> (2 * bits - 8)) / 255.0;
    return kind == Kind::kSrgb ? srgb_to_linear(filled) : filled;
}

/// Bytes bit by bit.
class BlockWriter {
public:
    /// Either the lowest bits and bytes come first, or the highest.
    BlockWriter(std::vector<unsigned char>* bytes, bool isHighestFirst)
        : bytes_(*bytes), isHighestFirst_(isHighestFirst) {}

    void put(int value, int count) {
        for (int i = 0; i < count; ++i) {
            if (used_ % 8 == 0) bytes_.push_back(0);
            const int bit = (value >> (isHighestFirst_ ? count - 1 - i : i)) & 1;
            const int shift = isHighestFirst_ ? 7 - used_ % 8 : used_ % 8;
            bytes_.back() = static_cast<unsigned char>(bytes_.back() | bit << shift);
            ++used_;
        }
    }
    void repeat(int value, int count, int times) {
        for (int i = 0; i < times; ++i) put(value, count);
    }

private:
    std::vector<unsigned char>& bytes_;
    bool isHighestFirst_;
    int used_ = 0;
};

/// Two equal colors, and all texels the first; or, with one bit of alpha, all transparent.
void put_bc_color(const Numbers& numbers, bool isTransparent, BlockWriter* writer) {
    for (int i = 0; i < 2; ++i) {
        writer->put(numbers[2], 5);
        writer->put(numbers[1], 6);
        writer->put(numbers[0], 5);
    }
    writer->repeat(isTransparent ? 3 : 0, 2, 16);
}

/// Two equal ends, and all texels the first.
void put_bc4(int number, BlockWriter* writer) {
    writer->repeat(number, 8, 2);
    writer->repeat(0, 3, 16);
}

/// Of one region, with ends of ten bits.
void put_bc6(const Numbers& numbers, BlockWriter* writer) {
    writer->put(3, 5);
    for (int end = 0; end < 2; ++end) {
        for (const std::size_t c : {0u, 1u, 2u}) writer->put(numbers[c], 10);
    }
    writer->repeat(0, 1, 63);
}

/// Mode 5: of one region, with alpha on its own.
void put_bc7(const Numbers& numbers, BlockWriter* writer) {
    writer->put(1 << 5, 6);
    writer->put(0, 2);  // Alpha is alpha.
    for (const std::size_t c : {0u, 1u, 2u}) writer->repeat(numbers[c], 7, 2);
    writer->repeat(numbers[3], 8, 2);
    writer->repeat(0, 1, 62);
}

/// The planar mode, with the same color at all three corners. It is known by a difference of blue
/// that overflows, where those of red and green must not: the bits between see to that.
void put_planar(const Numbers& numbers, BlockWriter* writer) {
    const auto [red, green, blue, alpha] = numbers;
    const auto bits = [](int number, int first, int count) {
        return number >> first & ((1 << count) - 1);
    };
    const bool isAbove = bits(blue, 3, 2) + bits(blue, 1, 2) >= 4;
    writer->put(bits(red, 1, 1), 1);
    writer->put(red, 6);
    writer->put(bits(green, 6, 1), 1);
    writer->put(bits(green, 1, 1), 1);
    writer->put(green, 6);
    writer->put(bits(blue, 5, 1), 1);
    writer->put(isAbove ? 7 : 0, 3);
    writer->put(bits(blue, 3, 2), 2);
    writer->put(isAbove ? 0 : 1, 1);
    writer->put(blue, 3);
    writer->put(bits(red, 1, 5), 5);
    writer->put(1, 1);
    writer->put(red, 1);
    writer->put(green, 7);
    writer->put(blue, 6);
    writer->put(red, 6);
    writer->put(green, 7);
    writer->put(blue, 6);
}

/// No difference between the halves, and texels that are the color itself or transparent.
void put_punchthrough(const Numbers& numbers, BlockWriter* writer) {
    for (const std::size_t c : {0u, 1u, 2u}) {
        writer->put(numbers[c], 5);
        writer->put(0, 3);
    }
    writer->put(0, 8);
    writer->repeat(numbers[3] == 0 ? 1 : 0, 1, 16);
    writer->repeat(0, 1, 16);
}

/// One of eight modifiers of a table is added to the base in all texels.
void put_eac(int base, int multiplier, int table, int modifier, BlockWriter* writer) {
    writer->put(base, 8);
    writer->put(multiplier, 4);
    writer->put(table, 4);
    writer->repeat(modifier, 3, 16);
}

/// Eleven bits: eight in the base, whose unit is 8, and the rest by a modifier from -4 to 3.
void put_eac11(const Format& format, int number, BlockWriter* writer) {
    constexpr int kTables[] = {14, 13, 13, 13, 13, 13, 13, 14};
    constexpr int kModifiers[] = {0, 2, 1, 0, 4, 5, 6, 4};
    // The unsigned base stands for the middle of its unit.
    const int fromLowest = format.kind == Kind::kSnorm ? number + 4 : number;
    const int modifier = fromLowest & 7;
    put_eac(fromLowest >> 3, 0, kTables[modifier], kModifiers[modifier], writer);
}

/// A void extent: a color of 16 bits that holds everywhere.
void put_astc(const Numbers& numbers, BlockWriter* writer) {
    writer->put(0xDFC, 12);
    writer->repeat(1, 1, 52);
    for (const int number : numbers) writer->put(number * 257, 16);
}

void put_block(const Format& format, const Numbers& numbers, BlockWriter* writer) {
    switch (format.block.scheme) {
        case Scheme::kBc1:
            return put_bc_color(numbers, format.has(3) && numbers[3] == 0, writer);
        case Scheme::kBc2:
            writer->repeat(numbers[3], 4, 16);
            return put_bc_color(numbers, false, writer);
        case Scheme::kBc3:
            put_bc4(numbers[3], writer);
            return put_bc_color(numbers, false, writer);
        case Scheme::kBc4:
            put_bc4(numbers[0], writer);
            if (format.has(1)) put_bc4(numbers[1], writer);
            return;
        case Scheme::kBc6:
            return put_bc6(numbers, writer);
        case Scheme::kBc7:
            return put_bc7(numbers, writer);
        case Scheme::kEtc2Punchthrough:
            return put_punchthrough(numbers, writer);
        case Scheme::kEtc2Eac:
            // The modifier 0 of table 13.
            put_eac(numbers[3], 1, 13, 4, writer);
            return put_planar(numbers, writer);
        case Scheme::kEtc2:
            return put_planar(numbers, writer);
        case Scheme::kEac:
            put_eac11(format, numbers[0], writer);
            if (format.has(1)) put_eac11(format, numbers[1], writer);
            return;
        default:
            return put_astc(numbers, writer);
    }
}

bool is_highest_first(Scheme scheme) {
    return scheme == Scheme::kEtc2 || scheme == Scheme::kEtc2Punchthrough ||
           scheme == Scheme::kEtc2Eac || scheme == Scheme::kEac;
}

}  // namespace

Texel quantize_block(const Format& format, const Texel& texel) {
    constexpr double kLargestSignedEac = 1019 / 1023.0;  // With modifiers from -4 to 3.
    const Format kept = kept_format(format);
    Texel result = quantize(kept, texel);
    if (kept.bits[3] == 1 && result[3] == 0) return {0, 0, 0, 0};
    for (std::size_t c = 0; c < 4; ++c) {
        const int bits = kept.bits[c];
        if (bits != 0 && bits < 8) result[c] = filled_up(kept.kind_of(c), bits, result[c]);
        if (format.block.scheme == Scheme::kBc6) {
            result[c] = value_of_bc6(format, number_of_bc6(format, result[c]));
        }
        if (format.block.scheme == Scheme::kEac && format.kind == Kind::kSnorm) {
            result[c] = std::clamp(result[c], -kLargestSignedEac, kLargestSignedEac);
        }
    }
    return result;
}

Texel block_pattern(const Format& format, int column, int row) {
    // Sixteen columns and four rows are a row of the pattern.
    const int x = column % 16 + 16 * (row % 4);
    const int y = row / 4 + 8 * (column / 16);
    Format whole = format;
    whole.block = {};
    return quantize_block(format, pattern(whole, x, y));
}

TexelImage block_colors(const Format& format, int width, int height, int firstColumn) {
    return make_image(
        blocks_across(format, width), blocks_across(format, height),
        [&](int column, int row) { return block_pattern(format, column + firstColumn, row); });
}

TexelImage block_colors(const Format& format, const TexelImage& image) {
    const int side = format.block.side;
    return make_image(blocks_across(format, image.width), blocks_across(format, image.height),
                      [&](int column, int row) { return image.at(column * side, row * side); });
}

std::vector<unsigned char> blocks_of(const Format& format, const TexelImage& colors) {
    std::vector<unsigned char> bytes;
    for (const Texel& color : colors.texels) {
        BlockWriter writer(&bytes, is_highest_first(format.block.scheme));
        put_block(format, numbers_of(format, color), &writer);
    }
    return bytes;
}

}  // namespace texprobe::survey
