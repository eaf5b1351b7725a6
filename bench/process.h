// Whole processes: how long they take and how much memory they have at most.

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
    int status;          // As of wait4().
};

/// Runs a command to its end, its standard error unheard. Ends the program when it fails.
/// The kernel counts the memory of who starts a process to its peak, so keep that small.
ProcessRun run_process(const std::vector<std::string>& command);

/// The same for a command of which any exit status is fine.
ProcessRun run_foreign_process(const std::vector<std::string>& command);

}  // namespace texprobe::bench

#endif
