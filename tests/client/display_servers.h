// Display servers without a screen, for applications that open a window.

#ifndef TEXPROBE_TESTS_DISPLAY_SERVERS_H
#define TEXPROBE_TESTS_DISPLAY_SERVERS_H

#include <sys/types.h>

#include <filesystem>

#include "support/process.h"

namespace texprobe::tests {

/// Runs until this object is destroyed.
class DisplayServer {
public:
    DisplayServer(const DisplayServer&) = delete;
    DisplayServer& operator=(const DisplayServer&) = delete;

    /// False if it is not installed or does not start.
    bool runs() const { return !environment_.empty(); }
    /// The variables by which its clients find it.
    const Environment& environment() const { return environment_; }

protected:
    DisplayServer() = default;
    ~DisplayServer();

    pid_t process_ = -1;
    Environment environment_;
};

/// Xvfb on a free display, which also becomes $DISPLAY.
class XServer : public DisplayServer {
public:
    XServer();
};

/// weston, whose socket is in `folder`, which must be private.
class WaylandServer : public DisplayServer {
public:
    explicit WaylandServer(const std::filesystem::path& folder);
};

}  // namespace texprobe::tests

#endif
