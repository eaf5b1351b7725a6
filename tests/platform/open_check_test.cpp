// What the child process that opens a device reports, on scripted devices.

#include "CGL/open_check.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <thread>
#include <tuple>

#include "doubles/scripted_egl.h"

namespace texprobe::tests {
namespace {

using namespace std::chrono_literals;
using platform::check_device;
using platform::OpenCheck;
using testing::Contains;
using testing::IsEmpty;

OpenCheck check(const ScriptedDevice& device, std::chrono::milliseconds limit = 20s) {
    const ScriptedEgl egl({device});
    OpenCheck result = check_device(egl.device(0), limit);
    EXPECT_THAT(egl.calls_here(), IsEmpty());
    return result;
}

std::string failure_of_initialize(std::function<void()> action,
                                  std::chrono::milliseconds limit = 20s) {
    ScriptedDevice device;
    device.onInitialize = std::move(action);
    return check(device, limit).failure;
}

void hang() {
    for (;;) pause();
}

TEST(OpenCheck, names_the_call_that_was_refused_and_the_error_if_that_has_a_name) {
    EXPECT_EQ(check({}).failure, "");
    const std::tuple<Step, EGLint, const char*> rows[] = {
        {Step::kGetPlatformDisplay, EGL_BAD_PARAMETER,
         "eglGetPlatformDisplay failed with EGL_BAD_PARAMETER"},
        {Step::kInitialize, EGL_NOT_INITIALIZED, "eglInitialize failed with EGL_NOT_INITIALIZED"},
        {Step::kInitialize, EGL_SUCCESS, "eglInitialize failed"},
        {Step::kInitialize, 0x4242, "eglInitialize failed"},
        {Step::kChooseConfig, EGL_SUCCESS, "it cannot draw RGBA8 to a pbuffer with OpenGL"},
        {Step::kCreateContext, EGL_BAD_MATCH, "eglCreateContext failed with EGL_BAD_MATCH"},
        {Step::kCreateSurface, EGL_BAD_ALLOC, "eglCreatePbufferSurface failed with EGL_BAD_ALLOC"},
        {Step::kMakeCurrent, EGL_CONTEXT_LOST, "eglMakeCurrent failed with EGL_CONTEXT_LOST"},
        {Step::kGetString, EGL_SUCCESS, "its context has no renderer string"}};
    for (const auto& [step, error, reason] : rows) {
        ScriptedDevice device;
        device.failsAt = step;
        device.error = error;
        EXPECT_EQ(check(device).failure, reason);
    }
}

TEST(OpenCheck, reads_the_memory_that_a_driver_tells) {
    const struct {
        const char* extensions;
        std::map<unsigned, int> integers;
        std::uint64_t memory;
    } rows[] = {{"", {}, 0},
                {"GL_ARB_imaging GL_NVX_gpu_memory_info GL_ATI_meminfo",
                 {{0x9048, 8 * 1024 * 1024}, {0x87FC, 1}},
                 8ull << 30},
                {"GL_ATI_meminfo", {{0x9048, 1}, {0x87FC, 3}}, 3ull * 1024},
                {"GL_ATI_meminfo", {{0x87FC, -1}}, 0}};
    for (const auto& row : rows) {
        ScriptedDevice device;
        device.glExtensions = row.extensions;
        device.glIntegers = row.integers;
        EXPECT_EQ(check(device).memory, row.memory) << row.extensions;
    }
}

TEST(OpenCheck, takes_the_first_configuration_of_exactly_eight_bits) {
    ScriptedDevice device;
    device.configBits = {16, 10};
    EXPECT_EQ(check(device).failure, "it cannot draw RGBA8 to a pbuffer with OpenGL");
    device.configBits = {16, 10, 8, 8};
    const ScriptedEgl egl({device});
    EXPECT_EQ(check_device(egl.device(0), 20s).failure, "");
    EXPECT_THAT(egl.calls(), Contains("context any of config 2"));
}

TEST(OpenCheck, survives_a_device_that_ends_whoever_opens_it) {
    for (const int signal : {SIGSEGV, SIGBUS, SIGABRT, SIGILL, SIGFPE, SIGTERM, SIGKILL}) {
        // An application's own handler is not called.
        const auto before = std::signal(signal, [](int) { _exit(77); });
        EXPECT_EQ(failure_of_initialize([signal] { raise(signal); }),
                  "the process opening it was killed by signal " + std::to_string(signal));
        std::signal(signal, before);
    }
    for (const int status : {0, 3}) {
        EXPECT_EQ(failure_of_initialize([status] { _exit(status); }),
                  "the process opening it exited with status " + std::to_string(status));
    }
}

TEST(OpenCheck, gives_up_a_device_that_hangs) {
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(failure_of_initialize(hang, 300ms), "it did not answer within 0.3 s");
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 300ms);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 10s);
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "the child was left behind";
}

