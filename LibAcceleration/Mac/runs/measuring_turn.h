// One measuring run per user at a time: it has the turn, and the others wait.
//
// A test in progress is recorded as false. Another run would take that for a verdict, so it waits
// until this run is done.
//
// The turn is a record lock on a file: the kernel releases it when the process dies, and a child
// does not inherit it. The run that has it touches the file as it progresses. If the others see no
// progress for a long time, one of them removes the file, and all meet again on a new one. Anything
// but a file of this user's is removed from its place: the folder is private. If there still is no
// lock, runs do not wait for each other, and trouble() says why.
//
// The run also names the record sets that it works on, for applications that do not wait: each is a
// lock on a byte whose place follows from the set's name. That takes no space on a full disk, is
// never half written, and vanishes with the process.

#ifndef TEXPROBE_MEASURING_TURN_H
#define TEXPROBE_MEASURING_TURN_H

#include <sys/stat.h>
#include <sys/types.h>

#include <functional>
#include <set>
#include <string>

#include "runs/turn_settings.h"

namespace texprobe {

/// One object at a time per process, because a process's locks do not exclude itself.
class MeasuringTurn {
public:
    /// Waits for the turn; calls `whileWaiting` before each pause.
    MeasuringTurn(TurnSettings settings, std::function<void()> whileWaiting);
    ~MeasuringTurn();
    MeasuringTurn(const MeasuringTurn&) = delete;
    MeasuringTurn& operator=(const MeasuringTurn&) = delete;

    /// Did another run have the turn first? It may have written records meanwhile.
    bool had_to_wait() const { return hadToWait_; }

    /// Why this run does not have the turn, as a line; empty while it has, and where there is no
    /// folder for the file, because then there is none for the records either.
    std::string trouble() const;

    /// Shows waiting runs that this one makes progress. If the turn was lost, waits for a new one
    /// and returns false: other runs may have written records meanwhile.
    bool advance();

    /// This run is about to change records of `set`; none yet, if it is empty. Until the first
    /// call, others take every set for one that this run works on; afterwards only those named, for
    /// as long as it has the turn.
    void take_in_hand(const std::string& set);

private:
    enum class Attempt { kTaken, kBusy, kLate, kImpossible };

    void take();
    void leave();
    Attempt attempt();
    Attempt lock_and_keep(int descriptor, const struct stat& file);
    Attempt put_right(int error);
    void look_at_progress(const struct stat& file);

    const TurnSettings settings_;
    const std::function<void()> whileWaiting_;
    // The only descriptor of the file: closing any other would drop the lock. -1: no turn.
    int descriptor_ = -1;
    std::set<std::string> inHand_;
    bool hadToWait_ = false;
    int error_ = 0;             // Why there is no turn.
    unsigned busyRepairs_ = 0;  // How often another process had the folder.
    struct stat seen_ = {};     // The other run's file when last looked at.
    unsigned looksWithoutProgress_ = 0;
};

/// Has this process lost its turn? Signal handlers may call it.
bool is_turn_lost();

/// The system cannot tell: the process is on another machine, or in another container.
constexpr pid_t kUnknownHolder = -1;

/// The process that measures now; 0 for none.
pid_t turn_holder(const TurnSettings& settings);

/// Tells whether no run worked on a record set while it was read: made before the set is read,
/// and asked afterwards. It reads the file, does not wait, and creates nothing.
class SetAtRest {
public:
    SetAtRest(std::string file, std::string set);
    bool has_lasted() const;

private:
    struct Look {
        bool isInHand = false;
        struct stat file = {};
    };
    Look look() const;

    const std::string file_;
    const std::string set_;
    const Look before_;
};

/// Takes the turn from a stopped process, if it has it.
void take_turn_from(pid_t process, const TurnSettings& settings);

}  // namespace texprobe

#endif
