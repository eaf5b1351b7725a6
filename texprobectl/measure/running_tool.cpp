#include "measure/running_tool.h"

#include <fcntl.h>
#include <runs/turn_settings.h>
#include <unistd.h>

#include <string>

#include "process/processes.h"
#include "records/causes.h"

namespace texprobe::ctl {

namespace {

/// Beside the file of the turn. It stays: without it, two `measure` could lock two files.
std::string lock_file() {
    const std::string turn = turn_settings().file;
    return turn.empty() ? turn : turn.substr(0, turn.rfind('/') + 1) + "texprobectl.lock";
}

}  // namespace

RunningTool::~RunningTool() {
    if (lock_ >= 0) close(lock_);
}

bool RunningTool::try_to_lock() {
    if (lock_ >= 0) return true;
    // O_NONBLOCK, because opening anything but a regular file may block.
    const int file =
        open(lock_file().c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600);
    if (file < 0) return false;
    struct flock whole = {};
    whole.l_type = F_WRLCK;
    whole.l_whence = SEEK_SET;
    if (fcntl(file, F_SETLK, &whole) == 0) {
        lock_ = file;
    } else {
        close(file);
    }
    return lock_ >= 0;
}

std::optional<RunningTool::LeftBehind> RunningTool::left_behind() const {
    const auto tool = lock_ >= 0 ? read_running_tool() : std::nullopt;
    if (!tool) return std::nullopt;
    const std::string now = identity_of_process(tool->process);
    return LeftBehind{tool->process, now.empty() || now != tool->identity};
}

void RunningTool::remember(int process) {
    if (isRemembered_ || !try_to_lock() || read_running_tool()) return;
    isRemembered_ = write_running_tool(StartedTool{process, identity_of_process(process)});
}

void RunningTool::forget() {
    isRemembered_ = false;
    write_running_tool(std::nullopt);
}

void RunningTool::forget_gone() {
    const auto left = left_behind();
    if (left && left->hasGone) forget();
}

}  // namespace texprobe::ctl
