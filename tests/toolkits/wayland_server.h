// A Wayland compositor without a screen.

#ifndef TEXPROBE_TESTS_WAYLAND_SERVER_H
#define TEXPROBE_TESTS_WAYLAND_SERVER_H

#include <sys/types.h>

#include <filesystem>

#include "support/process.h"

namespace texprobe::tests {

/// Runs weston until this object is destroyed.
class WaylandServer {
public:
    /// Its socket is in `folder`, which must be private.
    explicit WaylandServer(const std::filesystem::path& folder);
    ~WaylandServer();
    WaylandServer(const WaylandServer&) = delete;
    WaylandServer& operator=(const WaylandServer&) = delete;

    /// False if weston is not installed or does not start.
    bool runs() const { return runs_; }
    /// The variables by which its clients find it.
    Environment environment() const;

private:
    std::filesystem::path folder_;
    pid_t process_;
    bool runs_ = false;
};

}  // namespace texprobe::tests

#endif
