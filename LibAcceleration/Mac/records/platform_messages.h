// Keeps the lines that the platform's functions would print: an application's streams are its own.
//
// A file of each system's says how: on macOS they print nothing.

#ifndef TEXPROBE_PLATFORM_MESSAGES_OF_THREAD_H
#define TEXPROBE_PLATFORM_MESSAGES_OF_THREAD_H

#include <string>
#include <vector>

namespace texprobe {

/// While one lives, this thread's messages are kept in it.
class PlatformMessages {
public:
    PlatformMessages();
    ~PlatformMessages();
    PlatformMessages(const PlatformMessages&) = delete;
    PlatformMessages& operator=(const PlatformMessages&) = delete;

    const std::vector<std::string>& lines() const { return lines_; }

private:
    std::vector<std::string> lines_;
    [[maybe_unused]] std::vector<std::string>* former_ = nullptr;  // Not on macOS.
};

}  // namespace texprobe

#endif
