// One measuring run per user at a time: whoever measures has the turn, the others wait for it.
//
// A test that is under way is recorded as false. Another run would take that for a verdict, so it
// waits until this one is through.
//
// The turn is a record lock on a file: the kernel takes it from a process that dies, and a child
// does not inherit it. Who has it touches the file as it goes on. When those who wait see nothing
// of that for so long that it must hang, one of them removes the file, and all meet again on a new
// one. A place that cannot be locked costs the turn and nothing else: the run goes on without it.

#ifndef TEXPROBE_MEASURING_TURN_H
#define TEXPROBE_MEASURING_TURN_H

#include <sys/stat.h>
#include <sys/types.h>

#include <functional>

#include "turn_settings.h"

namespace qor {

/// One object at a time per process, because a process's locks do not exclude itself.
class MeasuringTurn {
public:
    /// Waits for the turn; calls `whileWaiting` before each pause.
    MeasuringTurn(TurnSettings settings, std::function<void()> whileWaiting);
    ~MeasuringTurn();
    MeasuringTurn(const MeasuringTurn&) = delete;
    MeasuringTurn& operator=(const MeasuringTurn&) = delete;

    /// Whether somebody else had the turn first, who may have written records meanwhile.
    bool had_to_wait() const { return hadToWait_; }

    /// Shows those who wait that this process goes on. If its turn is lost, it waits for a new
    /// one and returns false: others may have written records meanwhile.
    bool advance();

private:
    enum class Attempt { kTaken, kBusy, kLate, kImpossible };

    void take();
    void leave();
    Attempt attempt();
    void look_at_progress(const struct stat& file);

    const TurnSettings settings_;
    const std::function<void()> whileWaiting_;
    // The only descriptor of the file: closing any other would drop the lock. -1: no turn.
    int descriptor_ = -1;
    bool hadToWait_ = false;
    struct stat seen_ = {};  // Of another's file, at the last look.
    unsigned looksWithoutProgress_ = 0;
};

/// Has this process's turn been taken from it? For the handlers of signals, too.
bool is_turn_lost();

/// Takes the turn from a process that is stopped, if that one has it.
void take_turn_from(pid_t process, const TurnSettings& settings);

}  // namespace qor

#endif
