// The tool's command line, and safe mode: running the tool in a child process until a run
// completes.

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "TexProbe.h"
#include "runs/interruption.h"
#include "runs/measuring_turn.h"

namespace {

constexpr std::size_t kPathSize = 1024;  // PATH_MAX of macOS, with its NUL.

char* envp[] = {nullptr};

[[noreturn]] void fail(const char* call) {
    const int error = errno;
    std::fprintf(stderr, "texprobe[%d] *** %s() failed : %s (%d)\n", getpid(), call,
                 std::strerror(error), error);
    std::exit(1);
}

/// Killed, stopped, or exited with a status other than 0? A core dump does not matter.
bool must_run_again(int status) {
    return (status & 0xffff & 0xff7f) != 0;
}

/// Runs the tool at `path` in child processes, one at a time, until one exits with status 0. Every
/// test is recorded as failed before it starts, so each child continues after the test that ended
/// the last one. The number of children is not limited, because every test may end one; so a
/// failure on every run repeats forever. A stopped child is left stopped.
void test_run_safe(const char* path) {
    std::printf("texprobe[%d] safe mode testing...\n", getpid());
    char buffer[kPathSize];
    const std::size_t length = std::strlen(path);
    if (length >= sizeof buffer) {
        std::fprintf(stderr, "texprobe[%d] *** path too long : %zu bytes, at most %zu\n", getpid(),
                     length, sizeof buffer - 1);
        std::exit(1);
    }
    std::memcpy(buffer, path, length + 1);

    int status = 0;
    do {
        const pid_t pid = fork();
        if (pid == 0) {
            char* arguments[] = {buffer, nullptr};
            // Not _exit: if execve fails, the child prints the banner that it inherited, so that
            // each attempt is visible.
            std::exit(execve(buffer, arguments, envp));
        }
        if (pid == -1) fail("fork");
        if (waitpid(pid, &status, WUNTRACED) != pid) fail("waitpid");
        // The next child must not wait for a stopped one.
        if (WIFSTOPPED(status)) texprobe::take_turn_from(pid, texprobe::turn_settings());
    } while (must_run_again(status));
}

[[noreturn]] void exit_with_usage(const char* program) {
    std::fprintf(stderr, "Usage: %s [--safe]\n", program ? program : "texprobe");
    std::exit(1);
}

}  // namespace

int main(int argc, char** argv) {
    texprobe::survive_closed_outputs();
    if (argc == 1) {
        // A run that has lost its turn was hanging or stopped, so its test counts as failed. A
        // stopped child of safe mode gets a SIGHUP when safe mode ends.
        texprobe::remember_interruptions(texprobe::is_turn_lost);
        std::printf("texprobe[%d] testing...\n", getpid());
        qor::TexProbe::RunTest();
        return 0;
    }
    // Only the first six characters count, so that --safe-mode, for example, works as well.
    if (argc != 2 || std::strncmp(argv[1], "--safe", 6) != 0) exit_with_usage(argv[0]);
    test_run_safe(argv[0]);
    return 0;
}
