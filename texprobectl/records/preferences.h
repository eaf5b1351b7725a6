// The preferences of the user, as the records need them: which applications have some, which keys,
// and typed values. The one place that calls CoreFoundation.

#ifndef TEXPROBECTL_PREFERENCES_H
#define TEXPROBECTL_PREFERENCES_H

#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace texprobe::ctl {

/// No value removes the key.
using KeyChange = std::optional<std::variant<double, std::string>>;
using KeyChanges = std::map<std::string, KeyChange>;

/// Every application with preferences of this user; empty where the system does not tell.
std::vector<std::string> list_applications();

std::vector<std::string> list_keys(const std::string& application);

/// Refreshes this process's view: the tool may have written. False when the store cannot be read.
bool refresh(const std::string& application);

// Each none for a missing key and for a value of another type.
std::optional<bool> read_flag(const std::string& application, const std::string& key);
std::optional<double> read_number(const std::string& application, const std::string& key);
std::optional<std::string> read_text(const std::string& application, const std::string& key);

/// Makes all changes durable in one synchronization. False when the store cannot be written.
bool write(const std::string& application, const KeyChanges& changes);

}  // namespace texprobe::ctl

#endif
