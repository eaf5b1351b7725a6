#include "pixels/texel_bytes.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace texprobe::survey {

namespace {

// OpenGL's numbers.
constexpr unsigned kTypeByte = 0x1400, kTypeShort = 0x1402, kTypeInt = 0x1404, kTypeFloat = 0x1406,
                   kTypeHalf = 0x140B, kTypeUnsignedByte = 0x1401, kType101111Rev = 0x8C3B,
                   kType5999Rev = 0x8C3E, kTypeFloat248Rev = 0x8DAD;

// What stencil bits are filled with; they are not judged.
constexpr std::uint32_t kStencil = 0x5A;

using Bytes = std::vector<unsigned char>;

template <typename Value>
void append(Bytes* bytes, Value value) {
    const std::size_t end = bytes->size();
    bytes->resize(end + sizeof value);
    std::memcpy(bytes->data() + end, &value, sizeof value);
}

template <typename Value>
Value take(const unsigned char* bytes) {
    Value value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

/// Halves have ten bits after the point and a sign, the packed floats six or five and none; all
/// have five bits of exponent.
std::uint32_t small_float_bits(double value, int mantissaBits) {
    constexpr int kBias = 15;
    const std::uint32_t sign = std::signbit(value) ? 1u << 15 : 0;
    if (value == 0) return sign;
    int exponent = 0;
    const double fraction = std::frexp(std::abs(value), &exponent) * 2 - 1;
    const auto mantissa = static_cast<std::uint32_t>(std::ldexp(fraction, mantissaBits));
    return sign | static_cast<std::uint32_t>(exponent - 1 + kBias) << mantissaBits | mantissa;
}

double small_float_of(std::uint32_t bits, int mantissaBits) {
    constexpr int kBias = 15;
    const std::uint32_t mantissa = bits & ((1u << mantissaBits) - 1);
    const auto exponent = static_cast<int>(bits >> mantissaBits & 31);
    const double sign = mantissaBits == 10 && bits >> 15 != 0 ? -1 : 1;
    if (exponent == 31) return sign * (mantissa == 0 ? HUGE_VAL : std::nan(""));
    if (exponent == 0) return sign * std::ldexp(mantissa, 1 - kBias - mantissaBits);
    const auto whole = static_cast<double>(mantissa | 1u << mantissaBits);
    return sign * std::ldexp(whole, exponent - kBias - mantissaBits);
}

constexpr int kPackedMantissaBits[] = {6, 6, 5};

std::uint32_t packed_floats(const Texel& texel) {
    return small_float_bits(texel[0], 6) | small_float_bits(texel[1], 6) << 11 |
           small_float_bits(texel[2], 5) << 22;
}

/// The texel has nine bits at the exponent of its largest component, as quantize() makes it.
std::uint32_t shared_exponent(const Texel& texel) {
    constexpr int kBias = 15;
    constexpr int kMantissaBits = 9;
    int exponent = 0;
    std::frexp(std::max({texel[0], texel[1], texel[2]}), &exponent);
    const int shared = std::max(exponent + kBias, 0);
    std::uint32_t word = static_cast<std::uint32_t>(shared) << 27;
    for (std::size_t c = 0; c < 3; ++c) {
        const double number = std::ldexp(texel[c], kMantissaBits + kBias - shared);
        word |= static_cast<std::uint32_t>(number) << (9 * c);
    }
    return word;
}

Texel texel_of_packed(unsigned type, std::uint32_t word) {
    Texel texel = {0, 0, 0, 1};
    for (std::size_t c = 0; c < 3; ++c) {
        texel[c] = type == kType5999Rev
                       ? std::ldexp(word >> (9 * c) & 511, static_cast<int>(word >> 27) - 15 - 9)
                       : small_float_of(word >> (11 * c), kPackedMantissaBits[c]);
    }
    return texel;
}

/// The component as an integer of that many bits; negative ones as their two's complement.
std::uint32_t integer_of(const Format& format, std::size_t component, double value, int bits) {
    const double number = std::round(number_of(format.kind_of(component), bits, value));
    return static_cast<std::uint32_t>(static_cast<std::int64_t>(number));
}

/// The other way round.
double value_of_integer(const Format& format, std::size_t component, double number, int bits) {
    return value_of(format.kind_of(component), bits, number);
}

void append_component(const Format& format, std::size_t c, const LayoutType& type, double value,
                      Bytes* bytes) {
    if (type.value == kTypeFloat || type.value == kTypeFloat248Rev) {
        return append(bytes, static_cast<float>(value));
    }
    if (type.value == kTypeHalf) {
        return append(bytes, static_cast<std::uint16_t>(small_float_bits(value, 10)));
    }
    const std::uint32_t number = integer_of(format, c, value, 8 * type.bytes);
    if (type.bytes == 1) return append(bytes, static_cast<std::uint8_t>(number));
    if (type.bytes == 2) return append(bytes, static_cast<std::uint16_t>(number));
    append(bytes, number);
}

double component_at(const Format& format, std::size_t c, const LayoutType& type,
                    const unsigned char* bytes) {
    double number = 0;
    switch (type.value) {
        case kTypeFloat:
        case kTypeFloat248Rev:
            return take<float>(bytes);
        case kTypeHalf:
            return small_float_of(take<std::uint16_t>(bytes), 10);
        case kTypeByte:
            number = take<std::int8_t>(bytes);
            break;
        case kTypeShort:
            number = take<std::int16_t>(bytes);
            break;
        case kTypeInt:
            number = take<std::int32_t>(bytes);
            break;
        default:
            number = type.bytes == 1   ? take<std::uint8_t>(bytes)
                     : type.bytes == 2 ? take<std::uint16_t>(bytes)
                                       : take<std::uint32_t>(bytes);
    }
    return value_of_integer(format, c, number, 8 * type.bytes);
}

/// How far to the left the component at that place in a packed word is.
int shift_of(const LayoutType& type, std::size_t place) {
    int before = 0;
    for (std::size_t i = 0; i < place; ++i) before += type.packed[i];
    return type.isReversed ? before : 8 * type.bytes - before - type.packed[place];
}

std::size_t component_of(const LayoutFormat& format, std::size_t place) {
    return static_cast<std::size_t>(format.components[place] - '0');
}

std::uint32_t packed_word(const Format& format, const Layout& layout, const Texel& texel) {
    const LayoutType& type = type_of(layout);
    const LayoutFormat& order = format_of(layout);
    std::uint32_t word = format.base == Base::kDepthStencil ? kStencil : 0;
    for (std::size_t place = 0; order.components[place] != 0; ++place) {
        const std::size_t c = component_of(order, place);
        word |= integer_of(format, c, texel[c], type.packed[place]) << shift_of(type, place);
    }
    return word;
}

bool is_packed_float(unsigned type) {
    return type == kType101111Rev || type == kType5999Rev;
}

}  // namespace

Layout plain_layout(const Format& format) {
    Layout plain = layouts_of(format).front();
    const bool isFloat = format.kind == Kind::kFloat || format.kind == Kind::kUfloat ||
                         format.kind == Kind::kSharedExponent;
    if (isFloat && !format.is_depth()) plain.type = kTypeFloat;
    if (format.bits[0] < 8) plain.type = kTypeUnsignedByte;
    return plain;
}

std::size_t texel_size(const Layout& layout) {
    const LayoutType& type = type_of(layout);
    const bool isOneWord = type.is_packed() || type.value == kTypeFloat248Rev;
    const std::size_t words = isOneWord ? 1 : std::strlen(format_of(layout).components);
    return words * static_cast<std::size_t>(type.bytes);
}

int bits_in(const Layout& layout, std::size_t component) {
    const LayoutType& type = type_of(layout);
    const LayoutFormat& order = format_of(layout);
    for (std::size_t place = 0; order.components[place] != 0; ++place) {
        if (component_of(order, place) != component) continue;
        return type.is_packed() ? type.packed[place] : 8 * type.bytes;
    }
    return 0;
}

void append_texel(const Format& format, const Layout& layout, const Texel& texel, Bytes* bytes) {
    const LayoutType& type = type_of(layout);
    const LayoutFormat& order = format_of(layout);
    if (type.is_packed()) {
        const std::uint32_t word = type.value == kType101111Rev ? packed_floats(texel)
                                   : type.value == kType5999Rev
                                       ? shared_exponent(texel)
                                       : packed_word(format, layout, texel);
        return type.bytes == 2 ? append(bytes, static_cast<std::uint16_t>(word))
                               : append(bytes, word);
    }
    for (std::size_t place = 0; order.components[place] != 0; ++place) {
        const std::size_t c = component_of(order, place);
        append_component(format, c, type, texel[c], bytes);
    }
    if (type.value == kTypeFloat248Rev) append(bytes, kStencil);
}

Texel read_texel(const Format& format, const Layout& layout, const unsigned char* bytes) {
    const LayoutType& type = type_of(layout);
    const LayoutFormat& order = format_of(layout);
    Texel texel = {0, 0, 0, 1};
    const std::uint32_t word = !type.is_packed() ? 0
                               : type.bytes == 2 ? take<std::uint16_t>(bytes)
                                                 : take<std::uint32_t>(bytes);
    if (is_packed_float(type.value)) return texel_of_packed(type.value, word);
    for (std::size_t place = 0; order.components[place] != 0; ++place) {
        const std::size_t c = component_of(order, place);
        if (type.is_packed()) {
            const int bits = type.packed[place];
            const std::uint32_t number = word >> shift_of(type, place) & ((1u << bits) - 1);
            texel[c] = value_of_integer(format, c, number, bits);
        } else {
            texel[c] =
                component_at(format, c, type, bytes + place * static_cast<std::size_t>(type.bytes));
        }
    }
    return format.base == Base::kLuminance ? as_sampled(format, texel) : texel;
}

Bytes bytes_of(const Format& format, const Layout& layout, const TexelImage& image) {
    Bytes bytes;
    bytes.reserve(image.texels.size() * texel_size(layout));
    for (const Texel& texel : image.texels) append_texel(format, layout, texel, &bytes);
    return bytes;
}

}  // namespace texprobe::survey
