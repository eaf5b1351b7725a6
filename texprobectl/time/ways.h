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

/// How a buffer's old contents are given up before it is used again, so that the driver need not
/// wait until they are used up.
enum class Renewal {
    /// They are not: the buffer is mapped as it is.
    kKept,
    /// By glBufferData without data.
    kFresh,
    /// By glMapBufferRange, where GL_ARB_map_buffer_range is offered. For uploads only.
    kRange,
};

struct Way {
    /// In documents.
    const char* name;
    /// In sentences.
    const char* words;
    /// Above a column.
    const char* column;
    /// Pixel buffer objects in turn; none for the transfer from or to the application's memory.
    int buffers;
    Renewal renewal;
    /// A copy from memory to memory, to compare with.
    bool isCopy;
};

inline constexpr std::size_t kWayCount = 8;
inline constexpr std::array<Way, kWayCount> kWays = {{
    {"copy", "memcpy", "memcpy", 0, Renewal::kKept, true},
    {"no_buffer", "no buffer", "no buf", 0, Renewal::kKept, false},
    {"one_kept", "one buffer, kept", "1 kept", 1, Renewal::kKept, false},
    {"one_fresh", "one buffer, fresh", "1 fresh", 1, Renewal::kFresh, false},
    {"one_range", "one buffer, range", "1 range", 1, Renewal::kRange, false},
    {"three_kept", "three buffers, kept", "3 kept", 3, Renewal::kKept, false},
    {"three_fresh", "three buffers, fresh", "3 fresh", 3, Renewal::kFresh, false},
    {"three_range", "three buffers, range", "3 range", 3, Renewal::kRange, false},
}};
inline constexpr std::size_t kCopy = 0;
inline constexpr std::size_t kNoBuffer = 1;
inline constexpr int kMostBuffers = 3;

inline bool is_upload(Capability transfer) {
    return transfer == kUploadSet || transfer == kUploadReset;
}

/// Whether the transfer has this way, on a driver that lacks nothing.
inline bool is_of_transfer(const Way& way, Capability transfer) {
    return is_upload(transfer) || way.renewal != Renewal::kRange;
}

std::optional<std::size_t> find_way(std::string_view name);

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

inline constexpr std::array<ImageSize, 4> kUsualSizes = {
    {{128, 128}, {512, 512}, {1920, 1080}, {3840, 2160}}};

/// A multiple of 4, so that a row of every format ends where the next may begin.
inline constexpr int kLeastSide = 4;
/// Bounds the memory: a quarter of a gigabyte an image.
inline constexpr int kMostSide = 4096;

/// A name of a usual size, or the side of a square.
std::optional<ImageSize> parse_size(std::string_view text);

/// One transfer of one format at one size.
struct TimedTransfer {
    std::size_t format = 0;
    Capability transfer = kUploadSet;
    ImageSize size;

    /// Of an image, in the layout that the verdicts are about.
    std::size_t bytes() const { return size.pixels() * kFormats[format].bytesPerPixel; }
    /// "GL_RGBA8:upload_set:1080p".
    std::string text() const;
    bool operator==(const TimedTransfer&) const = default;
};
std::optional<TimedTransfer> parse_transfer(std::string_view text);

}  // namespace texprobe::ctl

#endif
