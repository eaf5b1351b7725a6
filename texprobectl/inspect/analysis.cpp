#include "inspect/analysis.h"

#include <OpenGL/gl.h>
#include <OpenGL/glext.h>
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <limits>

#include "inspect/faults.h"

namespace texprobe::ctl {

namespace {

ChannelErrors measure_errors(Channel channel, const Plane& expected, const Plane& returned,
                             double scale) {
    ChannelErrors errors;
    errors.channel = channel;
    double sum = 0.0;
    for (std::size_t i = 0; i < kPixels; ++i) {
        double error = std::abs(returned[i] - expected[i]) * scale;
        // A value that is no number is as far away as can be.
        if (std::isnan(error)) error = std::numeric_limits<double>::infinity();
        if (error == 0.0) continue;
        if (errors.pixels++ == 0) errors.first = {i / kColumns, i % kColumns};
        errors.largest = std::max(errors.largest, error);
        sum += error;
    }
    errors.mean = sum / kPixels;
    return errors;
}

/// A correct driver's difference: none, or one step where values were rounded to fewer.
double rounding(const Layout& sent, const Layout& returned) {
    const auto steps = steps_of(returned);
    return steps && steps_of(sent) != steps ? 1.0 / *steps + 1e-9 : 0.0;
}

/// Describes the tool's comparison where it does not find two equal images equal.
std::string describe_pairing(const Layout& sent, const Layout& returned) {
    if (sent.format == GL_LUMINANCE_ALPHA && returned.format == GL_LUMINANCE_ALPHA) {
        return "each alpha with the next pixel's luminance";
    }
    const bool isReversed = (sent.format == GL_BGRA && returned.format == GL_RGBA) ||
                            (sent.format == GL_RGBA && returned.format == GL_BGRA);
    if (isReversed && sent.type != GL_UNSIGNED_INT_8_8_8_8_REV) {
        return "four channels in reversed order";
    }
    return "by rules of its own";
}

bool has_lost_buffer(const Evidence& evidence) {
    return evidence.kept && evidence.kept->bytes != evidence.sent.bytes;
}

std::optional<std::string> find_lost_buffer(const ComparedImages& images) {
    if (!has_lost_buffer(images.evidence)) return std::nullopt;
    return "The pixel buffer object does not hold what was written into it.";
}

std::optional<std::string> find_exact(const ComparedImages& images) {
    if (!are_equal(images.expected, images.returned, images.tolerance)) return std::nullopt;
    const Layout& sent = images.evidence.sent.layout;
    const Layout& returned = images.evidence.returned.layout;
    const bool isAll = rounding(sent, returned) == 0.0;
    const char* limits = isAll ? "" : " to 8 bits, which is all that an upload shows";
    if (images.evidence.verdict) return fmt::format("The driver is exact{}.", limits);
    return fmt::format(
        "The driver is right{}. This no comes from the test itself, which compares {}.", limits,
        describe_pairing(sent, returned));
}

std::string describe_unknown(const ComparedImages& images) {
    std::size_t pixels = 0;
    for (std::size_t i = 0; i < kPixels; ++i) pixels += is_wrong(images, i);
    return fmt::format(
        "It differs without a pattern that is known here: in {} of {} pixels, by up to {}.", pixels,
        kPixels, describe_largest(images));
}

using Find = std::optional<std::string> (*)(const ComparedImages&);

// In this order: the first that fits is the sentence. Values that are nearly right come before all
// that moves, because a pattern fits a small error by chance; a part that is wrong comes last,
// because it fits whatever leaves a part right (find_part).
constexpr std::initializer_list<Find> kUnmoved = {find_lost_buffer, find_exact, find_constant,
                                                  find_precision, find_small_errors};
constexpr std::initializer_list<Find> kMoved = {
    find_byte_order, find_channels, find_shift, find_turn,          find_stride,
    find_row_shift,  find_stale,    find_srgb,  find_premultiplied, find_gain};

std::optional<std::string> first_of(std::initializer_list<Find> finds,
                                    const ComparedImages& images) {
    for (const Find find : finds) {
        if (auto found = find(images)) return found;
    }
    return std::nullopt;
}

std::string find_sentence(const ComparedImages& images) {
    if (const auto found = first_of(kUnmoved, images)) return *found;
    // Once more each, past the values that a driver may lose besides.
    ComparedImages roughly = images;
    roughly.tolerance = std::max(images.tolerance, kNearly);
    const auto withoutEnd = [](const std::string& text) { return text.substr(0, text.size() - 1); };
    const char* const besides = "; values are not exact either.";
    if (const auto found = first_of(kMoved, images)) return *found;
    if (const auto found = first_of(kMoved, roughly)) return withoutEnd(*found) + besides;
    if (const auto found = find_part(images)) return *found;
    if (const auto found = find_part(roughly)) return withoutEnd(*found) + besides;
    return describe_unknown(images);
}

}  // namespace

bool is_right(const Evidence& evidence) {
    const Layout& layout = evidence.returned.layout;
    return !has_lost_buffer(evidence) &&
           are_equal(expected_in(layout, decode(evidence.sent)), decode(evidence.returned),
                     rounding(evidence.sent.layout, layout));
}

Analysis analyse(const Evidence& evidence) {
    const Planes returned = decode(evidence.returned);
    const Planes sent = decode(evidence.sent);
    const Planes expected = expected_in(evidence.returned.layout, sent);
    const Planes exact = exact_in(evidence.returned.layout, sent);
    Analysis analysis;
    analysis.steps = steps_of(evidence.returned.layout);
    for (std::size_t i = 0; i < returned.channels.size(); ++i) {
        analysis.channels.push_back(measure_errors(returned.channels[i], expected.values[i],
                                                   returned.values[i], analysis.steps.value_or(1)));
    }
    analysis.sentence = find_sentence({evidence, expected, exact, returned, analysis,
                                       rounding(evidence.sent.layout, evidence.returned.layout)});
    return analysis;
}

}  // namespace texprobe::ctl
