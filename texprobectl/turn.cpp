#include "turn.h"

#include <fcntl.h>
#include <measuring_turn.h>
#include <unistd.h>

namespace texprobe::ctl {

// Closing the file drops a lock that this process has on it, so this is never asked with the turn
// in hand.
int turn_holder() {
    const int descriptor = open(qor::turn_settings().file.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW);
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
    // Waits for somebody who has begun since.
    const qor::MeasuringTurn turn(qor::turn_settings(), [] {});
    action();
    return true;
}

}  // namespace texprobe::ctl
