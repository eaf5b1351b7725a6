#include "inspect/faults.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace texprobe::ctl {

namespace {

/// False for a value that is no number.
bool is_equal(double a, double b, double tolerance) {
    return std::abs(a - b) <= tolerance;
}

bool are_equal(const Plane& a, const Plane& b, double tolerance) {
    return std::equal(a.begin(), a.end(), b.begin(),
                      [=](double x, double y) { return is_equal(x, y, tolerance); });
}

bool is_constant(const Plane& plane) {
    return std::all_of(plane.begin(), plane.end(),
                       [&](double value) { return value == plane.front(); });
}

bool is_colour(Channel channel) {
    return channel != Channel::kAlpha;
}

std::string capitalized(std::string text) {
    text[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[0])));
    return text;
}

std::string join(const std::vector<std::string>& parts) {
    std::string text;
    for (const std::string& part : parts) text += (text.empty() ? "" : ", ") + part;
    return text;
}

// Byte order

bool has_reversed_bytes(const ComparedImages& images) {
    const Image& sent = images.evidence.sent;
    const Image& returned = images.evidence.returned;
    const Image reversed = with_reversed_bytes(sent);
    if (reversed.bytes == sent.bytes) return false;
    // Reversed floats are seldom usable numbers.
    if (sent.layout == returned.layout) return reversed.bytes == returned.bytes;
    Planes expected = expected_in(returned.layout, decode(reversed));
    for (std::size_t c = 0; c < expected.values.size(); ++c) {
        for (std::size_t i = 0; i < kPixels; ++i) {
            double& value = expected.values[c][i];
            if (!std::isfinite(value)) value = images.returned.values[c][i];
        }
    }
    return texprobe::ctl::are_equal(expected, images.returned, images.tolerance);
}

std::optional<std::string> find_byte_order(const ComparedImages& images) {
    if (!has_reversed_bytes(images)) return std::nullopt;
    return "The bytes of each element are in reverse order.";
}

// Channels

/// The contents of a returned channel.
struct Content {
    bool isKnown = false;
    /// None: one value everywhere.
    std::optional<Channel> source;
    double constant = 0.0;
};

Content find_content(const ComparedImages& images, std::size_t index) {
    const Planes& expected = images.expected;
    const Plane& plane = images.returned.values[index];
    if (are_equal(expected.values[index], plane, images.tolerance)) {
        return {true, expected.channels[index]};
    }
    if (is_constant(plane)) return {true, std::nullopt, plane.front()};
    for (std::size_t other = 0; other < expected.channels.size(); ++other) {
        if (are_equal(expected.values[other], plane, images.tolerance)) {
            return {true, expected.channels[other]};
        }
    }
    return {};
}

std::string describe_contents(const std::vector<Channel>& channels,
                              const std::vector<Content>& contents) {
    std::vector<std::string> changes;
    for (std::size_t i = 0; i < channels.size(); ++i) {
        const Content& content = contents[i];
        if (content.source == channels[i]) continue;
        const std::string name = name_of(channels[i]);
        changes.push_back(content.source ? name + " holds " + name_of(*content.source)
                                         : fmt::format("{} is lost: it is {:.3g} everywhere", name,
                                                       content.constant));
    }
    return capitalized(join(changes)) + '.';
}

std::optional<std::string> find_channels(const ComparedImages& images) {
    const std::vector<Channel>& channels = images.returned.channels;
    std::vector<Content> contents;
    std::vector<std::size_t> moved;
    for (std::size_t i = 0; i < channels.size(); ++i) {
        contents.push_back(find_content(images, i));
        if (!contents.back().isKnown) return std::nullopt;
        if (contents.back().source != channels[i]) moved.push_back(i);
    }
    const bool isExchange = moved.size() == 2 && contents[moved[0]].source == channels[moved[1]] &&
                            contents[moved[1]].source == channels[moved[0]];
    if (isExchange) {
        return fmt::format("{} and {} are exchanged.", capitalized(name_of(channels[moved[0]])),
                           name_of(channels[moved[1]]));
    }
    return describe_contents(channels, contents);
}

// Positions

/// Whether each pixel holds the sent one that `source` gives, where it gives one.
template <class Source>
bool comes_from(const ComparedImages& images, Source source) {
    for (std::size_t i = 0; i < kPixels; ++i) {
        const std::optional<std::size_t> from = source(i);
        if (!from) continue;
        for (std::size_t c = 0; c < images.expected.values.size(); ++c) {
            const double expected = images.expected.values[c][*from];
            if (!is_equal(expected, images.returned.values[c][i], images.tolerance)) return false;
        }
    }
    return true;
}

std::string count(std::size_t number, const char* one) {
    return number == 1 ? fmt::format("one {}", one) : fmt::format("{} {}s", number, one);
}

/// A shift by so many pixels in memory, as far as the image has a source for it.
bool is_shifted(const ComparedImages& images, std::ptrdiff_t by) {
    return comes_from(images, [=](std::size_t i) -> std::optional<std::size_t> {
        const std::ptrdiff_t from = static_cast<std::ptrdiff_t>(i) - by;
        if (from < 0 || from >= static_cast<std::ptrdiff_t>(kPixels)) return std::nullopt;
        return static_cast<std::size_t>(from);
    });
}

