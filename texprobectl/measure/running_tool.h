// The tool that a `measure` runs, remembered for the next one in case this one is killed.

#ifndef TEXPROBECTL_RUNNING_TOOL_H
#define TEXPROBECTL_RUNNING_TOOL_H

#include <optional>

namespace texprobe::ctl {

/// Of several `measure` at a time one remembers its tool: the one with the lock, which the kernel
/// takes from it when it dies. So a tool remembered by another one is known to be left behind.
class RunningTool {
public:
    RunningTool() { try_to_lock(); }
    ~RunningTool();
    RunningTool(const RunningTool&) = delete;
    RunningTool& operator=(const RunningTool&) = delete;

    struct LeftBehind {
        int process = 0;
        bool hasGone = false;
    };
    /// The tool that a killed `measure` has left; none while that one lives.
    std::optional<LeftBehind> left_behind() const;

    /// An earlier one stays remembered, so that it can be offered again.
    void remember(int process);

    void forget();
    /// Forgets the one that is remembered if it has gone.
    void forget_gone();

private:
    bool try_to_lock();

    /// The only one of the file: closing another would drop the lock. -1: no lock.
    int lock_ = -1;
    bool isRemembered_ = false;
};

}  // namespace texprobe::ctl

#endif
