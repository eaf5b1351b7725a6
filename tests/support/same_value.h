// Bitwise comparison of two record values.

#ifndef TEXPROBE_TESTS_SAME_VALUE_H
#define TEXPROBE_TESTS_SAME_VALUE_H

#include <RecordStore/value.h>

#include <bit>
#include <cstdint>

namespace texprobe::tests {

/// True for the same type and the same bits: a NaN equals itself, and -0.0 does not equal 0.0.
inline bool same(const platform::Value& a, const platform::Value& b) {
    const auto* x = std::get_if<double>(&a);
    const auto* y = std::get_if<double>(&b);
    if (x && y) return std::bit_cast<std::uint64_t>(*x) == std::bit_cast<std::uint64_t>(*y);
    return a == b;
}

}  // namespace texprobe::tests

#endif
