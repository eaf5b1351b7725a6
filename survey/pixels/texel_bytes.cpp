#include "pixels/texel_bytes.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace texprobe::survey {

namespace {

// OpenGL's numbers.
constexpr unsigned kByte = 0x1400, kUnsignedByte = 0x1401, kShort = 0x1402, kUnsignedShort = 0x1403,
                   kInt32 = 0x1404, kUnsignedInt = 0x1405, kFloat32 = 0x1406,
                   kUnsignedInt2101010Rev = 0x8368, kUnsignedInt248 = 0x84FA,
                   kFloat32UnsignedInt248Rev = 0x8DAD;
constexpr unsigned kLuminance = 0x1909, kLuminanceAlpha = 0x190A, kDepthComponent = 0x1902,
                   kDepthStencil = 0x84F9, kBgra = 0x80E1;

// What stencil bits are filled with; they are not judged.
constexpr std::uint32_t kStencil = 0x5A;

using Bytes = std::vector<unsigned char>;

template <typename Value>
void append(Bytes* bytes, Value value) {
    const std::size_t end = bytes->size();
    bytes->resize(end + sizeof value);
    std::memcpy(bytes->data() + end, &value, sizeof value);
}

unsigned plain_format(const Format& format) {
    constexpr unsigned kColors[] = {0x1903, 0x8227, 0x1907, 0x1908};    // GL_RED to GL_RGBA.
    constexpr unsigned kIntegers[] = {0x8D94, 0x8228, 0x8D98, 0x8D99};  // GL_RED_INTEGER to ...
    const auto count =
        static_cast<std::size_t>(4 - std::count(format.bits.begin(), format.bits.end(), 0));
    switch (format.base) {
        case Base::kLuminance:
            return format.has(3) ? kLuminanceAlpha : kLuminance;
        case Base::kDepth:
            return kDepthComponent;
        case Base::kDepthStencil:
            return kDepthStencil;
        default:
            break;
    }
    if (format.value == kBgra8) return kBgra;
    return format.is_integer() ? kIntegers[count - 1] : kColors[count - 1];
}

unsigned plain_type(const Format& format) {
    const int bits = format.bits[0];
    const bool isNarrow = bits <= 8;
    if (format.base == Base::kDepthStencil) {
        return format.kind == Kind::kFloat ? kFloat32UnsignedInt248Rev : kUnsignedInt248;
    }
    if (bits == 10 && format.has(3)) return kUnsignedInt2101010Rev;
    switch (format.kind) {
        case Kind::kSnorm:
            return isNarrow ? kByte : kShort;
        case Kind::kInt:
            return isNarrow ? kByte : bits == 16 ? kShort : kInt32;
        case Kind::kUnorm:
        case Kind::kSrgb:
        case Kind::kUint:
            return isNarrow ? kUnsignedByte : bits == 16 ? kUnsignedShort : kUnsignedInt;
        default:
            return kFloat32;
    }
}

/// The component as an integer of that many bits.
double scaled(const Format& format, std::size_t component, double value, int bits) {
    const double top = std::ldexp(1.0, bits) - 1;
    switch (format.kind_of(component)) {
        case Kind::kUnorm:
            return std::round(value * top);
        case Kind::kSrgb:
            return std::round(linear_to_srgb(value) * top);
        case Kind::kSnorm:
            return std::round(value * std::floor(top / 2));
        default:
            return value;
    }
}

void append_component(const Format& format, std::size_t c, unsigned type, double value,
                      Bytes* bytes) {
    switch (type) {
        case kByte:
            return append(bytes, static_cast<std::int8_t>(scaled(format, c, value, 8)));
        case kUnsignedByte:
            return append(bytes, static_cast<std::uint8_t>(scaled(format, c, value, 8)));
        case kShort:
            return append(bytes, static_cast<std::int16_t>(scaled(format, c, value, 16)));
        case kUnsignedShort:
            return append(bytes, static_cast<std::uint16_t>(scaled(format, c, value, 16)));
        case kInt32:
            return append(bytes, static_cast<std::int32_t>(scaled(format, c, value, 32)));
        case kUnsignedInt:
            return append(bytes, static_cast<std::uint32_t>(scaled(format, c, value, 32)));
        default:
            return append(bytes, static_cast<float>(value));
    }
}

std::uint32_t packed(const Format& format, const Texel& texel) {
    constexpr int kWidths[] = {10, 10, 10, 2};
    std::uint32_t word = 0;
    int shift = 0;
    for (std::size_t c = 0; c < 4; ++c) {
        word |= static_cast<std::uint32_t>(scaled(format, c, texel[c], kWidths[c])) << shift;
        shift += kWidths[c];
    }
    return word;
}

void append_texel(const Format& format, const Layout& layout, const Texel& texel, Bytes* bytes) {
    switch (layout.type) {
        case kUnsignedInt2101010Rev:
            return append(bytes, packed(format, texel));
        case kUnsignedInt248:
            return append(
                bytes, static_cast<std::uint32_t>(scaled(format, 0, texel[0], 24)) << 8 | kStencil);
        case kFloat32UnsignedInt248Rev:
            append(bytes, static_cast<float>(texel[0]));
            return append(bytes, kStencil);
        default:
            break;
    }
    constexpr std::array<std::size_t, 4> kRgba = {0, 1, 2, 3};
    constexpr std::array<std::size_t, 4> kBgraOrder = {2, 1, 0, 3};
    for (const std::size_t c : layout.format == kBgra ? kBgraOrder : kRgba) {
        if (format.has(c)) append_component(format, c, layout.type, texel[c], bytes);
    }
}

}  // namespace

Layout plain_layout(const Format& format) {
    return {plain_format(format), plain_type(format)};
}

Bytes bytes_of(const Format& format, const Layout& layout, const Image& image) {
    Bytes bytes;
    bytes.reserve(image.texels.size() * 16);
    for (const Texel& texel : image.texels) append_texel(format, layout, texel, &bytes);
    return bytes;
}

}  // namespace texprobe::survey
