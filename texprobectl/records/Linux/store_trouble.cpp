// The record store of Linux reports in messages that it cannot read.

#include "records/store_trouble.h"

#include <records/platform_messages.h>

namespace texprobe::ctl {

std::string trouble_of_store(const std::function<void()>& read) {
    const PlatformMessages messages;
    read();
    if (messages.lines().empty()) return {};
    // "*** texprobe records: " says who speaks.
    const std::string& line = messages.lines().front();
    const std::size_t end = line.find(": ");
    return end == std::string::npos ? line : line.substr(end + 2);
}

}  // namespace texprobe::ctl
