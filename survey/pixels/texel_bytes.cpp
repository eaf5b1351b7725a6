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

// Fills the stencil bits, which are not judged.
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
    return value_of(format.kind_of(c), 8 * type.bytes, number);
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

TexelCodec::TexelCodec(const Format& format, const Layout& layout)
    : format_(format),
      order_(format_of(layout)),
      type_(type_of(layout)),
      places_(std::strlen(order_.components)) {
    const bool isOneWord = type_.is_packed() || type_.value == kTypeFloat248Rev;
    size_ = (isOneWord ? 1 : places_) * static_cast<std::size_t>(type_.bytes);
    for (std::size_t place = 0; place < places_; ++place) {
        const int bits = type_.is_packed() ? type_.packed[place] : 8 * type_.bytes;
        bits_[component_of(order_, place)] = bits;
    }
}

std::uint32_t TexelCodec::packed_word(const Texel& texel) const {
    if (type_.value == kType101111Rev) return packed_floats(texel);
    if (type_.value == kType5999Rev) return shared_exponent(texel);
    std::uint32_t word = format_.base == Base::kDepthStencil ? kStencil : 0;
    for (std::size_t place = 0; place < places_; ++place) {
        const std::size_t c = component_of(order_, place);
        word |= integer_of(format_, c, texel[c], type_.packed[place]) << shift_of(type_, place);
    }
    return word;
}

void TexelCodec::append_texel(const Texel& texel, Bytes* bytes) const {
    if (type_.is_packed()) {
        const std::uint32_t word = packed_word(texel);
        return type_.bytes == 2 ? append(bytes, static_cast<std::uint16_t>(word))
                                : append(bytes, word);
    }
    for (std::size_t place = 0; place < places_; ++place) {
        const std::size_t c = component_of(order_, place);
        append_component(format_, c, type_, texel[c], bytes);
    }
    if (type_.value == kTypeFloat248Rev) append(bytes, kStencil);
}

Texel TexelCodec::read_texel(const unsigned char* bytes) const {
    Texel texel = {0, 0, 0, 1};
    const std::uint32_t word = !type_.is_packed() ? 0
                               : type_.bytes == 2 ? take<std::uint16_t>(bytes)
                                                  : take<std::uint32_t>(bytes);
    if (is_packed_float(type_.value)) return texel_of_packed(type_.value, word);
    for (std::size_t place = 0; place < places_; ++place) {
        const std::size_t c = component_of(order_, place);
        if (type_.is_packed()) {
            const int bits = type_.packed[place];
            const std::uint32_t number = word >> shift_of(type_, place) & ((1u << bits) - 1);
            texel[c] = value_of(format_.kind_of(c), bits, number);
        } else {
            texel[c] = component_at(format_, c, type_, bytes);
            bytes += type_.bytes;
        }
    }
    return format_.base == Base::kLuminance ? as_sampled(format_, texel) : texel;
}

Bytes bytes_of(const Format& format, const Layout& layout, const TexelImage& image) {
    const TexelCodec codec(format, layout);
    Bytes bytes;
    bytes.reserve(image.texels.size() * codec.texel_size());
    for (const Texel& texel : image.texels) codec.append_texel(texel, &bytes);
    return bytes;
}

}  // namespace texprobe::survey
