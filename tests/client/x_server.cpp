#include "x_server.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>
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

XServer::XServer() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return;
    constexpr int kDisplayNumber = 7;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], kDisplayNumber);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    char name[] = "Xvfb";
    char option[] = "-displayfd";
    char descriptor[] = "7";
    char noNetwork[] = "-nolisten";
    char tcp[] = "tcp";
    char untilUnused[] = "-terminate";
    char* arguments[] = {name, option, descriptor, noNetwork, tcp, untilUnused, nullptr};
    if (posix_spawnp(&process_, name, &actions, nullptr, arguments, environ) != 0) process_ = -1;
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    const std::string number = process_ > 0 ? read_display_number(ends[0]) : "";
    close(ends[0]);
    runs_ = !number.empty();
    if (runs_) setenv("DISPLAY", (":" + number).c_str(), 1);
}

XServer::~XServer() {
    if (process_ <= 0) return;
    kill(process_, SIGTERM);
    waitpid(process_, nullptr, 0);
}

}  // namespace texprobe::tests
