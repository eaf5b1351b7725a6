#include "time/statistics.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace texprobe::ctl {

namespace {

double quantile_of_sorted(const std::vector<double>& values, double part) {
    if (values.empty()) return 0.0;
    const double place = part * static_cast<double>(values.size() - 1);
    const auto below = static_cast<std::size_t>(std::floor(place));
    const std::size_t above = std::min(below + 1, values.size() - 1);
    const double step = place - static_cast<double>(below);
    return values[below] + step * (values[above] - values[below]);
}

}  // namespace

double Quartiles::spread() const {
    return median > 0.0 ? std::max(median - lower, upper - median) / median : 0.0;
}

Quartiles quartiles_of(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return {quantile_of_sorted(values, 0.25), quantile_of_sorted(values, 0.5),
            quantile_of_sorted(values, 0.75)};
}

double quantile(std::vector<double> values, double part) {
    std::sort(values.begin(), values.end());
    return quantile_of_sorted(values, part);
}

}  // namespace texprobe::ctl
