// A driver that goes wrong in a known way with the tool's own pattern, in every format, uploaded
// and downloaded, and what `inspect` says of what comes back. The model shares no line with the
// judge.

#ifndef TEXPROBE_TESTS_INSPECT_FAULT_TABLE_H
#define TEXPROBE_TESTS_INSPECT_FAULT_TABLE_H

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <regex>

#include "ctl/inspect_images.h"
#include "support/formats.h"

namespace texprobe::tests::fault_table {

using ctl::Image;

inline constexpr std::size_t kSide = 128;
inline constexpr std::size_t kTexels = kSide * kSide;
using Rgba = std::array<double, 4>;

/// A layout: the place of red, green, blue and alpha among a pixel's elements; of luminance, all
/// three are the first.
struct Memory {
    ctl::Layout layout;
    std::array<int, 4> place;
    std::size_t elements;
    std::size_t size;  ///< Of an element.

    bool is_float() const { return layout.type == images::kFloat || layout.type == images::kHalf; }
    std::size_t row() const { return kSide * elements * size; }
};

inline Memory memory_of(unsigned order, unsigned type) {
    const bool isPacked = type == images::kPacked;
    const std::size_t size = type == images::kFloat                            ? 4
                             : type == images::kShort || type == images::kHalf ? 2
                                                                               : 1;
    const std::map<unsigned, std::pair<std::array<int, 4>, std::size_t>> orders = {
        {images::kLuminance, {{0, 0, 0, -1}, 1}}, {images::kLuminanceAlpha, {{0, 0, 0, 1}, 2}},
        {images::kRgb, {{0, 1, 2, -1}, 3}},       {0x80E0, {{2, 1, 0, -1}, 3}},
        {images::kRgba, {{0, 1, 2, 3}, 4}},       {images::kBgra, {{2, 1, 0, 3}, 4}}};
    const auto& [place, elements] = orders.at(order);
    // A packed word is BGRA in the bytes of a little-endian machine.
    return {{order, type}, place, elements, isPacked ? 1 : size};
}

inline double half_of(std::uint16_t bits) {
    const int exponent = bits >> 10 & 31;
    const double fraction = bits & 1023;
    if (exponent == 31) return fraction == 0 ? HUGE_VAL : std::nan("");
    const double value =
        exponent == 0 ? fraction * 0x1p-24 : (1 + fraction / 1024) * std::pow(2.0, exponent - 15);
    return (bits & 0x8000) != 0 ? -value : value;
}

inline std::uint16_t half_bits(double value) {
    if (std::isnan(value)) return 0x7E00;
    const auto sign = static_cast<std::uint16_t>(value < 0 ? 0x8000 : 0);
    const double size = std::abs(value);
    if (size >= 65520) return sign | 0x7C00;
    const int exponent = size < 0x1p-14 ? -14 : std::ilogb(size);
    const auto steps = static_cast<int>(std::nearbyint(size * std::pow(2.0, 10 - exponent)));
    return static_cast<std::uint16_t>(sign + ((exponent + 14) << 10) + steps);
}

inline double read_element(const Memory& memory, const std::uint8_t* at) {
    if (memory.layout.type == images::kFloat) {
        float value = 0;
        std::memcpy(&value, at, sizeof value);
        return static_cast<double>(value);
    }
    if (memory.size == 1) return *at / 255.0;
    const auto bits = static_cast<std::uint16_t>(at[0] | at[1] << 8);
    return memory.is_float() ? half_of(bits) : bits / 65535.0;
}

inline void write_element(const Memory& memory, double value, std::uint8_t* at) {
    if (memory.layout.type == images::kFloat) {
        const auto narrow = static_cast<float>(value);
        std::memcpy(at, &narrow, sizeof narrow);
        return;
    }
    const double within = std::isnan(value) ? 0 : std::clamp(value, 0.0, 1.0);
    const auto bits =
        memory.is_float()
            ? half_bits(value)
            : static_cast<std::uint16_t>(std::lround(within * (memory.size == 1 ? 255 : 65535)));
    at[0] = static_cast<std::uint8_t>(bits);
    if (memory.size == 2) at[1] = static_cast<std::uint8_t>(bits >> 8);
}

using Texels = std::vector<Rgba>;

inline Texels read_texels_of(const Memory& memory, const std::vector<std::uint8_t>& bytes) {
    Texels texels(kTexels, {0, 0, 0, 1});
    for (std::size_t p = 0; p < kTexels; ++p) {
        for (std::size_t c = 0; c < 4; ++c) {
            if (memory.place[c] < 0) continue;
            const std::size_t element = p * memory.elements + std::size_t(memory.place[c]);
            texels[p][c] = read_element(memory, bytes.data() + element * memory.size);
        }
    }
    return texels;
}

inline Image write_texels_of(const Memory& memory, const Texels& texels) {
    Image image{memory.layout, std::vector<std::uint8_t>(kTexels * memory.elements * memory.size)};
    for (std::size_t p = 0; p < kTexels; ++p) {
        // Red last, which luminance is.
        for (const std::size_t c : {3u, 2u, 1u, 0u}) {
            if (memory.place[c] < 0) continue;
            const std::size_t element = p * memory.elements + std::size_t(memory.place[c]);
            write_element(memory, texels[p][c], image.bytes.data() + element * memory.size);
        }
    }
    return image;
}

/// The tool's: words in an arithmetic progression; of floats, those above 0 and up to 1.
inline std::vector<std::uint8_t> pattern_of(const Memory& memory, std::uint32_t step) {
    std::vector<std::uint8_t> bytes(kTexels * memory.elements * memory.size);
    for (std::size_t i = 0; i < bytes.size() / 4; ++i) {
        const std::uint32_t word = static_cast<std::uint32_t>(i) * step;
        std::memcpy(&bytes[4 * i], &word, 4);
    }
    if (!memory.is_float()) return bytes;
    for (std::size_t i = 0; i < bytes.size(); i += memory.size) {
        std::uint32_t word = 0;
        std::memcpy(&word, &bytes[i], memory.size);
        const double most = memory.size == 4 ? 0x1p32 : 0x1p16;
        write_element(memory, (word + 1.0) / most, &bytes[i]);
    }
    return bytes;
}

/// What a driver does wrong on the way.
struct TableFault {
    const char* what;
    /// The beginnings of its names, which the format may decide; none if it has no name.
    std::string names;
    std::function<std::vector<std::uint8_t>(const Memory&, const std::vector<std::uint8_t>&)>
        ofBytes = nullptr;
    std::function<Texels(const Texels&)> ofTexels = nullptr;
};

using Value = std::function<double(double value, std::size_t component, const Rgba& texel)>;

inline TableFault by_value(const char* what, const std::string& names, const Value& of) {
    return {what, names, nullptr, [=](const Texels& sent) {
                Texels texels = sent;
                for (std::size_t p = 0; p < kTexels; ++p) {
                    for (std::size_t c = 0; c < 4; ++c) texels[p][c] = of(sent[p][c], c, sent[p]);
                }
                return texels;
            }};
}
/// Of the colours alone.
inline TableFault by_colour(const char* what, const std::string& names,
                            const std::function<double(double)>& of) {
    return by_value(what, names,
                    [=](double v, std::size_t c, const Rgba&) { return c < 3 ? of(v) : v; });
}
inline TableFault by_all(const char* what, const std::string& names,
                         const std::function<double(double)>& of) {
    return by_value(what, names, [=](double v, std::size_t, const Rgba&) { return of(v); });
}
/// Component c from `order[c]`; 4 is 0, 5 is 1.
inline TableFault by_order(const char* what, const std::string& names,
                           const std::array<std::size_t, 4>& order) {
    return by_value(what, names, [=](double, std::size_t c, const Rgba& texel) {
        return order[c] < 4 ? texel[order[c]] : double(order[c] - 4);
    });
}
inline TableFault by_place(
    const char* what, const std::string& names,
    const std::function<std::size_t(std::size_t row, std::size_t column)>& source) {
    return {what, names, nullptr, [=](const Texels& sent) {
                Texels texels;
                for (std::size_t p = 0; p < kTexels; ++p) {
                    texels.push_back(sent[source(p / kSide, p % kSide) % kTexels]);
                }
                return texels;
            }};
}
inline double scatter(std::size_t i, unsigned seed) {
    return (images::noise(i, seed) + images::noise(i, seed + 1) / 256.0) / 256.0;
}
/// Others, or none, where it is wrong.
inline TableFault by_part(const char* what, const std::string& names, bool isEmpty,
                          const std::function<bool(std::size_t row, std::size_t column)>& isWrong) {
    return {what, names, nullptr, [=](const Texels& sent) {
                Texels texels = sent;
                for (std::size_t p = 0; p < kTexels; ++p) {
                    if (!isWrong(p / kSide, p % kSide)) continue;
                    for (std::size_t c = 0; c < 4; ++c) {
                        texels[p][c] = isEmpty ? 0 : scatter(4 * p + c, 11);
                    }
                }
                return texels;
            }};
}
/// Byte i from byte `source(memory, i)`; 77 where there is none.
inline TableFault by_byte(const char* what, const std::string& names,
                          const std::function<std::size_t(const Memory&, std::size_t)>& source) {
    return {what, names, [=](const Memory& memory, const std::vector<std::uint8_t>& sent) {
                std::vector<std::uint8_t> bytes(sent.size(), 77);
                for (std::size_t i = 0; i < bytes.size(); ++i) {
                    const std::size_t from = source(memory, i);
                    if (from < sent.size()) bytes[i] = sent[from];
                }
                return bytes;
            }};
}

/// How often a fault was hidden by the format, named rightly, and honestly unnamed.
struct TableCounts {
    int hidden = 0;
    int named = 0;
    int unnamed = 0;
};

inline double largest_difference(const Memory& memory, const Image& a, const Image& b) {
    const Texels left = read_texels_of(memory, a.bytes);
    const Texels right = read_texels_of(memory, b.bytes);
    double largest = 0;
    for (std::size_t i = 0; i < 4 * kTexels; ++i) {
        largest = std::max(largest, std::abs(left[i / 4][i % 4] - right[i / 4][i % 4]));
    }
    return largest;
}

/// The faults of one table in each of the cells, of which each fault tries every `stride`-th.
inline void expect_no_misleading_name(const std::vector<TableFault>& faults, std::size_t stride) {
    std::vector<TableCounts> counts(faults.size());
    std::size_t cell = 0;
    srandom(1);
    for (const Format& format : kFormats) {
        const Memory client = memory_of(format.format, format.type);
        for (const bool isUpload : {true, false}) {
            ++cell;
            // What an upload has drawn is read as 8 bits.
            const Memory back = isUpload ? memory_of(images::kRgba, images::kByte) : client;
            const bool isRounded = isUpload && client.size > 1;
            const Image sent{client.layout,
                             pattern_of(client, static_cast<std::uint32_t>(random()))};
            const Texels texels = read_texels_of(client, sent.bytes);
            const Image right = write_texels_of(back, texels);
            for (std::size_t i = cell % stride; i < faults.size(); i += stride) {
                const TableFault& fault = faults[i];
                const Image came = write_texels_of(
                    back, fault.ofTexels
                              ? fault.ofTexels(texels)
                              : read_texels_of(client, fault.ofBytes(client, sent.bytes)));
                const std::string said = ctl::analyse({sent, came, {}, {}, false}).sentence;
                const auto isHidden = [&] {
                    return came.bytes == right.bytes ||
                           (isRounded && largest_difference(back, came, right) < 1.01 / 255);
                };
                if (said.rfind("The driver is right", 0) == 0 && isHidden()) {
                    ++counts[i].hidden;
                } else if (said.rfind("It differs without a pattern that is known here: ", 0) ==
                           0) {
                    ++counts[i].unnamed;
                } else {
                    ++counts[i].named;
                    EXPECT_TRUE(std::regex_search(said, std::regex("^(" + fault.names + ')')))
                        << fault.what << ", " << format.name << (isUpload ? " up: " : " down: ")
                        << said;
                }
            }
        }
    }
    for (std::size_t i = 0; i < faults.size(); ++i) {
        std::printf("| %s | %d | %d | %d |\n", faults[i].what, counts[i].named, counts[i].unnamed,
                    counts[i].hidden);
    }
}

}  // namespace texprobe::tests::fault_table

#endif
