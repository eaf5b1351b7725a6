// The ways in which an application streams images, and the sizes of the images.

#ifndef TEXPROBECTL_TIME_WAYS_H
#define TEXPROBECTL_TIME_WAYS_H

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "records/cells.h"

namespace texprobe::ctl {

struct Way {
    /// Above a column.
    const char* column;
    std::size_t buffers;
    /// In documents.
    const char* uploadName;
    const char* downloadName;
};

inline constexpr std::size_t kWayCount = 3;
inline constexpr std::array<Way, kWayCount> kWays = {
    {{"no buffer", 0, "no_buffer", "no_buffer"},
     // Fresh: new storage for each image. Mapped as it is, one buffer of an upload would have to
     // wait until the image before is used up; three need not, nor does a download.
     {"one", 1, "one_fresh", "one_kept"},
     {"three", 3, "three_kept", "three_kept"}}};
inline constexpr std::size_t kNoBuffer = 0;
inline constexpr std::size_t kMostBuffers = 3;

inline bool is_upload(Capability transfer) {
    return transfer == kUploadSet || transfer == kUploadReset;
}
inline const char* name_of(std::size_t way, Capability transfer) {
    return is_upload(transfer) ? kWays[way].uploadName : kWays[way].downloadName;
}

struct ImageSize {
    int width = 0;
    int height = 0;

    std::size_t pixels() const {
        return static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    }
    /// "128", "1080p".
    std::string name() const;
    bool operator==(const ImageSize&) const = default;
};

/// 1080p, 2160p, or the side of a square: a multiple of 4, so that a row of every format ends where
/// the next may begin; at most 4096, a quarter of a gigabyte an image.
std::optional<ImageSize> parse_size(std::string_view text);

/// One transfer of one format at one size.
struct TimedTransfer {
    Cell cell;
    ImageSize size;

    /// Of an image, in the layout that the verdicts are about.
    std::size_t bytes() const { return size.pixels() * kFormats[cell.format].bytesPerPixel; }
    bool operator==(const TimedTransfer&) const = default;
};

}  // namespace texprobe::ctl

#endif
