#include "turn.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>

namespace texprobe::ctl {

std::string turn_file() {
    const char* home = std::getenv("HOME");
    return home ? std::string(home) + "/.config/texprobe/measuring.lock" : "";
}

int turn_holder() {
    const int descriptor = open(turn_file().c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW);
    if (descriptor < 0) return 0;
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    const bool isTold = fcntl(descriptor, F_GETLK, &lock) == 0;
    close(descriptor);
    return isTold && lock.l_type != F_UNLCK ? static_cast<int>(lock.l_pid) : 0;
}

bool while_nobody_measures(const std::function<void()>& action) {
    if (turn_holder() != 0) return false;
    action();
    return true;
}

}  // namespace texprobe::ctl
