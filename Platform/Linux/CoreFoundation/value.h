// The values that preferences hold, and sets of them.

#ifndef TEXPROBE_PLATFORM_VALUE_H
#define TEXPROBE_PLATFORM_VALUE_H

#include <bit>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <variant>

namespace texprobe::platform {

using Value = std::variant<bool, double, std::string>;

/// The records of one application, by key.
using Records = std::map<std::string, Value, std::less<>>;

/// Sets, and removals (no value), by key.
using Changes = std::map<std::string, std::optional<Value>, std::less<>>;

/// The same type and the same bits: a NaN is the same as itself, -0.0 is not the same as 0.0.
inline bool same(const Value& a, const Value& b) {
    const auto* x = std::get_if<double>(&a);
    const auto* y = std::get_if<double>(&b);
    if (x && y) return std::bit_cast<std::uint64_t>(*x) == std::bit_cast<std::uint64_t>(*y);
    return a == b;
}

}  // namespace texprobe::platform

#endif
