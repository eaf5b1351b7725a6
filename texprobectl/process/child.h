// This program again, as a child that may die or hang in a driver. The child's task is the second
// of its arguments, after a word that no help shows; bulk data goes through a PrivateFolder.

#ifndef TEXPROBECTL_CHILD_H
#define TEXPROBECTL_CHILD_H

#include <runs/supervised_run.h>

#include <chrono>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace texprobe::ctl {

inline constexpr const char* kChildWord = "--as-child";

struct Child {
    /// This program's own file.
    std::string self;
    std::string task;
    std::vector<std::string> arguments;
    /// How long a step may take.
    std::chrono::seconds limit;
    /// Takes a line without its line feed. True when it ends a step: the limit begins anew.
    std::function<bool(Stream, std::string_view)> line;
};

/// Runs another program to its end, likewise.
RunEnd run_followed(const Program& program,
                    const std::function<bool(Stream, std::string_view)>& line);

/// Runs the child to its end. Throws Interrupted when a signal of StopSignals came meanwhile; the
/// child has ended then, too.
RunEnd run_child(const Child& child);

/// How a child ended that did not succeed: "was ended by SIGSEGV", "did not end within 60 s" and
/// the like, to follow the name of its task. Empty for one that exited with status 0.
std::string describe_failure(const RunEnd& end, std::chrono::seconds limit);

/// The child's side: does the task, and returns the exit status.
int run_child_task(const std::string& task, const std::vector<std::string>& arguments);

}  // namespace texprobe::ctl

#endif
