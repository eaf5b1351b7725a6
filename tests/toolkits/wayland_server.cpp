#include "wayland_server.h"

#include <signal.h>

#include <chrono>
#include <thread>

namespace texprobe::tests {

namespace {

constexpr char kSocket[] = "wayland-of-test";
constexpr int kStartTries = 400;
constexpr std::chrono::milliseconds kStartPause{50};

}  // namespace

WaylandServer::WaylandServer(const std::filesystem::path& folder)
    : folder_(folder),
      process_(start({"weston",
                      {"--backend=headless-backend.so", "--shell=kiosk-shell.so", "--no-config",
                       "--idle-time=0", std::string("--socket=") + kSocket},
                      {"XDG_RUNTIME_DIR=" + folder.string(), "HOME=" + folder.string()}})) {
    for (int i = 0; i < kStartTries && !runs_ && !has_ended(process_); ++i) {
        std::this_thread::sleep_for(kStartPause);
        runs_ = std::filesystem::exists(folder_ / kSocket);
    }
}

WaylandServer::~WaylandServer() {
    kill(process_, SIGTERM);
    finish(process_);
}

Environment WaylandServer::environment() const {
    return {"XDG_RUNTIME_DIR=" + folder_.string(), std::string("WAYLAND_DISPLAY=") + kSocket};
}

}  // namespace texprobe::tests
