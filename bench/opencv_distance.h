// What a user would write instead of the kernels.

#ifndef TEXPROBE_BENCH_OPENCV_DISTANCE_H
#define TEXPROBE_BENCH_OPENCV_DISTANCE_H

#include <cstdint>
#include <functional>

#include "cells.h"

namespace texprobe::bench {

/// The sum of squared differences of two images on the 8-bit scale by OpenCV's norm(), after
/// converting type and layout. Its images are allocated once and not timed. Empty if OpenCV is not
/// installed.
std::function<std::uint64_t()> make_opencv_distance(const Layout& source, void* sourceData,
                                                    const Layout& readBack, void* readData);

}  // namespace texprobe::bench

#endif
