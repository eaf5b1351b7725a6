#include "slow_distance.h"

#include <cmath>
#include <cstring>
#include <utility>

namespace texprobe::tests {

namespace {

constexpr unsigned kPacked = 0x8367;

constexpr unsigned kRGB = 0x1907;
constexpr unsigned kL = 0x1909;
constexpr unsigned kLA = 0x190A;
constexpr unsigned kBGR = 0x80E0;
constexpr unsigned kBGRA = 0x80E1;

struct Row {
    unsigned first;
    unsigned second;
    std::vector<std::pair<std::size_t, std::size_t>> channels;
};

const std::vector<Row>& rows() {
    static const std::vector<Row> table = {
        {kRGB, kRGB, {{0, 0}, {1, 1}, {2, 2}}},
        {kRGB, kRGBA, {{0, 0}, {1, 1}, {2, 2}}},
        {kRGB, kBGR, {{0, 2}, {1, 1}, {2, 0}}},
        {kRGB, kBGRA, {{0, 2}, {1, 1}, {2, 0}}},
        {kRGB, kPacked, {{0, 2}, {1, 1}, {2, 0}}},
        {kBGR, kRGB, {{0, 2}, {1, 1}, {2, 0}}},
        {kBGR, kRGBA, {{0, 2}, {1, 1}, {2, 0}}},
        {kBGR, kBGR, {{0, 0}, {1, 1}, {2, 2}}},
        {kBGR, kBGRA, {{0, 0}, {1, 1}, {2, 2}}},
        {kBGR, kPacked, {{0, 0}, {1, 1}, {2, 2}}},
        {kRGBA, kRGBA, {{0, 0}, {1, 1}, {2, 2}, {3, 3}}},
        {kRGBA, kBGRA, {{0, 3}, {1, 2}, {2, 1}, {3, 0}}},
        {kRGBA, kPacked, {{0, 3}, {1, 2}, {2, 1}, {3, 0}}},
        {kBGRA, kRGBA, {{0, 3}, {1, 2}, {2, 1}, {3, 0}}},
        {kBGRA, kBGRA, {{0, 0}, {1, 1}, {2, 2}, {3, 3}}},
        {kBGRA, kPacked, {{0, 0}, {1, 1}, {2, 2}, {3, 3}}},
        {kPacked, kRGBA, {{0, 2}, {1, 1}, {2, 0}, {3, 3}}},
        {kPacked, kBGRA, {{0, 0}, {1, 1}, {2, 2}, {3, 3}}},
        {kPacked, kPacked, {{0, 0}, {1, 1}, {2, 2}, {3, 3}}},
        {kL, kL, {{0, 0}}},
        {kL, kLA, {{0, 0}}},
        {kL, kRGB, {{0, 0}, {0, 1}, {0, 2}}},
        {kL, kRGBA, {{0, 0}, {0, 1}, {0, 2}}},
        {kL, kBGR, {{0, 0}, {0, 1}, {0, 2}}},
        {kL, kBGRA, {{0, 0}, {0, 1}, {0, 2}}},
        {kL, kPacked, {{0, 0}, {0, 1}, {0, 2}}},
        {kLA, kLA, {{0, 0}, {1, 2}}},  // Position 2 is position 0 of the next pixel.
        {kLA, kRGBA, {{0, 0}, {0, 1}, {0, 2}, {1, 3}}},
        {kLA, kBGRA, {{0, 0}, {0, 1}, {0, 2}, {1, 3}}},
        {kLA, kPacked, {{0, 0}, {0, 1}, {0, 2}, {1, 3}}},
    };
    return table;
}

/// Does the table of types have this cell?
bool is_type_pair(unsigned sourceType, unsigned readType) {
    if (element_size(sourceType) == 0 || element_size(readType) == 0) return false;
    return readType != kPacked || sourceType == kPacked;
}

std::uint64_t mean_over_channels(const Row& row, const int* first, const int* second) {
    const std::size_t firstStride = elements_per_pixel(row.first);
    const std::size_t secondStride = elements_per_pixel(row.second);
    std::uint64_t sum = 0;
    for (const auto& [i, j] : row.channels) {
        for (std::size_t pixel = 0; pixel < 16384; ++pixel) {
            const int difference =
                second[pixel * secondStride + j] - first[pixel * firstStride + i];
            sum += static_cast<std::uint64_t>(difference * difference);
        }
    }
    return sum / row.channels.size();
}

}  // namespace

int slow_half_to_8bit(std::uint16_t half) {
    const std::uint32_t e = (half / 1024u) % 32u;
    const std::uint32_t m = half % 1024u;
    std::uint32_t r = 0;
    if (half >= 0x8000u) {
        r = 0;
    } else if (e == 0) {
        const std::uint32_t q = m >> 8;
        r = q == 0 ? 0 : q + 65535u;
    } else if (e >= 15) {
        r = 65535u;
    } else {
        const std::uint32_t s = m | 0x400u;
        const std::uint32_t t = (s << 6) | (s >> 5);
        r = (t >> (15u - e)) + 65535u;
    }
    return static_cast<int>((r >> 8) & 255u);
}

int slow_float_to_8bit(float value) {
    const double two63 = std::ldexp(1.0, 63);
    const double scaled = std::ldexp(static_cast<double>(value), 32);
    std::uint64_t integer = 0;
    if (std::isnan(scaled) || scaled >= std::ldexp(1.0, 64) || scaled <= -two63) {
        integer = 0;
    } else if (scaled >= two63) {
        integer = static_cast<std::uint64_t>(static_cast<std::int64_t>(scaled - two63)) |
                  (std::uint64_t{1} << 63);
    } else {
        integer = static_cast<std::uint64_t>(static_cast<std::int64_t>(scaled));
    }
    const std::uint64_t low = integer % 4294967296u;
    return static_cast<int>((low + 4294967295u) % 4294967296u / 16777216u);
}

std::size_t element_size(unsigned type) {
    switch (type) {
        case kByte:
        case kPacked:
            return 1;
        case kShort:
        case kHalf:
            return 2;
        case kFloat:
            return 4;
        default:
            return 0;
    }
}

std::size_t elements_per_pixel(unsigned format) {
    switch (format) {
        case kL:
            return 1;
        case kLA:
            return 2;
        case kRGB:
        case kBGR:
            return 3;
        case kRGBA:
        case kBGRA:
        case kPacked:
            return 4;
        default:
            return 0;
    }
}

std::vector<int> slow_8bit_elements(const void* data, std::size_t count, unsigned type) {
    std::vector<int> elements;
    const unsigned char* bytes = static_cast<const unsigned char*>(data);
    for (std::size_t i = 0; i < count; ++i) {
        if (type == kFloat) {
            float value = 0;
            std::memcpy(&value, bytes + 4 * i, 4);
            elements.push_back(slow_float_to_8bit(value));
        } else if (type == kShort || type == kHalf) {
            std::uint16_t value = 0;
            std::memcpy(&value, bytes + 2 * i, 2);
            elements.push_back(type == kHalf ? slow_half_to_8bit(value) : value / 256);
        } else {
            elements.push_back(bytes[i]);
        }
    }
    return elements;
}

std::uint64_t slow_distance(const std::vector<int>& source, unsigned sourceFormat,
                            unsigned sourceType, const std::vector<int>& readBack,
                            unsigned readFormat, unsigned readType) {
    if (!is_type_pair(sourceType, readType)) return kAllOnes;
    if (sourceType == kPacked && readType == kByte) sourceFormat = kPacked;
    if (sourceType == kPacked && readType == kPacked) sourceFormat = readFormat = kPacked;
    for (const Row& row : rows()) {
        if (row.first == sourceFormat && row.second == readFormat) {
            return mean_over_channels(row, source.data(), readBack.data());
        }
    }
    return kAllOnes;
}

}  // namespace texprobe::tests
