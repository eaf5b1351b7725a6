// What the program `phases` tells the profile, besides names and times.

#ifndef TEXPROBE_BENCH_PHASES_H
#define TEXPROBE_BENCH_PHASES_H

namespace texprobe::bench {

/// The phase for the cost of the splitting itself, which a real run does not have.
inline constexpr const char* kNotInARun = "not in a run";

}  // namespace texprobe::bench

#endif
