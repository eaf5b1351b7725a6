// Every comparison that the probe makes: sixteen formats, each uploaded (and drawn into an 8-bit
// RGBA target) and downloaded (in the layout that it was sent in).

#ifndef TEXPROBE_BENCH_CELLS_H
#define TEXPROBE_BENCH_CELLS_H

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace texprobe::bench {

struct Layout {
    unsigned format;
    unsigned type;
    unsigned bytesPerPixel;
};

struct Cell {
    std::string name;
    Layout source;
    Layout readBack;
    bool isDownload;
    std::size_t bytes;  // Of both images.
    std::function<std::uint64_t()> kernel;
    /// A plain pass over the same bytes that only sums them.
    std::function<std::uint64_t()> summing;
    /// The same comparison by OpenCV, conversions included; empty if it is not installed.
    std::function<std::uint64_t()> opencv;
};

/// Ends the program if OpenCV's result differs from the kernel's by more than the rounding of its
/// conversions: timing two different jobs would be worthless.
std::vector<Cell> make_cells();

}  // namespace texprobe::bench

#endif
