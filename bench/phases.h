// What the phases of a run are told from.

#ifndef TEXPROBE_BENCH_PHASES_H
#define TEXPROBE_BENCH_PHASES_H

namespace texprobe::bench {

/// The phase of what taking a run apart costs and the run itself does not do.
inline constexpr const char* kNotInARun = "not in a run";

}  // namespace texprobe::bench

#endif
