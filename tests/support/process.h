// Other processes: programs that a test runs, and children that run a part of the test itself.

#ifndef TEXPROBE_TESTS_PROCESS_H
#define TEXPROBE_TESTS_PROCESS_H

#include <sys/types.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace texprobe::tests {

/// Environment variables, each "NAME=value".
using Environment = std::vector<std::string>;

/// A program to run. Its standard input is empty.
struct Command {
    /// Looked for in PATH if it has no slash.
    std::filesystem::path program;
    std::vector<std::string> arguments = {};
    /// Nothing is inherited from the test's own environment.
    Environment environment = {};
    /// Its argv[0]; by default the program.
    std::string name = {};
    /// The files that it writes its output and its errors to.
    std::filesystem::path out = "/dev/null";
    std::filesystem::path err = "/dev/null";
};

/// How a process ended, and what it wrote.
struct Finished {
    pid_t pid = 0;
    int status = 0;     ///< from waitpid()
    bool hung = false;  ///< It took too long and was killed.
    std::string out = {};
    std::string err = {};

    bool exited_with(int code) const;
};

/// Starts a program in a process group of its own, without core dumps. It is killed after four
/// minutes, and exits with 127 if it cannot be run.
pid_t start(const Command& command);

/// Starts a child that runs `action` and exits with its result.
pid_t start(const std::function<int()>& action);

/// Has this child of the test ended? It still has to be waited for.
bool has_ended(pid_t process);

/// Waits for the end of a process, and kills what it left behind in its group. `out` and `err` stay
/// empty.
Finished finish(pid_t process);

/// Runs a program to its end and keeps its output and its errors, wherever the command wants them.
Finished run(Command command);

/// Runs words of the shell's language in the test's own environment and on its streams. Returns the
/// exit status, or -1 after a signal.
int run_in_shell(const std::string& words);

/// Waits for the end of a child and returns its status.
int status_of(pid_t child);

}  // namespace texprobe::tests

#endif
