// Of a few measured durations: the middle, and how far they lie apart.

#ifndef TEXPROBECTL_TIME_STATISTICS_H
#define TEXPROBECTL_TIME_STATISTICS_H

#include <vector>

namespace texprobe::ctl {

/// Half of the values lie from `lower` to `upper`.
struct Quartiles {
    double lower = 0.0;
    double median = 0.0;
    double upper = 0.0;

    /// How far the middle half reaches from the median, as a part of the median.
    double spread() const;
    bool operator==(const Quartiles&) const = default;
};

/// Between two values, in proportion; all zero without any.
Quartiles quartiles_of(std::vector<double> values);

/// The value below which the `part` of them lies, from 0 (the least) to 1 (the most).
double quantile(std::vector<double> values, double part);

}  // namespace texprobe::ctl

#endif
