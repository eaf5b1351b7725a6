// The ways in which a driver gets an image wrong, each recognised by the returned image alone.

#ifndef TEXPROBECTL_FAULTS_H
#define TEXPROBECTL_FAULTS_H

#include <cmath>
#include <optional>
#include <string>

#include "inspect/analysis.h"

namespace texprobe::ctl {

struct ComparedImages {
    const Evidence& evidence;
    /// In the layout that came back.
    const Planes& expected;
    /// Before it was rounded to that layout's steps.
    const Planes& exact;
    const Planes& returned;
    const Analysis& analysis;
    /// Values that differ by no more count as equal.
    double tolerance = 0.0;
};

/// A step of 8 bits and a half: values that have lost no more are nearly right.
inline constexpr double kNearly = 1.5 / 255;

/// False for a value that is no number.
inline bool is_equal(double a, double b, double tolerance) {
    return std::abs(a - b) <= tolerance;
}
bool are_equal(const Plane& a, const Plane& b, double tolerance);
/// Every value, of every channel.
bool are_equal(const Planes& a, const Planes& b, double tolerance);
/// Whether any channel of this pixel differs.
bool is_wrong(const ComparedImages& images, std::size_t pixel);

inline bool is_colour(Channel channel) {
    return channel != Channel::kAlpha;
}
bool is_constant(const Plane& plane);
/// By how much a value differs, of the steps that there are.
std::string describe_largest(const ComparedImages& images);

// Each gives its sentence where it is the one that happened.

// Of values (value_faults.cpp).
std::optional<std::string> find_constant(const ComparedImages& images);
std::optional<std::string> find_precision(const ComparedImages& images);
std::optional<std::string> find_small_errors(const ComparedImages& images);
std::optional<std::string> find_channels(const ComparedImages& images);
std::optional<std::string> find_srgb(const ComparedImages& images);
std::optional<std::string> find_premultiplied(const ComparedImages& images);
std::optional<std::string> find_gain(const ComparedImages& images);

// Of places (place_faults.cpp).
std::optional<std::string> find_byte_order(const ComparedImages& images);
std::optional<std::string> find_shift(const ComparedImages& images);
std::optional<std::string> find_stride(const ComparedImages& images);
std::optional<std::string> find_turn(const ComparedImages& images);
std::optional<std::string> find_row_shift(const ComparedImages& images);
std::optional<std::string> find_stale(const ComparedImages& images);
std::optional<std::string> find_part(const ComparedImages& images);

}  // namespace texprobe::ctl

#endif
