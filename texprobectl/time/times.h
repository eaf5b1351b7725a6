// Times: the transfers of one record set's formats, and how long each way took.

#ifndef TEXPROBECTL_TIME_TIMES_H
#define TEXPROBECTL_TIME_TIMES_H

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "records/record_set.h"
#include "time/statistics.h"
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

/// Fewer rounds cannot tell a middle from an outlier.
inline constexpr int kFewRounds = 3;

/// Seconds an image.
struct TimedWay {
    std::size_t way = kCopy;
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

    /// A megabyte is 10^6 bytes.
    double megabytes_per_second(const TimedWay& timed) const;
    const TimedWay* find(std::size_t way) const;
    /// Of the ways with pixel buffer objects, which the verdicts are about; null without any.
    const TimedWay* fastest() const;
    /// Whether another way with buffers is as fast: their middle halves overlap.
    bool hasEqual() const;
    bool operator==(const TransferTimes&) const = default;
};

/// Of one record set.
struct Times {
    std::string id;
    std::optional<std::string> renderer;
    std::optional<std::string> glVersion;
    /// By format and transfer, in the tool's order, then by size.
    std::vector<TransferTimes> transfers;
    bool operator==(const Times&) const = default;
};

double images_per_second(const TimedWay& timed);

/// The spreads of all ways that had enough rounds: of the middle one, and of the one above which a
/// tenth lies. None without any.
struct Spread {
    double middle = 0.0;
    double high = 0.0;
};
std::optional<Spread> spread_of(const Times& times);

/// The fastest way in (or out) of a format at a size, of the two transfers that lead there; null
/// where neither was timed.
const TransferTimes* fastest_transfer(const Times& times, std::size_t format, const ImageSize& size,
                                      bool isIn);

/// Each once, the smallest first.
std::vector<ImageSize> sizes_of(const Times& times);

}  // namespace texprobe::ctl

#endif
