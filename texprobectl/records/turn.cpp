#include "records/turn.h"

#include <runs/measuring_turn.h>
#include <unistd.h>

namespace texprobe::ctl {

int turn_holder() {
    return static_cast<int>(texprobe::turn_holder(turn_settings()));
}

std::string name_of_holder(int process) {
    return process == kUnknownHolder ? "a process of another machine or container"
                                     : "process " + std::to_string(process);
}

bool is_in_group(int process, int group) {
    return process > 0 && (process == group || getpgid(process) == group);
}

bool under_turn(const std::function<bool()>& mayWait, const std::function<void()>& action) {
    struct TurnGivenUp {};
    try {
        const MeasuringTurn turn(turn_settings(), [&] {
            if (!mayWait()) throw TurnGivenUp();
        });
        action();
        return true;
    } catch (const TurnGivenUp&) {
        return false;
    }
}

}  // namespace texprobe::ctl
