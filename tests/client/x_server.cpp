#include "x_server.h"

#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <unistd.h>

#include <string>

#include "support/process.h"

namespace texprobe::tests {

namespace {

constexpr int kStartLimitMs = 20000;

/// The number of its display, which the server writes when it accepts connections. Empty if it ends
/// or takes too long.
std::string read_display_number(int pipe) {
    std::string number;
    char digit = 0;
    pollfd readable = {pipe, POLLIN, 0};
    while (poll(&readable, 1, kStartLimitMs) == 1 && read(pipe, &digit, 1) == 1) {
        if (digit == '\n') return number;
        number += digit;
    }
    return {};
}

}  // namespace

XServer::XServer() {
    int ends[2];
    if (pipe(ends) != 0) return;
    process_ =
        start({"Xvfb", {"-displayfd", std::to_string(ends[1]), "-nolisten", "tcp", "-terminate"}});
    close(ends[1]);
    const std::string number = read_display_number(ends[0]);
    close(ends[0]);
    runs_ = !number.empty();
    if (runs_) setenv("DISPLAY", (":" + number).c_str(), 1);
}

XServer::~XServer() {
    if (process_ <= 0) return;
    kill(process_, SIGTERM);
    finish(process_);
}

}  // namespace texprobe::tests
