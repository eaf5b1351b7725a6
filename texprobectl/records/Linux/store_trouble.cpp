// The record store of Linux reports in messages that it cannot read.

#include "records/store_trouble.h"

#include <RecordStore/messages.h>

#include <vector>

namespace texprobe::ctl {

namespace {

/// While one lives, this thread's messages are kept in it.
class KeptMessages {
public:
    KeptMessages() : former_(platform::keep_messages(&lines_)) {}
    ~KeptMessages() { platform::keep_messages(former_); }
    KeptMessages(const KeptMessages&) = delete;
    KeptMessages& operator=(const KeptMessages&) = delete;

    const std::vector<std::string>& lines() const { return lines_; }

private:
    std::vector<std::string> lines_;
    std::vector<std::string>* const former_;
};

}  // namespace

std::string trouble_of_store(const std::function<void()>& read) {
    const KeptMessages messages;
    read();
    if (messages.lines().empty()) return {};
    // "*** texprobe records: " says who speaks.
    const std::string& line = messages.lines().front();
    const std::size_t end = line.find(": ");
    return end == std::string::npos ? line : line.substr(end + 2);
}

}  // namespace texprobe::ctl
