// Times: the transfers of one record set's formats, and how long each way took.

#ifndef TEXPROBECTL_TIME_TIMES_H
#define TEXPROBECTL_TIME_TIMES_H

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "records/record_set.h"
#include "time/ways.h"

namespace texprobe::ctl {

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
    /// Images per second in each way, with a mark where one is due; "-" without a number.
    std::array<std::string, kWayCount> speeds;
    /// Of a buffer: "nothing", or how many times as fast the better way with one is.
    std::string gain;
    /// "yes", "no", or "~" where some rounds do and some do not.
    std::string fits;
    /// Why nothing was timed; empty where something was.
    std::string lack;
};
struct TimesTable {
    ImageSize size;
    /// "Images of 1920 x 1080 per second".
    std::string caption;
    std::vector<TimesRow> rows;
};
/// One for each size, the smallest first.
std::vector<TimesTable> tables_of(const Times& times);

/// Above the last columns.
inline constexpr const char* kTimesGain = "buffer gains";
inline constexpr const char* kTimesFit = "60/s";
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
