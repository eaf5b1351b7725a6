#include "turn.h"

#include <measuring_turn.h>

namespace texprobe::ctl {

int turn_holder() {
    return static_cast<int>(qor::turn_holder(qor::turn_settings()));
}

std::string name_of_holder(int process) {
    return process == qor::kUnknownHolder ? "a process of another machine or container"
                                          : "process " + std::to_string(process);
}

bool while_nobody_measures(const std::function<void()>& action) {
    if (turn_holder() != 0) return false;
    // Waits for somebody who has begun since.
    const qor::MeasuringTurn turn(qor::turn_settings(), [] {});
    action();
    return true;
}

}  // namespace texprobe::ctl
