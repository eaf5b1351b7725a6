// The ways in which a driver gets an image wrong, each recognised by the returned image alone.

#ifndef TEXPROBECTL_FAULTS_H
#define TEXPROBECTL_FAULTS_H

#include <optional>
#include <string>

#include "inspect/analysis.h"

namespace texprobe::ctl {

struct ComparedImages {
    const Evidence& evidence;
    /// In the layout that came back.
    const Planes& expected;
    const Planes& returned;
    /// Values that differ by no more count as equal.
    double tolerance = 0.0;
};

/// Every value, of every channel.
bool are_equal(const Planes& a, const Planes& b, double tolerance);

// Each gives its sentence where it is the one that happened.

std::optional<std::string> find_constant(const ComparedImages& images);
std::optional<std::string> find_precision(const ComparedImages& images);
/// Byte order, channels, shifts, turned images, stale images and missing rows.
std::optional<std::string> find_structure(const ComparedImages& images);

}  // namespace texprobe::ctl

#endif
