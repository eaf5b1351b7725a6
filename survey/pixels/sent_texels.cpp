#include "pixels/sent_texels.h"

#include <algorithm>
#include <cstring>

namespace texprobe::survey {

namespace {

constexpr int kLongestRow = 128;
// Behind the image: more than a row of it, whatever a driver takes for its end.
constexpr std::size_t kBytesBehind = 4096;

unsigned char other_byte(std::size_t place) {
    return static_cast<unsigned char>(place * 37 + place / 256 + 11);
}

}  // namespace

SentTexels::SentTexels(const Format& format, const Layout& layout)
    : layout_(layout), codec_(format, layout) {
    const std::size_t size = codec_.texel_size();
    for (int i = 0; i < kPeriod; ++i) {
        codec_.append_texel(pattern(format, i % 64, i / 64), &bytes_);
        const unsigned char* const sent = &bytes_[bytes_.size() - size];
        texels_.push_back(as_sampled(format, codec_.read_texel(sent)));
    }
    texels_.insert(texels_.end(), texels_.begin(), texels_.begin() + kLongestRow);
    accepted_ = texels_;
    const std::vector<unsigned char> again(
        bytes_.begin(), bytes_.begin() + static_cast<std::ptrdiff_t>(kLongestRow * size));
    bytes_.insert(bytes_.end(), again.begin(), again.end());
}

ImageMemory::ImageMemory(const Placement& placement, const TexelCodec& codec)
    : placement_(placement), texelSize_(codec.texel_size()) {
    bytes_.resize(row_offset(placement.height - 1) + row_size() + kBytesBehind);
    for (std::size_t i = 0; i < bytes_.size(); ++i) bytes_[i] = other_byte(i);
}

void ImageMemory::put(const SentTexels& sent, int first) {
    for (int y = 0; y < placement_.height; ++y) {
        std::memcpy(&bytes_[row_offset(y)], sent.bytes(first, 0, y), row_size());
    }
}

bool ImageMemory::is_untouched_around() const {
    std::size_t place = 0;
    for (int y = 0; y <= placement_.height; ++y) {
        const std::size_t end = y < placement_.height ? row_offset(y) : bytes_.size();
        for (; place < end; ++place) {
            if (bytes_[place] != other_byte(place)) return false;
        }
        place += row_size();
    }
    return true;
}

std::size_t ImageMemory::row_offset(int y) const {
    const int texels = (placement_.skipRows + y) * placement_.rowLength + placement_.skipPixels;
    return placement_.offset + static_cast<std::size_t>(texels) * texelSize_;
}

std::size_t ImageMemory::row_size() const {
    return static_cast<std::size_t>(placement_.width) * texelSize_;
}

bool is_transferred(Kind kind, int bitsBefore, int bits, double expected, double came) {
    // The judge sees a normalized value as a float, which has no more than 24 bits.
    const double lastBit = std::ldexp(1, -23);
    if (expected == came) return true;
    if (!is_normalized(kind) || bits == 0) return false;
    if (std::abs(expected - came) <= lastBit) return true;
    const double steps = std::abs(number_of(kind, bits, expected) - number_of(kind, bits, came));
    const double allowed = bits == bitsBefore ? 0.5 : 1 - std::ldexp(1, -12);
    const Kind scale = kind == Kind::kSrgb ? Kind::kUnorm : kind;
    return steps <= allowed + number_of(scale, bits, lastBit);
}

}  // namespace texprobe::survey
