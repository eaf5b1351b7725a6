// One run of a program, watched and limited: for a library inside another program.
//
// The program is started without a shell, in a process group of its own, with the environment that
// it is given, an empty signal mask, the default action for every signal, and no descriptor but 0
// to 2. Standard input is empty; its output is handed over line by line on the caller's thread.
//
// Nothing of the caller's process changes: no signal handler, no descriptor after the return, no
// global state. Several threads may each supervise a run of their own.

#ifndef TEXPROBE_SUPERVISED_RUN_H
#define TEXPROBE_SUPERVISED_RUN_H

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace texprobe {

struct Program {
    /// Not looked for in PATH.
    std::string path;
    /// Those after the program's name.
    std::vector<std::string> arguments;
    /// How long a step may take; zero for ever. Counted in looks, so that a pause of the caller, of
    /// its container or of the machine does not count.
    std::chrono::milliseconds stepLimit{0};
    /// How long a program that was told to stop may take to end by itself.
    std::chrono::milliseconds stopGrace{3000};
    /// Lines "NAME=value". None: the caller's, read when the run begins.
    std::optional<std::vector<std::string>> environment = std::nullopt;
};

/// A copy of the caller's, for a run on another thread: the caller may change its own meanwhile.
std::vector<std::string> environment_of_process();

enum class Stream { kOutput, kError };

/// The caller's part in the run, called on the caller's thread. Its functions must not throw.
class RunObserver {
public:
    enum class Wish {
        kGoOn,
        /// Go on, and begin the step's time anew: the program waits for something that is not its.
        kGoOnAnew,
        /// End the program: SIGTERM first, SIGKILL after `stopGrace`.
        kStop,
    };

    RunObserver() = default;
    RunObserver(const RunObserver&) = delete;
    RunObserver& operator=(const RunObserver&) = delete;
    virtual ~RunObserver() = default;

    /// Before anything else, once.
    virtual void started(int /*processID*/) {}

    /// A line without its line feed, also the last one if it has none; a very long one comes in
    /// pieces. True when it ends a step: the limit begins anew.
    virtual bool line(Stream stream, std::string_view text) = 0;

    /// Asked about ten times a second.
    virtual Wish look() { return Wish::kGoOn; }

    /// Before a program that was told to stop, and has not, is killed.
    virtual void before_kill() {}
};

struct RunEnd {
    enum class Kind {
        /// `number` is the exit status.
        kExited,
        /// `number` is the signal.
        kSignalled,
        /// A step exceeded its limit; the program was killed.
        kTimeLimit,
        /// The observer wished it.
        kStopped,
        /// The program has ended, and its status was lost to other code: the process ignores
        /// SIGCHLD, or has a handler that reaps every child.
        kUnknown,
        /// `number` is the error.
        kNotStarted,
    };
    Kind kind = Kind::kNotStarted;
    int number = 0;
    /// True when the program was killed and has not gone: the kernel waits for its device.
    bool isLeftBehind = false;
};

/// Runs the program to its end. All that it has started in its group ends with it.
RunEnd run_supervised(const Program& program, RunObserver& observer);

}  // namespace texprobe

#endif
