// Timing several ways against each other: in each round, each of them once, so that a machine that
// is slow for a while is slow for all of them.

#ifndef TEXPROBECTL_TIME_ROUNDS_H
#define TEXPROBECTL_TIME_ROUNDS_H

#include <cstddef>
#include <functional>
#include <vector>

#include "time/ways.h"

namespace texprobe::ctl {

/// Seconds an image, round by round.
struct WayRounds {
    std::size_t way = kCopy;
    std::vector<double> seconds;
    bool operator==(const WayRounds&) const = default;
};

struct Rounds {
    /// Streams so many images in the way, and comes back when the last has arrived.
    std::function<void(const Way& way, int images)> stream;
    /// Seconds since some moment.
    std::function<double()> now;
    /// Between two steps, and in no time that counts.
    std::function<void()> betweenSteps;
};

/// Every transfer is timed in so many visits, with all others between them. So a machine that is
/// slow for a while spoils only one visit of each.
inline constexpr int kVisits = 3;
inline constexpr int kMostRoundsOfVisit = 5;
/// A step takes at least so long. Where images are small it has several: otherwise most of the time
/// would be the wait at its end.
inline constexpr double kStepSeconds = 0.002;
inline constexpr int kMostLaps = 100;

/// Times the ways, by their numbers, for about `seconds`, but for one round at least. Each step
/// streams the same number of images, whole laps of three buffers.
std::vector<WayRounds> time_ways(const std::vector<std::size_t>& ways, double seconds,
                                 const Rounds& rounds);

/// The part of the time left that the first of these visits, by their images' bytes, may take. In
/// proportion to the square root: with equal shares the large ones would have too few rounds, and
/// with shares by size the small ones.
double share_of_first(const std::vector<std::size_t>& images);

}  // namespace texprobe::ctl

#endif
