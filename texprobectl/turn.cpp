#include "turn.h"

#include <measuring_turn.h>

namespace texprobe::ctl {

int turn_holder() {
    return static_cast<int>(qor::turn_holder(qor::turn_settings()));
}

bool while_nobody_measures(const std::function<void()>& action) {
    if (turn_holder() != 0) return false;
    // Waits for somebody who has begun since.
    const qor::MeasuringTurn turn(qor::turn_settings(), [] {});
    action();
    return true;
}

}  // namespace texprobe::ctl
