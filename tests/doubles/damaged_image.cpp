#include "damaged_image.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

#include "support/slow_distance.h"

namespace texprobe::tests {

namespace {

constexpr std::size_t kPixels = 16384;

/// Of 16-bit integers and floats.
void round_to_8_bits(unsigned type, unsigned char* element) {
    if (type == kShort) {
        std::uint16_t value = 0;
        std::memcpy(&value, element, sizeof value);
        value = static_cast<std::uint16_t>((value >> 8) * 257);
        std::memcpy(element, &value, sizeof value);
    } else if (type == kFloat) {
        float value = 0;
        std::memcpy(&value, element, sizeof value);
        value = std::round(value * 255.0F) / 255.0F;
        std::memcpy(element, &value, sizeof value);
    }
}

}  // namespace

void damage_image(const std::string& damage, unsigned format, unsigned type,
                  unsigned char* pixels) {
    static std::vector<unsigned char> last;
    const std::size_t element = element_size(type);
    const std::size_t pixel = element * elements_per_pixel(format);
    const std::size_t size = pixel * kPixels;
    if (damage == "zeros") std::memset(pixels, 0, size);
    if (damage == "half") std::memset(pixels + size / 2, 0, size / 2);
    if (damage == "stale") std::memcpy(pixels, last.data(), std::min(size, last.size()));
    for (unsigned char* at = pixels; at < pixels + size; at += pixel) {
        if (damage == "exchanged") std::swap_ranges(at, at + element, at + 2 * element);
    }
    for (unsigned char* at = pixels; at < pixels + size; at += element) {
        if (damage == "rounded") round_to_8_bits(type, at);
    }
    last.assign(pixels, pixels + size);
}

}  // namespace texprobe::tests
