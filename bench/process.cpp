#include "process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>

extern char** environ;

namespace texprobe::bench {

namespace {

[[noreturn]] void fail(const std::string& command, const char* why) {
    std::fprintf(stderr, "%s %s\n", command.c_str(), why);
    std::exit(1);
}

pid_t start(const std::vector<std::string>& command, int outputPipe) {
    std::vector<char*> arguments;
    for (const std::string& argument : command) {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, outputPipe, STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t process = 0;
    const int error =
        posix_spawnp(&process, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) fail(command[0], "cannot be started");
    return process;
}

double seconds_of(const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
}

std::string read_all(int pipe) {
    std::string text;
    std::array<char, 4096> block;
    for (ssize_t count = 0; (count = read(pipe, block.data(), block.size())) > 0;) {
        text.append(block.data(), static_cast<std::size_t>(count));
    }
    return text;
}

}  // namespace

ProcessRun run_foreign_process(const std::vector<std::string>& command) {
    std::array<int, 2> pipe;
    if (pipe2(pipe.data(), O_CLOEXEC) != 0) fail(command[0], "has no pipe");
    const auto begin = std::chrono::steady_clock::now();
    const pid_t process = start(command, pipe[1]);
    close(pipe[1]);
    ProcessRun run{};
    run.output = read_all(pipe[0]);
    close(pipe[0]);
    rusage usage{};
    wait4(process, &run.status, 0, &usage);
    run.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    run.cpuSeconds = seconds_of(usage.ru_utime) + seconds_of(usage.ru_stime);
    run.peakKiB = static_cast<double>(usage.ru_maxrss);
    if (!WIFEXITED(run.status)) fail(command[0], "was killed");
    return run;
}

ProcessRun run_process(const std::vector<std::string>& command) {
    ProcessRun run = run_foreign_process(command);
    if (WEXITSTATUS(run.status) != 0) fail(command[0], "failed");
    return run;
}

}  // namespace texprobe::bench
