// Times: the ways in which an application streams images, the sizes of the images, and how long
// each way took.

#ifndef TEXPROBECTL_TIME_TIMES_H
#define TEXPROBECTL_TIME_TIMES_H

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "records/record_set.h"

namespace texprobe::ctl {

struct Way {
    std::size_t buffers;
    /// In documents.
    const char* uploadName;
    const char* downloadName;
};

inline constexpr std::size_t kWayCount = 3;
inline constexpr std::array<Way, kWayCount> kWays = {
    {{0, "no_buffer", "no_buffer"},
     // Fresh: new storage for each image. Mapped as it is, one buffer of an upload would have to
     // wait until the image before is used up; three need not, nor does a download.
     {1, "one_fresh", "one_kept"},
     {3, "three_kept", "three_kept"}}};
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

enum class TimedState {
    kTimed,
    /// Its capability is not a yes, so no application should use it.
    kNotVerified,
    /// The driver cannot do it, or has crashed or hung.
    kFailed,
    kNoTime,
    kInterrupted,
};
inline constexpr std::array<const char*, 5> kTimedStateNames = {"timed", "not_verified", "failed",
                                                                "no_time", "interrupted"};
inline const char* name_of(TimedState state) {
    return kTimedStateNames[static_cast<std::size_t>(state)];
}

/// Half of the values lie from `lower` to `upper`.
struct Quartiles {
    double lower = 0.0;
    double median = 0.0;
    double upper = 0.0;
    bool operator==(const Quartiles&) const = default;
};
/// Between two values, in proportion; all zero without any.
Quartiles quartiles_of(std::vector<double> values);

/// Seconds an image.
struct TimedWay {
    std::size_t way = kNoBuffer;
    int rounds = 0;
    Quartiles seconds;
    bool operator==(const TimedWay&) const = default;
};

/// One transfer of one format at one size.
struct TransferTimes {
    TimedTransfer what;
    TimedState state = TimedState::kInterrupted;
    /// The verdict where it is not a yes, or the failure.
    std::string reason;
    /// Of an image; 0 where none was timed.
    std::size_t bytes = 0;
    std::vector<TimedWay> ways;
    bool operator==(const TransferTimes&) const = default;
};

/// Of one record set.
struct Times {
    std::string id;
    std::optional<std::string> renderer;
    std::optional<std::string> glVersion;
    /// By format and transfer, in the tool's order.
    std::vector<TransferTimes> transfers;
    bool operator==(const Times&) const = default;
};

/// A transfer, as a terminal and a page show it.
struct TimesRow {
    std::string format;
    std::string transfer;
    /// Under kTimesColumns: images per second in each way, with a mark where one is due; "nothing",
    /// or how many times as fast the better way with a buffer is; "yes", "no", or "~" where some
    /// rounds do and some do not. Where nothing was timed, only why.
    std::vector<std::string> cells;
};
struct TimesTable {
    ImageSize size;
    /// "Images of 1920 x 1080 per second".
    std::string caption;
    std::vector<TimesRow> rows;
};
/// One for each size, the smallest first.
std::vector<TimesTable> tables_of(const Times& times);

inline constexpr std::array<const char*, kWayCount + 2> kTimesColumns = {
    "no buffer", "one", "three", "buffer gains", "60/s"};
/// The marks and the columns.
inline constexpr const char* kTimesLegend =
    R"(set, reset: in, by a sub-image or a redefinition. get, read: out, from a texture
or the framebuffer. one, three: so many pixel buffer objects in turn.
*: the fastest of all ways in, or out. ~: in doubt, because the middle halves of
the rounds overlap. ?: fewer than three rounds; --within gives more.
buffer gains: how often as fast as without one the better way with a buffer is.
60/s: whether the fastest way of the line moves 60 images a second.
)";

}  // namespace texprobe::ctl

#endif
