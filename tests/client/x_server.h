// An X server without a screen, for applications that open a window.

#ifndef TEXPROBE_TESTS_X_SERVER_H
#define TEXPROBE_TESTS_X_SERVER_H

#include <sys/types.h>

namespace texprobe::tests {

/// Runs Xvfb on a free display, which becomes $DISPLAY, until this object is destroyed.
class XServer {
public:
    XServer();
    ~XServer();
    XServer(const XServer&) = delete;
    XServer& operator=(const XServer&) = delete;

    /// False if Xvfb is not installed or does not start.
    bool runs() const { return runs_; }

private:
    pid_t process_ = -1;
    bool runs_ = false;
};

}  // namespace texprobe::tests

#endif
