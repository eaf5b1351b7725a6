// How much memory a process has.

#ifndef TEXPROBE_BENCH_RESIDENT_MEMORY_H
#define TEXPROBE_BENCH_RESIDENT_MEMORY_H

#include <unistd.h>

#include <fstream>

namespace texprobe::bench {

/// Of this one.
inline double resident_mebibytes() {
    std::ifstream file("/proc/self/statm");
    double whole = 0.0;
    double resident = 0.0;
    file >> whole >> resident;
    return resident * static_cast<double>(sysconf(_SC_PAGESIZE)) / (1024.0 * 1024.0);
}

}  // namespace texprobe::bench

#endif
