// The child process that times: it alone calls OpenGL, and reports line by line.
//
//   begin 44                this transfer is in hand, by the number of its cell
//   way 1 0.11              a step of this way, and the seconds an image
//   done | failed REASON    how it ended

#ifndef TEXPROBECTL_TIME_TIMED_CHILD_H
#define TEXPROBECTL_TIME_TIMED_CHILD_H

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace texprobe::ctl {

inline constexpr const char* kTimeTask = "time";

/// The renderer in hexadecimal, the size, the seconds that all may take, and the transfers, by the
/// numbers of their cells. Returns the exit status; ends the process where the renderer's context
/// cannot be set up.
int run_timed_child(const std::vector<std::string>& arguments);

struct Rounds {
    /// Streams so many images in the way, and comes back when the last has arrived.
    std::function<void(std::size_t way, std::size_t images)> stream;
    /// Seconds since some moment.
    std::function<double()> now;
    /// The seconds an image that a step took; in no time that counts.
    std::function<void(std::size_t way, double seconds)> report;
};

/// Times the ways against each other for so many seconds, but for one round at least: in each,
/// every way once, so that a machine that is slow for a while is slow for all. Each step streams
/// the same number of images, whole laps of three buffers, for two milliseconds or more: otherwise
/// most of the time would be the wait at its end.
void time_ways(double seconds, const Rounds& rounds);

}  // namespace texprobe::ctl

#endif
