// A driver that goes wrong in a known way with an image of any format, uploaded and downloaded, and
// what `inspect` says of what comes back. The model shares no line with the judge.

#ifndef TEXPROBE_TESTS_INSPECT_FAULT_TABLE_H
#define TEXPROBE_TESTS_INSPECT_FAULT_TABLE_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <regex>
#include <string>
#include <vector>

#include "ctl/inspect_images.h"
#include "support/formats.h"

namespace texprobe::tests::fault_table {

using ctl::Image;
using images::noise;

inline constexpr std::size_t kSide = 128;
inline constexpr std::size_t kTexels = kSide * kSide;
using Bytes = std::vector<std::uint8_t>;
using Rgba = std::array<double, 4>;
using Texels = std::vector<Rgba>;

/// A layout: the place of red, green, blue and alpha among a pixel's elements; of luminance, all
/// three are the first.
struct Memory {
    ctl::Layout layout;
    std::array<int, 4> place;
    std::size_t elements;
    std::size_t size;  ///< Of an element.

    bool is_float() const { return layout.type == GL_FLOAT || layout.type == GL_HALF_FLOAT_ARB; }
    std::size_t row() const { return kSide * elements * size; }
};

inline Memory memory_of(unsigned order, unsigned type, std::size_t bytesPerPixel) {
    // A packed word is BGRA in the bytes of a little-endian machine.
    static const std::map<unsigned, std::array<int, 4>> places = {
        {GL_LUMINANCE, {0, 0, 0, -1}}, {GL_LUMINANCE_ALPHA, {0, 0, 0, 1}},
        {GL_RGB, {0, 1, 2, -1}},       {GL_BGR, {2, 1, 0, -1}},
        {GL_RGBA, {0, 1, 2, 3}},       {GL_BGRA, {2, 1, 0, 3}}};
    const std::array<int, 4>& place = places.at(order);
    const auto elements =
        1 + static_cast<std::size_t>(*std::max_element(place.begin(), place.end()));
    return {{order, type}, place, elements, bytesPerPixel / elements};
}

inline const Memory kRgbaBytes = memory_of(GL_RGBA, GL_UNSIGNED_BYTE, 4);

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
    if (memory.size == 4) {
        float value = 0;
        std::memcpy(&value, at, sizeof value);
        return static_cast<double>(value);
    }
    if (memory.size == 1) return *at / 255.0;
    const auto bits = static_cast<std::uint16_t>(at[0] | at[1] << 8);
    return memory.is_float() ? half_of(bits) : bits / 65535.0;
}

