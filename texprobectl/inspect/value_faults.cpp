// Faults of values: constant ones, fewer bits, exchanged channels, and other values by a rule.

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <set>

#include "inspect/faults.h"

namespace texprobe::ctl {

namespace {

std::string capitalized(std::string text) {
    text[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[0])));
    return text;
}

std::string join(const std::vector<std::string>& parts) {
    std::string text;
    for (const std::string& part : parts) text += (text.empty() ? "" : ", ") + part;
    return text;
}

/// The fewest bits of an integer that could hold each value, each of which is near its right value;
/// 0 for none.
unsigned find_integer_bits(const Plane& expected, const Plane& returned, double resolution) {
    for (unsigned bits = 1; bits <= 16; ++bits) {
        const double steps = std::ldexp(1.0, static_cast<int>(bits)) - 1;
        // Every value lies on a grid that is as fine as the type's own.
        if (resolution * 1.5 > 1 / steps) return 0;
        // Rounding and cutting both change a value by no more than this.
        const double most = std::ldexp(1.0, -static_cast<int>(bits)) + resolution;
        // Where the low bits are 0, the values are multiples of another step.
        const double cut = std::ldexp(std::nearbyint(1 / resolution) + 1, -static_cast<int>(bits));
        bool isOnGrid = true;
        bool isCut = cut >= 2;
        for (std::size_t i = 0; i < kPixels && (isOnGrid || isCut); ++i) {
            const double step = std::nearbyint(returned[i] * steps) / steps;
            isOnGrid &= is_equal(step, returned[i], resolution / 2 + 1e-9) &&
                        is_equal(expected[i], returned[i], most);
            const double element = std::nearbyint(returned[i] / resolution);
            const double lost = expected[i] / resolution - element;
            isCut &= std::fmod(element, cut) == 0 && lost > -0.5 && lost < cut;
        }
        if (isOnGrid || isCut) return bits;
    }
    return 0;
}

/// The fewest significant bits of a float that could hold each value; 0 for none, and where the
/// type has no more.
unsigned find_significant_bits(const Plane& expected, const Plane& returned, double resolution) {
    const int own = -std::ilogb(resolution);
    int bits = 0;
    for (std::size_t i = 0; i < kPixels; ++i) {
        const double value = returned[i];
        int exponent = 0;
        const double mantissa = std::frexp(value, &exponent);
        if (!std::isfinite(value)) return 0;
        while (bits < own &&
               std::ldexp(mantissa, bits) != std::nearbyint(std::ldexp(mantissa, bits))) {
            ++bits;
        }
        // Very small values may have lost more.
        const double least = 0x1p-24;
        if (!is_equal(expected[i], value, std::max(least, std::ldexp(value, 1 - bits)))) return 0;
    }
    return bits < own ? static_cast<unsigned>(bits) : 0;
}

/// The distance of neighbouring values of the type near 1, which is where they are farthest apart.
double resolution_of(const Image& image) {
    if (const auto steps = steps_of(image.layout)) return 1.0 / *steps;
    const bool isHalf =
        bytes_per_pixel(image.layout) == 2 * channels_in_memory(image.layout)->size();
    return isHalf ? 0x1p-11 : 0x1p-24;
}

struct Precision {
    const char* kept;
    const char* unit;
    unsigned (*find)(const Plane& expected, const Plane& returned, double resolution);
};
constexpr Precision kIntegers = {"at", "bits", find_integer_bits};
constexpr Precision kFloats = {"as floats of", "significant bits", find_significant_bits};

std::optional<std::string> describe_precision(const ComparedImages& images,
                                              const Precision& precision) {
    const double resolution = resolution_of(images.evidence.returned);
    std::vector<std::string> parts;
    std::set<unsigned> found;
    for (std::size_t c = 0; c < images.returned.values.size(); ++c) {
        const Plane& returned = images.returned.values[c];
        if (are_equal(images.expected.values[c], returned, images.tolerance)) continue;
        if (is_constant(returned)) return std::nullopt;
        const unsigned bits = precision.find(images.exact.values[c], returned, resolution);
        if (bits == 0) return std::nullopt;
        found.insert(bits);
        parts.push_back(fmt::format("{} at {}", name_of(images.returned.channels[c]), bits));
    }
    if (found.size() > 1 || parts.size() < images.returned.values.size()) {
        return fmt::format("Kept {} fewer {}: {}.", precision.kept, precision.unit, join(parts));
    }
    const bool isHalf = &precision == &kFloats && *found.begin() == 11;
    return fmt::format("Kept {} {} {}{}.", precision.kept, *found.begin(), precision.unit,
                       isHalf ? ", as half floats have" : "");
}

