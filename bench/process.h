// Whole processes: their time and peak memory.

#ifndef TEXPROBE_BENCH_PROCESS_H
#define TEXPROBE_BENCH_PROCESS_H

#include <string>
#include <vector>

namespace texprobe::bench {

struct ProcessRun {
    double seconds;
    double cpuSeconds;
    double peakKiB;
    std::string output;  // Standard output.
    int status;          // From wait4().
};

/// Runs a command to its end and discards its standard error. Ends the program if the command
/// fails. The kernel counts the memory of the parent as part of the command's peak, so keep that
/// small.
ProcessRun run_process(const std::vector<std::string>& command);

/// The same for a command that may exit with any status.
ProcessRun run_foreign_process(const std::vector<std::string>& command);

}  // namespace texprobe::bench

#endif
