// What the program `phases` tells the profile besides names and times.

#ifndef TEXPROBE_BENCH_PHASES_H
#define TEXPROBE_BENCH_PHASES_H

namespace texprobe::bench {

/// The phase of what taking a run apart costs and the run itself does not do.
inline constexpr const char* kNotInARun = "not in a run";

}  // namespace texprobe::bench

#endif
