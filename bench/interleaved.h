// Times several things against each other: every round times each of them once, so that a slow
// machine slows all of them down.

#ifndef TEXPROBE_BENCH_INTERLEAVED_H
#define TEXPROBE_BENCH_INTERLEAVED_H

#include <algorithm>
#include <chrono>
#include <functional>
#include <vector>

namespace texprobe::bench {

inline double median(std::vector<double> values) {
    if (values.empty()) return 0.0;
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

/// Seconds that `work` takes.
template <typename Work>
double time_of(Work work) {
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

/// The median seconds of each, in the order given.
inline std::vector<double> time_interleaved(const std::vector<std::function<void()>>& works,
                                            int rounds) {
    std::vector<std::vector<double>> seconds(works.size());
    for (int round = 0; round < rounds; ++round) {
        for (std::size_t i = 0; i < works.size(); ++i) seconds[i].push_back(time_of(works[i]));
    }
    std::vector<double> medians;
    for (const auto& each : seconds) medians.push_back(median(each));
    return medians;
}

}  // namespace texprobe::bench

#endif