// Channels

/// The contents of a returned channel.
struct Content {
    /// None: one value everywhere.
    std::optional<Channel> source;
    double constant = 0.0;
};

std::optional<Content> find_content(const ComparedImages& images, std::size_t index) {
    const Planes& expected = images.expected;
    const Plane& plane = images.returned.values[index];
    if (are_equal(expected.values[index], plane, images.tolerance)) {
        return Content{expected.channels[index]};
    }
    if (is_constant(plane)) return Content{std::nullopt, plane.front()};
    for (std::size_t other = 0; other < expected.channels.size(); ++other) {
        if (are_equal(expected.values[other], plane, images.tolerance)) {
            return Content{expected.channels[other]};
        }
    }
    return std::nullopt;
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

// Other values

/// Whether each returned colour is `of` of the exact one, and alpha is right.
template <class Of>
bool are_colours_of(const ComparedImages& images, Of of) {
    for (std::size_t c = 0; c < images.exact.values.size(); ++c) {
        const bool isColour = is_colour(images.exact.channels[c]);
        for (std::size_t i = 0; i < kPixels; ++i) {
            const double expected = images.exact.values[c][i];
            const double value = isColour ? of(expected, i) : expected;
            if (!is_equal(value, images.returned.values[c][i], kNearly)) return false;
        }
    }
    return true;
}

/// Of the sRGB standard, both ways.
double encoded_srgb(double linear) {
    return linear <= 0.0031308 ? 12.92 * linear : 1.055 * std::pow(linear, 1 / 2.4) - 0.055;
}
double decoded_srgb(double value) {
    return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
}

struct Line {
    double gain = 1.0;
    double offset = 0.0;

    double at(double value, bool isClamped) const {
        const double result = gain * value + offset;
        return isClamped ? std::clamp(result, 0.0, 1.0) : result;
    }
    bool is_near(const Line& other) const {
        return is_equal(gain, other.gain, 0.01) && is_equal(offset, other.offset, 0.005);
    }
};

/// Whether all returned values lie on the line over the expected ones.
bool is_on_line(const Line& line, const Plane& expected, const Plane& returned, bool isClamped) {
    return std::equal(expected.begin(), expected.end(), returned.begin(), [&](double x, double y) {
        return is_equal(line.at(x, isClamped), y, kNearly);
    });
}

/// The line on which they lie, but for those at the ends.
std::optional<Line> find_line(const Plane& expected, const Plane& returned, bool isClamped) {
    double count = 0, x = 0, y = 0, xx = 0, xy = 0;
    for (std::size_t i = 0; i < kPixels; ++i) {
        if (!std::isfinite(returned[i])) return std::nullopt;
        if (isClamped && (returned[i] < 0.01 || returned[i] > 0.99)) continue;
        count += 1;
        x += expected[i];
        y += returned[i];
        xx += expected[i] * expected[i];
        xy += expected[i] * returned[i];
    }
    const double spread = count * xx - x * x;
    if (count < 256 || spread <= 0) return std::nullopt;
    Line line;
    line.gain = (count * xy - x * y) / spread;
    line.offset = (y - line.gain * x) / count;
    if (std::abs(line.gain) < 0.01) return std::nullopt;
    return is_on_line(line, expected, returned, isClamped) ? std::optional(line) : std::nullopt;
}

std::string describe_line(const Line& line) {
    if (std::abs(line.gain + 1) < 0.01 && std::abs(line.offset - 1) < 0.01) return "inverted";
    std::string text = "as ";
    if (std::abs(line.gain - 1) >= 0.005) text += fmt::format("{:.3g} times ", line.gain);
    text += "what was sent";
    if (std::abs(line.offset) < 0.0025) return text;
    return text +
           fmt::format(" {} {:.3g}", line.offset < 0 ? "minus" : "plus", std::abs(line.offset));
}

/// One line for all channels that differ.
std::optional<std::string> describe_gain(const ComparedImages& images, bool isClamped) {
    std::string names;
    std::optional<Line> line;
    std::vector<std::size_t> constants;
    for (std::size_t c = 0; c < images.exact.values.size(); ++c) {
        const Plane& exact = images.exact.values[c];
        const Plane& returned = images.returned.values[c];
        if (are_equal(images.expected.values[c], returned, kNearly)) continue;
        names += (names.empty() ? "" : ", ") + std::string(name_of(images.exact.channels[c]));
        // Each line goes through one point.
        if (is_constant(exact)) {
            constants.push_back(c);
            continue;
        }
        const auto found = find_line(exact, returned, isClamped);
        if (!found || (line && !line->is_near(*found))) return std::nullopt;
        line = found;
    }
    if (!line) return std::nullopt;
    for (const std::size_t c : constants) {
        if (!is_on_line(*line, images.exact.values[c], images.returned.values[c], isClamped)) {
            return std::nullopt;
        }
    }
    return capitalized(names) + " came back " + describe_line(*line) + '.';
}

}  // namespace

