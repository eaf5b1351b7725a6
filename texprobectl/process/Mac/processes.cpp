#include "process/processes.h"

#include <mach-o/dyld.h>
#include <sys/sysctl.h>

#include <cstdint>
#include <cstring>

namespace texprobe::ctl {

std::string own_program() {
    std::uint32_t size = 0;
    _NSGetExecutablePath(nullptr, &size);
    std::string path(size, '\0');
    if (_NSGetExecutablePath(path.data(), &size) != 0) return {};
    // The size is that of the buffer.
    path.resize(std::strlen(path.c_str()));
    return path;
}

/// When it was started.
std::string identity_of_process(int process) {
    int name[] = {CTL_KERN, KERN_PROC, KERN_PROC_PID, process};
    kinfo_proc info = {};
    std::size_t size = sizeof info;
    if (sysctl(name, 4, &info, &size, nullptr, 0) != 0 || size == 0) return {};
    if (info.kp_proc.p_stat == SZOMB) return {};
    const timeval begin = info.kp_proc.p_starttime;
    return std::to_string(begin.tv_sec) + '.' + std::to_string(begin.tv_usec);
}

}  // namespace texprobe::ctl