inline void write_element(const Memory& memory, double value, std::uint8_t* at) {
    if (memory.size == 4) {
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

/// Calls `with(component, index of its first byte)` for what the layout has of a texel.
template <class With>
void for_each_component(const Memory& memory, std::size_t texel, With with) {
    // Red last, which luminance is.
    for (const std::size_t c : {3U, 2U, 1U, 0U}) {
        if (memory.place[c] < 0) continue;
        with(c, (texel * memory.elements + std::size_t(memory.place[c])) * memory.size);
    }
}

inline Texels read_texels_of(const Memory& memory, const Bytes& bytes) {
    Texels texels(kTexels, {0, 0, 0, 1});
    for (std::size_t p = 0; p < kTexels; ++p) {
        for_each_component(memory, p, [&](std::size_t c, std::size_t at) {
            texels[p][c] = read_element(memory, &bytes[at]);
        });
    }
    return texels;
}

inline Image write_texels_of(const Memory& memory, const Texels& texels) {
    Image image{memory.layout, Bytes(kSide * memory.row())};
    for (std::size_t p = 0; p < kTexels; ++p) {
        for_each_component(memory, p, [&](std::size_t c, std::size_t at) {
            write_element(memory, texels[p][c], &image.bytes[at]);
        });
    }
    return image;
}

/// The tool's: words in an arithmetic progression; of floats, those above 0 and up to 1.
inline Bytes pattern_of(const Memory& memory, std::uint32_t step) {
    Bytes bytes(kSide * memory.row());
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

struct Sent {
    Memory memory;
    Bytes bytes;
    Texels texels = read_texels_of(memory, bytes);
};

inline constexpr const char* kRight = "The driver is right";
inline constexpr const char* kSmall = "The image is right, but not exact: values differ by up to ";
inline constexpr const char* kUnknown = "It differs without a pattern that is known here: in ";

/// The beginning of what is said.
struct FaultNames {
    const char* inRgbaBytes;
    /// A pattern of what it may be in other formats besides, or kNotTried. There it may always have
    /// no name.
    const char* elsewhere = "$^";
};
inline constexpr const char* kNotTried = nullptr;

/// What a driver does wrong on the way.
struct TableFault {
    const char* what;
    FaultNames names;
    std::function<Texels(const Sent&)> damage;
};

/// Texel p becomes `of(sent texels, p)`.
template <class Of>
TableFault by_texel(const char* what, const FaultNames& names, Of of) {
    return {what, names, [=](const Sent& sent) {
                Texels texels;
                for (std::size_t p = 0; p < kTexels; ++p) texels.push_back(of(sent.texels, p));
                return texels;
            }};
}
using Value = std::function<double(double value, std::size_t component, const Rgba& texel)>;
inline TableFault by_value(const char* what, const FaultNames& names, const Value& of) {
    return by_texel(what, names, [=](const Texels& sent, std::size_t p) {
        Rgba texel = sent[p];
        for (std::size_t c = 0; c < 4; ++c) texel[c] = of(sent[p][c], c, sent[p]);
        return texel;
    });
}
/// Of the colours alone.
inline TableFault by_colour(const char* what, const FaultNames& names,
                            const std::function<double(double)>& of) {
    return by_value(what, names,
                    [=](double v, std::size_t c, const Rgba&) { return c < 3 ? of(v) : v; });
}
inline TableFault by_all(const char* what, const FaultNames& names,
                         const std::function<double(double)>& of) {
    return by_value(what, names, [=](double v, std::size_t, const Rgba&) { return of(v); });
}
/// Component c from `order[c]`; 4 is 0, 5 is 1.
inline TableFault by_order(const char* what, const FaultNames& names,
                           const std::array<std::size_t, 4>& order) {
    return by_value(what, names, [=](double, std::size_t c, const Rgba& texel) {
        return order[c] < 4 ? texel[order[c]] : double(order[c] - 4);
    });
}
/// Other values in the bits of this mask, of 8.
inline TableFault by_noise(const char* what, const FaultNames& names, int mask) {
    return by_texel(what, names, [=](const Texels& sent, std::size_t p) {
        Rgba texel = sent[p];
        for (std::size_t c = 0; c < 4; ++c) {
            const auto bits = static_cast<int>(std::lround(std::clamp(texel[c], 0.0, 1.0) * 255));
            texel[c] = (bits ^ (noise(4 * p + c, 5) & mask)) / 255.0;
        }
        return texel;
    });
}
inline TableFault by_place(
    const char* what, const FaultNames& names,
    const std::function<std::size_t(std::size_t row, std::size_t column)>& source) {
    return by_texel(what, names, [=](const Texels& sent, std::size_t p) {
        return sent[source(p / kSide, p % kSide) % kTexels];
    });
}
/// Others, or none, where it is wrong.
inline TableFault by_part(const char* what, const FaultNames& names, bool isEmpty,
                          const std::function<bool(std::size_t row, std::size_t column)>& isWrong) {
    return by_texel(what, names, [=](const Texels& sent, std::size_t p) {
        if (!isWrong(p / kSide, p % kSide)) return sent[p];
        Rgba texel = {};
        for (std::size_t c = 0; c < 4 && !isEmpty; ++c) {
            texel[c] = (noise(4 * p + c, 11) + noise(4 * p + c, 12) / 256.0) / 256.0;
        }
        return texel;
    });
}
/// Byte i from byte `source(memory, i)`; 77 where there is none.
inline TableFault by_byte(const char* what, const FaultNames& names,
                          const std::function<std::size_t(const Memory&, std::size_t)>& source) {
    return {what, names, [=](const Sent& sent) {
                Bytes bytes(sent.bytes.size(), 77);
                for (std::size_t i = 0; i < bytes.size(); ++i) {
                    const std::size_t from = source(sent.memory, i);
                    if (from < bytes.size()) bytes[i] = sent.bytes[from];
                }
                return read_texels_of(sent.memory, bytes);
            }};
}
/// One after the other.
inline TableFault by_both(const char* what, const FaultNames& names, const TableFault& first,
                          const TableFault& second) {
    return {what, names, [=](const Sent& sent) {
                return second.damage({sent.memory, sent.bytes, first.damage(sent)});
            }};
}

inline std::string said_of(const Sent& sent, const Image& came) {
    return ctl::analyse({{sent.memory.layout, sent.bytes}, came, {}, {}, false}).sentence;
}

/// In RGBA bytes, of noise and of the tool's own pattern.
inline void expect_names(const std::vector<TableFault>& faults) {
    for (const Bytes& bytes : {images::random_image().bytes, pattern_of(kRgbaBytes, 1804289383U)}) {
        const Sent sent = {kRgbaBytes, bytes};
        for (std::size_t i = 0; i < faults.size(); i += IMAGE_STRIDE) {
            const Image came = write_texels_of(kRgbaBytes, faults[i].damage(sent));
            EXPECT_THAT(said_of(sent, came), testing::StartsWith(faults[i].names.inRgbaBytes))
                << faults[i].what;
        }
    }
}

/// By at most a step.
inline bool are_near(const Bytes& a, const Bytes& b) {
    return std::equal(a.begin(), a.end(), b.begin(),
                      [](int x, int y) { return std::abs(x - y) <= 1; });
}

/// A format on its way, and how it comes back without a fault.
struct Way {
    std::string what;
    Sent sent;
    Memory back;
    Image right = write_texels_of(back, sent.texels);
};

inline std::vector<Way> every_way() {
    std::vector<Way> ways;
    srandom(1);
    for (const Format& format : kFormats) {
        const Memory client = memory_of(format.format, format.type, format.bytesPerPixel);
        const auto sent = [&] {
            return Sent{client, pattern_of(client, static_cast<std::uint32_t>(random()))};
        };
        // What an upload has drawn is read as 8 bits.
        ways.push_back({std::string(format.name) + " up", sent(), kRgbaBytes});
        ways.push_back({std::string(format.name) + " down", sent(), client});
    }
    return ways;
}

/// Each fault on every `stride`-th of the ways. Prints how often it was named rightly, honestly
/// unnamed, and hidden by the format.
inline void expect_no_misleading_name(const std::vector<TableFault>& faults, std::size_t stride) {
    const std::vector<Way> ways = every_way();
    for (const Way& way : ways) {
        EXPECT_THAT(said_of(way.sent, way.right), testing::StartsWith(kRight)) << way.what;
    }
    for (std::size_t i = 0; i < faults.size(); ++i) {
        const auto& [what, names, damage] = faults[i];
        if (names.elsewhere == kNotTried) continue;
        const std::regex elsewhere(std::string("^(") + names.elsewhere + ')');
        int hidden = 0, named = 0, unnamed = 0;
        for (std::size_t w = i % stride; w < ways.size(); w += stride) {
            const auto& [place, sent, back, right] = ways[w];
            const Image came = write_texels_of(back, damage(sent));
            const std::string said = said_of(sent, came);
            const auto isSaid = [&](const char* name) { return said.rfind(name, 0) == 0; };
            const bool isRounded = sent.memory.size > 1 && back.size == 1;
            if (isSaid(kRight) &&
                (isRounded ? are_near(came.bytes, right.bytes) : came.bytes == right.bytes)) {
                ++hidden;
            } else if (isSaid(kUnknown)) {
                ++unnamed;
            } else {
                ++named;
                EXPECT_TRUE(isSaid(names.inRgbaBytes) || std::regex_search(said, elsewhere))
                    << what << ", " << place << ": " << said;
            }
        }
        std::printf("| %s | %d | %d | %d |\n", what, named, unnamed, hidden);
    }
}

}  // namespace texprobe::tests::fault_table

#endif
