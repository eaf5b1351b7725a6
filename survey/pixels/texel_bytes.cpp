#include "pixels/texel_bytes.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "pixels/compressed_blocks.h"

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
    const auto absent = std::count(format.bits.begin(), format.bits.end(), 0);
    if (format.base == Base::kLuminance) return format.has(3) ? kLuminanceAlpha : kLuminance;
    if (format.base == Base::kDepth) return kDepthComponent;
    if (format.base == Base::kDepthStencil) return kDepthStencil;
    if (format.value == kBgra8) return kBgra;
    return (format.is_integer() ? kIntegers : kColors)[3 - absent];
}

unsigned plain_type(const Format& format) {
    constexpr unsigned kUnsigned[] = {kUnsignedByte, kUnsignedShort, kUnsignedInt};
    constexpr unsigned kSigned[] = {kByte, kShort, kInt32};
    const bool hasStencil = format.base == Base::kDepthStencil;
    const int bits = format.bits[0];
    if (hasStencil && format.kind == Kind::kUnorm) return kUnsignedInt248;
    if (hasStencil) return kFloat32UnsignedInt248Rev;
    if (bits == 10 && format.has(3)) return kUnsignedInt2101010Rev;
    const std::size_t size = bits <= 8 ? 0 : bits <= 16 ? 1 : 2;
    switch (format.kind) {
        case Kind::kSnorm:
        case Kind::kInt:
            return kSigned[size];
        case Kind::kUnorm:
        case Kind::kSrgb:
        case Kind::kUint:
            return kUnsigned[size];
        default:
            return kFloat32;
    }
}

/// The component as an integer of that many bits; negative ones as their two's complement.
std::uint32_t integer_of(const Format& format, std::size_t component, double value, int bits) {
    const double number = std::round(number_of(format.kind_of(component), bits, value));
    return static_cast<std::uint32_t>(static_cast<std::int64_t>(number));
}

void append_component(const Format& format, std::size_t c, unsigned type, double value,
                      Bytes* bytes) {
    switch (type) {
        case kByte:
        case kUnsignedByte:
            return append(bytes, static_cast<std::uint8_t>(integer_of(format, c, value, 8)));
        case kShort:
        case kUnsignedShort:
            return append(bytes, static_cast<std::uint16_t>(integer_of(format, c, value, 16)));
        case kInt32:
        case kUnsignedInt:
            return append(bytes, integer_of(format, c, value, 32));
        default:
            return append(bytes, static_cast<float>(value));
    }
}

std::uint32_t packed(const Format& format, const Texel& texel) {
    constexpr int kWidths[] = {10, 10, 10, 2};
    std::uint32_t word = 0;
    int shift = 0;
    for (std::size_t c = 0; c < 4; ++c) {
        word |= integer_of(format, c, texel[c], kWidths[c]) << shift;
        shift += kWidths[c];
    }
    return word;
}

void append_texel(const Format& format, const TexelLayout& layout, const Texel& texel,
                  Bytes* bytes) {
    switch (layout.type) {
        case kUnsignedInt2101010Rev:
            return append(bytes, packed(format, texel));
        case kUnsignedInt248:
            return append(bytes, integer_of(format, 0, texel[0], 24) << 8 | kStencil);
        case kFloat32UnsignedInt248Rev:
            append(bytes, static_cast<float>(texel[0]));
            return append(bytes, kStencil);
        default:
            break;
    }
    const bool isBlueFirst = layout.format == kBgra;
    for (const std::size_t place : {0u, 1u, 2u, 3u}) {
        const std::size_t c = isBlueFirst && place < 3 ? 2 - place : place;
        if (format.has(c)) append_component(format, c, layout.type, texel[c], bytes);
    }
}

}  // namespace

TexelLayout plain_layout(const Format& format) {
    return {plain_format(format), plain_type(format)};
}

Bytes bytes_of(const Format& format, const TexelLayout& layout, const TexelImage& image) {
    if (format.is_compressed()) return blocks_of(format, image);
    Bytes bytes;
    bytes.reserve(image.texels.size() * 16);
    for (const Texel& texel : image.texels) append_texel(format, layout, texel, &bytes);
    return bytes;
}

}  // namespace texprobe::survey
