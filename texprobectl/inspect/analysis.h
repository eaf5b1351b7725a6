// The effect of a transfer on an image: the sent and the returned one, like compared with like, and
// the one sentence that follows.

#ifndef TEXPROBECTL_ANALYSIS_H
#define TEXPROBECTL_ANALYSIS_H

#include <optional>
#include <string>
#include <vector>

#include "inspect/pixels.h"

namespace texprobe::ctl {

/// An image of a test before the inspected one.
struct EarlierImage {
    /// The test, in words.
    std::string test;
    Image image;
};

struct Evidence {
    Image sent;
    Image returned;
    /// The pixel buffer object's contents after the transfer, where they were read.
    std::optional<Image> kept;
    std::vector<EarlierImage> earlier;
    /// The result of the tool's comparison.
    bool verdict = false;
};

struct PixelPlace {
    std::size_t row = 0;
    std::size_t column = 0;
};

/// Of one channel, in steps of the type that came back; of a float, as a number.
struct ChannelErrors {
    Channel channel = Channel::kRed;
    double largest = 0.0;
    double mean = 0.0;
    std::size_t pixels = 0;
    std::optional<PixelPlace> first;
};

struct Analysis {
    std::vector<ChannelErrors> channels;
    /// The steps from 0 to 1; none for floats.
    std::optional<unsigned> steps;
    std::string sentence;
};

/// Whether the image that came back is the one that OpenGL defines. Throws std::invalid_argument
/// for images that it cannot read.
bool is_right(const Evidence& evidence);

/// Throws as is_right.
Analysis analyse(const Evidence& evidence);

}  // namespace texprobe::ctl

#endif