std::optional<std::string> find_shift(const ComparedImages& images) {
    for (std::size_t rows = 1; rows <= kRows / 2; ++rows) {
        const auto by = static_cast<std::ptrdiff_t>(rows * kColumns);
        if (is_shifted(images, by)) {
            return fmt::format("The image is shifted by {}: row {} holds the sent row 0.",
                               count(rows, "row"), rows);
        }
        if (is_shifted(images, -by)) {
            return fmt::format("The image is shifted by {}: row 0 holds the sent row {}.",
                               count(rows, "row"), rows);
        }
    }
    for (std::size_t pixels = 1; pixels < kColumns; ++pixels) {
        const auto by = static_cast<std::ptrdiff_t>(pixels);
        for (const std::ptrdiff_t shift : {by, -by}) {
            if (!is_shifted(images, shift)) continue;
            return fmt::format("The image is shifted by {} towards its {}.", count(pixels, "pixel"),
                               shift > 0 ? "end" : "beginning");
        }
    }
    return std::nullopt;
}

std::optional<std::string> find_turn(const ComparedImages& images) {
    if (comes_from(images, [](std::size_t i) -> std::optional<std::size_t> {
            return (kRows - 1 - i / kColumns) * kColumns + i % kColumns;
        })) {
        return "The image is upside down: row 0 holds the sent row 127.";
    }
    if (comes_from(images, [](std::size_t i) -> std::optional<std::size_t> {
            return i - i % kColumns + kColumns - 1 - i % kColumns;
        })) {
        return "The image is mirrored: column 0 holds the sent column 127.";
    }
    return std::nullopt;
}

// Other images

/// The image that an earlier test returned, or sent.
std::optional<std::string> find_stale(const ComparedImages& images) {
    const Image& returned = images.evidence.returned;
    // The latest comes first.
    const auto& earlier = images.evidence.earlier;
    for (auto at = earlier.rbegin(); at != earlier.rend(); ++at) {
        const bool isSame = at->image.bytes == returned.bytes;
        if (isSame || texprobe::ctl::are_equal(expected_in(returned.layout, decode(at->image)),
                                               images.returned, images.tolerance)) {
            return "A stale image came back: that of the test of " + at->test + ".";
        }
    }
    return std::nullopt;
}

// Parts

/// Rows, or columns, in which nothing differs.
using Lines = std::array<bool, kRows>;

template <class LineOf>
Lines find_right_lines(const ComparedImages& images, LineOf lineOf) {
    Lines right;
    right.fill(true);
    for (std::size_t i = 0; i < kPixels; ++i) {
        for (std::size_t c = 0; c < images.expected.values.size(); ++c) {
            right[lineOf(i)] &= is_equal(images.expected.values[c][i], images.returned.values[c][i],
                                         images.tolerance);
        }
    }
    return right;
}

std::string describe_lines(const Lines& right, const char* name) {
    const auto isWrong = [](bool line) { return !line; };
    const auto first = std::find(right.begin(), right.end(), false);
    const auto last = std::find(right.rbegin(), right.rend(), false);
    const auto begin = static_cast<std::size_t>(first - right.begin());
    const auto end = kRows - static_cast<std::size_t>(last - right.rbegin());
    if (std::all_of(first, right.begin() + static_cast<std::ptrdiff_t>(end), isWrong)) {
        if (end - begin == 1) return fmt::format("Wrong in {} {}", name, begin);
        if (end == kRows) return fmt::format("Wrong from {} {} on", name, begin);
        if (begin == 0) return fmt::format("Wrong up to {} {}", name, end - 1);
        return fmt::format("Wrong from {} {} to {}", name, begin, end - 1);
    }
    for (std::size_t odd = 0; odd < 2; ++odd) {
        std::size_t i = 0;
        const bool isComb = std::all_of(right.begin(), right.end(),
                                        [&](bool line) { return line == (i++ % 2 != odd); });
        if (isComb) return fmt::format("Wrong in every {} {}", odd == 0 ? "even" : "odd", name);
    }
    return fmt::format("Wrong in {} of {} {}s, the first of which is {}",
                       std::count(right.begin(), right.end(), false), kRows, name, begin);
}

/// Whether all colours are 0 where lines are wrong.
template <class LineOf>
bool is_empty(const ComparedImages& images, const Lines& right, LineOf lineOf) {
    for (std::size_t c = 0; c < images.returned.values.size(); ++c) {
        for (std::size_t i = 0; i < kPixels && is_colour(images.returned.channels[c]); ++i) {
            if (!right[lineOf(i)] && images.returned.values[c][i] != 0.0) return false;
        }
    }
    return true;
}

template <class LineOf>
std::optional<std::string> find_wrong_lines(const ComparedImages& images, const char* name,
                                            LineOf lineOf) {
    const Lines right = find_right_lines(images, lineOf);
    // A few lines that are right by chance say nothing.
    if (std::count(right.begin(), right.end(), true) < 16) return std::nullopt;
    return describe_lines(right, name) +
           (is_empty(images, right, lineOf) ? ": nothing arrived there." : ".");
}