TEST(OpenCheck, gives_up_a_device_that_leaves_a_hanging_process_behind) {
    EXPECT_EQ(failure_of_initialize(
                  [] {
                      if (fork() == 0) {
                          std::this_thread::sleep_for(2s);
                          _exit(0);
                      }
                      _exit(0);
                  },
                  300ms),
              "it did not answer within 0.3 s");
}

TEST(OpenCheck, kills_a_device_that_closes_its_files_and_stays) {
    EXPECT_EQ(failure_of_initialize([] {
                  for (int file = 3; file < 256; ++file) close(file);
                  hang();
              }),
              "the process opening it ended without an answer");
    int status = 0;
    EXPECT_GT(waitpid(-1, &status, 0), 0);
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGKILL);
}

TEST(OpenCheck, works_where_the_application_ignores_its_children) {
    const auto before = std::signal(SIGCHLD, SIG_IGN);
    EXPECT_EQ(check({}).failure, "");
    EXPECT_EQ(failure_of_initialize([] { _exit(3); }),
              "the process opening it ended without an answer");
    std::signal(SIGCHLD, before);
}

TEST(OpenCheck, works_while_signals_arrive) {
    // A handler without SA_RESTART interrupts the wait.
    struct sigaction action = {};
    struct sigaction before = {};
    action.sa_handler = [](int) {};
    sigaction(SIGUSR1, &action, &before);
    const pid_t parent = getpid();
    EXPECT_EQ(failure_of_initialize([parent] {
                  for (int i = 0; i < 50; ++i) {
                      kill(parent, SIGUSR1);
                      std::this_thread::sleep_for(1ms);
                  }
              }),
              "");
    sigaction(SIGUSR1, &before, nullptr);
}

TEST(OpenCheck, refuses_a_device_that_it_has_no_pipe_to_hear_from) {
    const ScriptedEgl egl({ScriptedDevice()});
    rlimit before = {};
    getrlimit(RLIMIT_NOFILE, &before);
    const rlimit none = {0, before.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
    const OpenCheck result = check_device(egl.device(0), 20s);
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_EQ(result.failure, "pipe: Too many open files");
    EXPECT_THAT(egl.calls(), IsEmpty());
}

TEST(OpenCheck, runs_no_exit_handler_of_the_parent_in_the_child) {
    const auto checkAndExit = [] {
        std::atexit([] { std::fputs("exit handler\n", stderr); });
        std::fprintf(stderr, "[%s]\n", check({}).failure.c_str());
        std::exit(0);
    };
    EXPECT_EXIT(checkAndExit(), testing::ExitedWithCode(0), "^\\[\\]\nexit handler\n$");
}

TEST(OpenCheck, leaves_the_random_numbers_of_the_parent_alone) {
    srandom(1);
    const long first = random();
    const long second = random();
    srandom(1);
    EXPECT_EQ(random(), first);
    EXPECT_EQ(failure_of_initialize([] {
                  for (int i = 0; i < 10; ++i) random();
              }),
              "");
    EXPECT_EQ(random(), second);
}

TEST(OpenCheck, prints_what_waits_in_the_stream_of_the_parent_once) {
    testing::internal::CaptureStdout();
    std::printf("waiting;");
    const std::string reason = failure_of_initialize([] {
        std::printf("driver;");
        std::fflush(stdout);
    });
    std::printf("after\n");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "waiting;after\n");
    EXPECT_EQ(reason, "");
}

}  // namespace
}  // namespace texprobe::tests
