#include "display_servers.h"

#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <unistd.h>

#include <string>

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

DisplayServer::~DisplayServer() {
    if (process_ <= 0) return;
    kill(process_, SIGTERM);
    finish(process_);
}

XServer::XServer() {
    int ends[2];
    if (pipe(ends) != 0) return;
    process_ =
        start({"Xvfb", {"-displayfd", std::to_string(ends[1]), "-nolisten", "tcp", "-terminate"}});
    close(ends[1]);
    const std::string number = read_display_number(ends[0]);
    close(ends[0]);
    if (number.empty()) return;
    setenv("DISPLAY", (":" + number).c_str(), 1);
    environment_ = {"DISPLAY=:" + number};
}

WaylandServer::WaylandServer(const std::filesystem::path& folder) {
    const std::string socket = "wayland-of-test";
    const Environment home = {"XDG_RUNTIME_DIR=" + folder.string(), "HOME=" + folder.string()};
    process_ = start({"weston",
                      {"--backend=headless-backend.so", "--shell=kiosk-shell.so", "--no-config",
                       "--idle-time=0", "--socket=" + socket},
                      home});
    constexpr int kPauseMs = 50;
    for (int waited = 0; waited < kStartLimitMs && !has_ended(process_); waited += kPauseMs) {
        usleep(kPauseMs * 1000);
        if (!std::filesystem::exists(folder / socket)) continue;
        environment_ = {home[0], "WAYLAND_DISPLAY=" + socket};
        return;
    }
}

}  // namespace texprobe::tests
