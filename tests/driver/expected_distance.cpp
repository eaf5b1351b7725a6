// The expected distance of a test on the fakes: the pattern, as their renderer draws it, and the
// slow comparison.

#include <bit>
#include <cstdint>
#include <cstring>

#include "doubles/fakes/fakes.h"
#include "golden.h"
#include "support/slow_distance.h"

namespace texprobe::tests {

namespace {

/// h / 65536 as a half float, for h from 1 to 65536.
std::uint32_t half_of(unsigned h) {
    if (h == 65536) return 0x3C00;
    if (h < 4) return h == 3 ? 0x0300 : 0x0200;
    unsigned power = 1;
    unsigned exponent = 0;
    while (power * 2 <= h) {
        power *= 2;
        ++exponent;
    }
    return (exponent - 1) * 1024 + (h - power) * 1024 / power;
}

std::vector<unsigned char> pattern(std::size_t size, unsigned type, long random) {
    std::vector<unsigned char> bytes(size);
    for (std::size_t i = 0; i < size; i += 4) {
        std::uint32_t word = static_cast<std::uint32_t>(i / 4 * static_cast<std::size_t>(random));
        if (type == kFloat) {
            const double exact = (static_cast<double>(word) + 1) / 4294967296.0;
            word = std::bit_cast<std::uint32_t>(static_cast<float>(exact));
        } else if (type == kHalf) {
            word = half_of((word & 65535) + 1) | half_of((word >> 16) + 1) << 16;
        }
        std::memcpy(&bytes[i], &word, sizeof word);
    }
    return bytes;
}

}  // namespace

unsigned long long expected_distance(const Format& format, const std::string& capability,
                                     long random) {
    const std::size_t count = 16384 * elements_per_pixel(format.format);
    const std::vector<unsigned char> sent =
        pattern(std::size_t{16384} * format.bytesPerPixel, format.type, random);
    const std::vector<int> source = slow_8bit_elements(sent.data(), count, format.type);
    if (capability.compare(0, 6, "UPLOAD") == 0) {
        const std::vector<unsigned char> frame =
            fakes::rgba_bytes({format.internalFormat, format.format, format.type, sent});
        return slow_distance(source, format.format, format.type,
                             slow_8bit_elements(frame.data(), frame.size(), kByte), kRGBA, kByte);
    }
    // It comes back as it was sent, with a zero where the comparison reads past its end.
    std::vector<unsigned char> back = sent;
    back.resize(sent.size() + 4, 0);
    return slow_distance(source, format.format, format.type,
                         slow_8bit_elements(back.data(), count + 1, format.type), format.format,
                         format.type);
}

}  // namespace texprobe::tests
