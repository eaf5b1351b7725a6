// The values that records have, and sets of them.

#ifndef TEXPROBE_PLATFORM_VALUE_H
#define TEXPROBE_PLATFORM_VALUE_H

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <variant>

namespace texprobe::platform {

using Value = std::variant<bool, double, std::string>;

/// The longest string that is stored or read, in bytes.
constexpr std::size_t kLongestString = 65'536;

/// The records of one application, by key.
using Records = std::map<std::string, Value, std::less<>>;

/// The strings among them, or some of these.
using Texts = std::map<std::string, std::string, std::less<>>;

/// Changes by key; no value means removal.
using RecordChanges = std::map<std::string, std::optional<Value>, std::less<>>;

}  // namespace texprobe::platform

#endif
