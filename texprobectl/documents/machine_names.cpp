#include "documents/machine_names.h"

#include <algorithm>

#include "records/plain_text.h"

namespace texprobe::ctl {

namespace {

// With all that a driver can fail in, the names fit the longest element that is read back.
constexpr std::size_t kLongestName = 64;

}  // namespace

void MachineNames::keep(const std::string& name) {
    const std::string shown = plain(name.substr(0, kLongestName));
    const auto place = std::lower_bound(names_.begin(), names_.end(), shown);
    if (place != names_.end() && *place == shown) return;
    if (place == names_.end() && names_.size() == kMost) return;
    names_.insert(place, shown);
    if (names_.size() > kMost) names_.pop_back();
}

void MachineNames::add(const std::string& name, std::size_t document) {
    if (document == lastDocument_) return;
    lastDocument_ = document;
    ++count_;
    keep(name);
}

void MachineNames::add(Count count, const std::vector<std::string>& names) {
    count_ = std::min(count_ + count, kMostMachines);
    for (const std::string& name : names) keep(name);
}

}  // namespace texprobe::ctl