bool are_equal(const Plane& a, const Plane& b, double tolerance) {
    return std::equal(a.begin(), a.end(), b.begin(),
                      [=](double x, double y) { return is_equal(x, y, tolerance); });
}

bool are_equal(const Planes& a, const Planes& b, double tolerance) {
    for (std::size_t c = 0; c < a.values.size(); ++c) {
        if (!are_equal(a.values[c], b.values[c], tolerance)) return false;
    }
    return true;
}

bool is_wrong(const ComparedImages& images, std::size_t pixel) {
    for (std::size_t c = 0; c < images.expected.values.size(); ++c) {
        const double expected = images.expected.values[c][pixel];
        if (!is_equal(expected, images.returned.values[c][pixel], images.tolerance)) return true;
    }
    return false;
}

bool is_constant(const Plane& plane) {
    return std::all_of(plane.begin(), plane.end(),
                       [&](double value) { return value == plane.front(); });
}

std::string describe_largest(const ComparedImages& images) {
    double largest = 0.0;
    for (const ChannelErrors& errors : images.analysis.channels) {
        largest = std::max(largest, errors.largest);
    }
    if (!std::isfinite(largest)) return "so much that some values are no numbers";
    const auto& steps = images.analysis.steps;
    return steps ? fmt::format("{:.0f} of {}", largest, *steps) : fmt::format("{:.3g}", largest);
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
    auto found = describe_precision(images, kIntegers);
    if (found || steps_of(images.evidence.returned.layout)) return found;
    return describe_precision(images, kFloats);
}

std::optional<std::string> find_small_errors(const ComparedImages& images) {
    if (!are_equal(images.expected, images.returned, kNearly)) return std::nullopt;
    std::size_t pixels = 0;
    for (std::size_t i = 0; i < kPixels; ++i) pixels += is_wrong(images, i);
    return fmt::format(
        "The image is right, but not exact: values differ by up to {}, in {} of {} pixels.",
        describe_largest(images), pixels, kPixels);
}

std::optional<std::string> find_channels(const ComparedImages& images) {
    const std::vector<Channel>& channels = images.returned.channels;
    std::vector<Content> contents;
    std::vector<std::size_t> moved;
    for (std::size_t i = 0; i < channels.size(); ++i) {
        const std::optional<Content> content = find_content(images, i);
        if (!content) return std::nullopt;
        contents.push_back(*content);
        if (content->source != channels[i]) moved.push_back(i);
    }
    const bool isExchange = moved.size() == 2 && contents[moved[0]].source == channels[moved[1]] &&
                            contents[moved[1]].source == channels[moved[0]];
    if (isExchange) {
        return fmt::format("{} and {} are exchanged.", capitalized(name_of(channels[moved[0]])),
                           name_of(channels[moved[1]]));
    }
    return describe_contents(channels, contents);
}

std::optional<std::string> find_srgb(const ComparedImages& images) {
    const auto encoded = [](double value, std::size_t) { return encoded_srgb(value); };
    const auto decoded = [](double value, std::size_t) { return decoded_srgb(value); };
    if (are_colours_of(images, encoded)) return "The colours were encoded as sRGB.";
    if (are_colours_of(images, decoded)) return "The colours were decoded as sRGB.";
    return std::nullopt;
}

std::optional<std::string> find_premultiplied(const ComparedImages& images) {
    const Plane* alpha = images.exact.find(Channel::kAlpha);
    if (!alpha || is_constant(*alpha)) return std::nullopt;
    const auto product = [&](double value, std::size_t i) { return value * (*alpha)[i]; };
    const auto quotient = [&](double value, std::size_t i) {
        const double a = (*alpha)[i];
        return a > 0 ? std::min(value / a, 1.0) : 0.0;
    };
    if (are_colours_of(images, product)) return "The colours were multiplied by alpha.";
    if (are_colours_of(images, quotient)) return "The colours were divided by alpha.";
    return std::nullopt;
}

std::optional<std::string> find_gain(const ComparedImages& images) {
    // Floats may keep values beyond 0 and 1.
    if (!images.analysis.steps) {
        if (auto found = describe_gain(images, false)) return found;
    }
    return describe_gain(images, true);
}

}  // namespace texprobe::ctl
