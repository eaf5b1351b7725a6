// The rows of the table, and the runs that they are made from.

#ifndef TEXPROBE_BENCH_ROWS_H
#define TEXPROBE_BENCH_ROWS_H

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "interleaved.h"
#include "process.h"

namespace texprobe::bench {

struct Row {
    std::string what;
    double subject;
    double baseline;
    const char* unit;
    double ratio;
    double aim;  // The highest acceptable ratio; 0: none.
};

inline Row row_of(const std::string& what, double subject, double baseline, const char* unit,
                  double aim) {
    return {what, subject, baseline, unit, subject / baseline, aim};
}

/// Runs of one command.
struct Runs {
    std::vector<double> milliseconds;
    std::vector<double> cpuMilliseconds;
    std::vector<double> peakMiB;

    void add(const ProcessRun& run) {
        milliseconds.push_back(run.seconds * 1e3);
        cpuMilliseconds.push_back(run.cpuSeconds * 1e3);
        peakMiB.push_back(run.peakKiB / 1024);
    }
};

inline Row time_row(const std::string& what, const Runs& subject, const Runs& baseline,
                    double aim) {
    return row_of(what, median(subject.milliseconds), median(baseline.milliseconds), "ms", aim);
}

inline Row cpu_row(const std::string& what, const Runs& subject, const Runs& baseline) {
    return row_of(what, median(subject.cpuMilliseconds), median(baseline.cpuMilliseconds), "ms",
                  0.0);
}

/// With a folder of compiled shaders of its own, which is empty, as a user's is in a first run.
inline ProcessRun run_without_shaders(const std::string& tool, const std::string& folder) {
    std::filesystem::remove_all(folder);
    setenv("MESA_SHADER_CACHE_DIR", folder.c_str(), 1);
    ProcessRun run = run_process({tool});
    unsetenv("MESA_SHADER_CACHE_DIR");
    return run;
}

}  // namespace texprobe::bench

#endif
