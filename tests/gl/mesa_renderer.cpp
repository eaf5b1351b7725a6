#include "mesa_renderer.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include "support/process.h"

namespace texprobe::tests {

namespace {

/// Is lavapipe installed, the Vulkan driver that zink uses? This file names it.
bool has_lavapipe() {
    std::error_code error;
    for (const auto& file : std::filesystem::directory_iterator("/usr/share/vulkan/icd.d", error)) {
        if (file.path().filename().string().rfind("lvp_icd.", 0) == 0) return true;
    }
    return false;
}

/// The server that renders for virpipe. It has one socket, so only one test at a time can use it.
class VirglServer {
public:
    VirglServer() {
        // Beside the socket, which is in no other folder for temporary files.
        lock_ = open("/tmp/texprobe-virgl.lock", O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        flock(lock_, LOCK_EX);
        if (accepts()) return;
        process_ = start({"virgl_test_server", {"--use-egl-surfaceless"}});
        for (int i = 0; i < kStartTries && !has_ended(process_) && !accepts(); ++i) {
            std::this_thread::sleep_for(kStartPause);
        }
    }
    ~VirglServer() {
        if (process_ > 0) {
            kill(process_, SIGTERM);
            finish(process_);
            // It leaves its socket.
            unlink(kSocket.sun_path);
        }
        close(lock_);
    }
    VirglServer(const VirglServer&) = delete;
    VirglServer& operator=(const VirglServer&) = delete;

    bool accepts() const {
        const int connection = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const bool accepted =
            connect(connection, reinterpret_cast<const sockaddr*>(&kSocket), sizeof kSocket) == 0;
        close(connection);
        return accepted;
    }

private:
    static constexpr sockaddr_un kSocket = {AF_UNIX, "/tmp/.virgl_test"};
    static constexpr int kStartTries = 200;
    static constexpr std::chrono::milliseconds kStartPause{50};

    int lock_ = -1;
    pid_t process_ = -1;
};

}  // namespace

std::ostream& operator<<(std::ostream& stream, const MesaRenderer& renderer) {
    return stream << renderer.name;
}

std::vector<MesaRenderer> mesa_renderers() {
    // One of Mesa's Vulkan layers looks for a Wayland session and prints an error if there is none.
    const std::string session =
        "XDG_RUNTIME_DIR=" + std::filesystem::temp_directory_path().string();
    return {{"llvmpipe", {}},
            {"softpipe", {"GALLIUM_DRIVER=softpipe"}},
            {"zink", {"LIBGL_ALWAYS_SOFTWARE=1", "GALLIUM_DRIVER=zink", session}},
            {"virgl", {"LIBGL_ALWAYS_SOFTWARE=1", "GALLIUM_DRIVER=virpipe"}}};
}

std::string prepare(const MesaRenderer& renderer) {
    if (renderer.name == "zink" && !has_lavapipe())
        return "lavapipe is not installed (package mesa-vulkan-drivers)";
    if (renderer.name == "virgl") {
        static const VirglServer server;
        if (!server.accepts()) return "virgl_test_server cannot be started (package virgl-server)";
    }
    return {};
}

}  // namespace texprobe::tests
