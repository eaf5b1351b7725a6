#include "CGL/open_check.h"

#include <OpenGL/gl.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <optional>
#include <thread>

#include "CGL/offscreen.h"

namespace texprobe::platform {

namespace {

using std::chrono::steady_clock;

// Values published with GL_NVX_gpu_memory_info and GL_ATI_meminfo; both count in KiB.
constexpr GLenum kTotalMemoryNvx = 0x9048;
constexpr GLenum kTextureFreeMemoryAti = 0x87FC;

/// The child's report. Smaller than PIPE_BUF, so that it is written whole or not at all.
struct CheckReport {
    std::uint64_t memory;
    char failure[256];
};

/// A string of the current context. OpenGL's library need not be linked.
const char* gl_string(GLenum name) {
    return reinterpret_cast<const char*>(load<decltype(&glGetString)>("glGetString")(name));
}

std::uint64_t read_memory() {
    const char* extensions = gl_string(GL_EXTENSIONS);
    const auto getIntegerv = load<decltype(&glGetIntegerv)>("glGetIntegerv");
    GLint kibibytes[4] = {};
    if (has_extension(extensions, "GL_NVX_gpu_memory_info")) {
        getIntegerv(kTotalMemoryNvx, kibibytes);
    } else if (has_extension(extensions, "GL_ATI_meminfo")) {
        getIntegerv(kTextureFreeMemoryAti, kibibytes);
    }
    return static_cast<std::uint64_t>(std::max(kibibytes[0], 0)) * 1024;
}

OpenCheck open_here(EGLDeviceEXT device) {
    const Offscreen offscreen = open_device(device);
    if (!offscreen.failure.empty()) return {offscreen.failure, 0};
    EGLContext context = create_context(offscreen);
    if (context == EGL_NO_CONTEXT) return {describe_failure("eglCreateContext"), 0};
    EGLSurface surface = create_surface(offscreen, 16, 16);
    if (surface == EGL_NO_SURFACE) return {describe_failure("eglCreatePbufferSurface"), 0};
    if (!eglMakeCurrent(offscreen.display, surface, surface, context)) {
        return {describe_failure("eglMakeCurrent"), 0};
    }
    if (!gl_string(GL_RENDERER)) return {"its context has no renderer string", 0};
    return {"", read_memory()};
}

[[noreturn]] void run_child(EGLDeviceEXT device, int pipeEnd) {
    // A child whose driver hangs must not outlive a parent that is killed.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    // The parent reports the signal, so the application's crash handler must not run, and no core
    // file is wanted.
    for (const int signal : {SIGSEGV, SIGBUS, SIGABRT, SIGILL, SIGFPE, SIGTERM}) {
        std::signal(signal, SIG_DFL);
    }
    const rlimit noCore = {0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    // A driver that prints to stdout would flush the parent's buffered text a second time.
    const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (null >= 0) dup2(null, STDOUT_FILENO);

    const OpenCheck check = open_here(device);
    CheckReport report = {check.memory, {}};
    std::snprintf(report.failure, sizeof report.failure, "%s", check.failure.c_str());
    const bool sent = write(pipeEnd, &report, sizeof report) == sizeof report;
    // None of the parent's destructors, exit handlers or stream buffers may run or be flushed here.
    _exit(sent ? 0 : 1);
}

/// Waits for the report; empty when the child ended without one or `deadline` passed.
std::optional<CheckReport> receive(int pipeEnd, steady_clock::time_point deadline) {
    for (;;) {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(deadline - steady_clock::now());
        if (left.count() <= 0) return {};
        pollfd descriptor = {pipeEnd, POLLIN, 0};
        const int ready = poll(&descriptor, 1, static_cast<int>(left.count()));
        if (ready == 0 || (ready < 0 && errno == EINTR)) continue;
        if (ready < 0) return {};
        CheckReport report;
        const ssize_t size = read(pipeEnd, &report, sizeof report);
        if (size < 0 && errno == EINTR) continue;
        if (size != sizeof report) return {};
        return report;
    }
}

/// The child's wait status; empty if it is unknown. A child that does not exit is killed; one that
/// is stuck in the kernel and does not die at once is left behind.
std::optional<int> reap(pid_t child) {
    const steady_clock::time_point deadline = steady_clock::now() + std::chrono::seconds(1);
    for (;;) {
        int status = 0;
        const pid_t ended = waitpid(child, &status, WNOHANG);
        if (ended == child) return status;
        if (ended < 0 && errno != EINTR) return {};
        if (steady_clock::now() >= deadline) break;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    kill(child, SIGKILL);
    return {};
}

std::string describe_limit(std::chrono::milliseconds limit) {
    char text[64];
    std::snprintf(text, sizeof text, "it did not answer within %g s",
                  std::chrono::duration<double>(limit).count());
    return text;
}

std::string describe_death(std::optional<int> status) {
    if (status && WIFSIGNALED(*status)) {
        return "the process opening it was killed by signal " + std::to_string(WTERMSIG(*status));
    }
    if (status && WIFEXITED(*status)) {
        return "the process opening it exited with status " + std::to_string(WEXITSTATUS(*status));
    }
    return "the process opening it ended without an answer";
}

}  // namespace

OpenCheck check_device(EGLDeviceEXT device, std::chrono::milliseconds limit) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return {std::string("pipe: ") + std::strerror(errno), 0};
    const pid_t child = fork();
    if (child == 0) run_child(device, ends[1]);
    const int forkError = errno;
    close(ends[1]);
    if (child < 0) {
        close(ends[0]);
        return {std::string("fork: ") + std::strerror(forkError), 0};
    }

    const steady_clock::time_point deadline = steady_clock::now() + limit;
    const std::optional<CheckReport> report = receive(ends[0], deadline);
    const bool late = !report && steady_clock::now() >= deadline;
    close(ends[0]);
    if (late) kill(child, SIGKILL);
    const std::optional<int> status = reap(child);
    if (report) return {report->failure, report->memory};
    return {late ? describe_limit(limit) : describe_death(status), 0};
}

}  // namespace texprobe::platform
