#include "inspect/analysis.h"

#include <OpenGL/gl.h>
#include <OpenGL/glext.h>
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
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

/// Why the tool's comparison does not find two equal images equal.
std::string describe_pairing(const Layout& sent, const Layout& returned) {
    if (sent.format == GL_LUMINANCE_ALPHA && returned.format == GL_LUMINANCE_ALPHA) {
        return "pairing: each alpha is compared with the next pixel's luminance";
    }
    const bool isReversed = (sent.format == GL_BGRA && returned.format == GL_RGBA) ||
                            (sent.format == GL_RGBA && returned.format == GL_BGRA);
    if (isReversed && sent.type != GL_UNSIGNED_INT_8_8_8_8_REV) {
        return "pairing: four channels are compared in reversed order";
    }
    return "rules";
}

std::string describe_exact(const ComparedImages& images) {
    const bool isRounded = !are_equal(images.expected, images.returned, 0.0);
    const std::string exact =
        isRounded ? "The driver is exact, but for rounding" : "The driver is exact";
    if (images.evidence.verdict) return exact + '.';
    return exact + "; the verdict follows from the comparison's " +
           describe_pairing(images.evidence.sent.layout, images.evidence.returned.layout) + '.';
}

std::string describe_size(double error, const std::optional<unsigned>& steps) {
    if (!std::isfinite(error)) return "so much that some values are no numbers";
    return steps ? fmt::format("{:.0f} of {}", error, *steps) : fmt::format("{:.3g}", error);
}

std::optional<std::string> find_lost_buffer(const Evidence& evidence) {
    if (!evidence.kept || evidence.kept->bytes == evidence.sent.bytes) return std::nullopt;
    return "The pixel buffer object does not hold what was written into it.";
}

std::string describe_unknown(const Analysis& analysis, const ComparedImages& images) {
    std::size_t pixels = 0;
    for (std::size_t i = 0; i < kPixels; ++i) {
        bool differs = false;
        for (std::size_t c = 0; c < images.expected.channels.size(); ++c) {
            differs |= !(images.expected.values[c][i] == images.returned.values[c][i]);
        }
        pixels += differs;
    }
    double largest = 0.0;
    for (const ChannelErrors& errors : analysis.channels) {
        largest = std::max(largest, errors.largest);
    }
    return fmt::format(
        "It differs without a pattern that is known here: in {} of {} pixels, by up to {}.", pixels,
        kPixels, describe_size(largest, analysis.steps));
}

std::string find_sentence(const Analysis& analysis, ComparedImages images) {
    if (const auto found = find_lost_buffer(images.evidence)) return *found;
    if (are_equal(images.expected, images.returned, images.tolerance)) {
        return describe_exact(images);
    }
    if (const auto found = find_constant(images)) return *found;
    if (const auto found = find_structure(images)) return *found;
    if (const auto found = find_precision(images)) return *found;
    // Once more, past the values that a driver may lose besides.
    images.tolerance = std::max(images.tolerance, 1.5 / 255);
    if (are_equal(images.expected, images.returned, images.tolerance)) {
        double largest = 0.0;
        for (const ChannelErrors& errors : analysis.channels) {
            largest = std::max(largest, errors.largest);
        }
        return fmt::format("The image is right, but not exact: values differ by up to {}.",
                           describe_size(largest, analysis.steps));
    }
    if (const auto found = find_structure(images)) {
        return found->substr(0, found->size() - 1) + "; values are not exact either.";
    }
    return describe_unknown(analysis, images);
}

}  // namespace

Analysis analyse(const Evidence& evidence) {
    const Planes returned = decode(evidence.returned);
    const Planes expected = expected_in(evidence.returned.layout, decode(evidence.sent));
    Analysis analysis;
    analysis.steps = steps_of(evidence.returned.layout);
    for (std::size_t i = 0; i < returned.channels.size(); ++i) {
        analysis.channels.push_back(measure_errors(returned.channels[i], expected.values[i],
                                                   returned.values[i], analysis.steps.value_or(1)));
    }
    analysis.sentence = find_sentence(
        analysis,
        {evidence, expected, returned, rounding(evidence.sent.layout, evidence.returned.layout)});
    return analysis;
}

}  // namespace texprobe::ctl