std::optional<std::string> find_part(const ComparedImages& images) {
    if (auto rows = find_wrong_lines(images, "row", [](std::size_t i) { return i / kColumns; })) {
        return rows;
    }
    return find_wrong_lines(images, "column", [](std::size_t i) { return i % kColumns; });
}

// Precision

/// The fewest bits of an integer that could hold each value, each of which is near what it should
/// be; 0 for none.
unsigned find_integer_bits(const Plane& expected, const Plane& returned, double resolution) {
    for (unsigned bits = 1; bits < 16; ++bits) {
        const double steps = std::ldexp(1.0, static_cast<int>(bits)) - 1;
        // Every value lies on a grid that is as fine as the type's own.
        if (resolution * 1.5 > 1 / steps) return 0;
        bool isOnGrid = true;
        for (std::size_t i = 0; i < kPixels && isOnGrid; ++i) {
            const double step = std::nearbyint(returned[i] * steps) / steps;
            isOnGrid = is_equal(step, returned[i], resolution / 2 + 1e-9) &&
                       is_equal(expected[i], returned[i], 1 / steps + resolution);
        }
        if (isOnGrid) return bits;
    }
    return 0;
}

/// The fewest significant bits of a float that could hold each value; 0 for none.
int find_significant_bits(const Planes& expected, const Planes& returned) {
    int bits = 0;
    for (std::size_t c = 0; c < returned.values.size(); ++c) {
        for (std::size_t i = 0; i < kPixels; ++i) {
            const double value = returned.values[c][i];
            int exponent = 0;
            const double mantissa = std::frexp(value, &exponent);
            if (!std::isfinite(value)) return 0;
            while (bits < 24 &&
                   std::ldexp(mantissa, bits) != std::nearbyint(std::ldexp(mantissa, bits))) {
                ++bits;
            }
            // Very small values may have lost more.
            const double least = 0x1p-24;
            if (!is_equal(expected.values[c][i], value,
                          std::max(least, std::ldexp(value, 1 - bits)))) {
                return 0;
            }
        }
    }
    return bits < 24 ? bits : 0;
}

/// The distance of neighbouring values of the type near 1, which is where they are farthest apart.
double resolution_of(const Image& image) {
    if (const auto steps = steps_of(image.layout)) return 1.0 / *steps;
    const bool isHalf =
        bytes_per_pixel(image.layout) == 2 * channels_in_memory(image.layout)->size();
    return isHalf ? 0x1p-11 : 0x1p-24;
}

}  // namespace

bool are_equal(const Planes& a, const Planes& b, double tolerance) {
    for (std::size_t c = 0; c < a.values.size(); ++c) {
        if (!are_equal(a.values[c], b.values[c], tolerance)) return false;
    }
    return true;
}

std::optional<std::string> find_constant(const ComparedImages& images) {
    std::vector<std::string> parts;
    bool isBlack = true;
    for (std::size_t c = 0; c < images.returned.values.size(); ++c) {
        const Plane& plane = images.returned.values[c];
        if (!is_constant(plane)) return std::nullopt;
        const Channel channel = images.returned.channels[c];
        isBlack &= !is_colour(channel) || plane.front() == 0.0;
        parts.push_back(fmt::format("{} {:.3g}", name_of(channel), plane.front()));
    }
    if (isBlack) return "Nothing arrived: " + join(parts) + " everywhere.";
    return "One colour came back everywhere: " + join(parts) + ".";
}

std::optional<std::string> find_precision(const ComparedImages& images) {
    const double resolution = resolution_of(images.evidence.returned);
    std::vector<std::string> parts;
    bool isSame = true;
    unsigned first = 0;
    for (std::size_t c = 0; c < images.returned.values.size(); ++c) {
        const Channel channel = images.returned.channels[c];
        const Plane& expected = images.expected.values[c];
        const Plane& returned = images.returned.values[c];
        if (are_equal(expected, returned, images.tolerance)) continue;
        const unsigned bits = find_integer_bits(expected, returned, resolution);
        if (bits == 0) {
            parts.clear();
            break;
        }
        isSame &= first == 0 || first == bits;
        first = bits;
        parts.push_back(fmt::format("{} at {}", name_of(channel), bits));
    }
    if (!parts.empty() && isSame && parts.size() == images.returned.values.size()) {
        return fmt::format("Kept at {} bits.", first);
    }
    if (!parts.empty()) return "Kept at fewer bits: " + join(parts) + ".";
    if (steps_of(images.evidence.returned.layout)) return std::nullopt;
    const int bits = find_significant_bits(images.expected, images.returned);
    if (bits == 0) return std::nullopt;
    return fmt::format("Kept as floats of {} significant bits{}.", bits,
                       bits == 11 ? ", as half floats have" : "");
}

std::optional<std::string> find_structure(const ComparedImages& images) {
    for (const auto find :
         {find_byte_order, find_channels, find_shift, find_turn, find_stale, find_part}) {
        if (auto found = find(images)) return found;
    }
    return std::nullopt;
}

}  // namespace texprobe::ctl
