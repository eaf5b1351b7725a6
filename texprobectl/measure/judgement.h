// The judgement on a record set once a run of the tool has ended: from the records before and
// after, the tool's lines and how it ended, and from nothing else.

#ifndef TEXPROBECTL_JUDGEMENT_H
#define TEXPROBECTL_JUDGEMENT_H

#include <runs/supervised_run.h>

#include <optional>
#include <utility>
#include <vector>

#include "records/record_set.h"

namespace texprobe::ctl {

struct RunFacts {
    /// The flags before the run was started.
    Flags atStart;
    /// Those that were first seen in its turn: with verdicts that others measured meanwhile, and
    /// perhaps with the test that the tool had begun by then.
    Flags atTurn;
    /// The verdicts in the tool's lines.
    Flags said;
    /// The flags at its end.
    Flags now;
    /// At its end the tool had the turn, and was among the tests of this set.
    bool wasTesting = false;
    /// The tests in which a signal has ended a run that may have come from outside.
    std::vector<Cell> endedFromOutside;
    RunEnd end;
    /// How long a test may take.
    int seconds = 0;
};

struct Judgement {
    /// The test that the run was in at its end.
    std::optional<Cell> inHand;
    /// False records that say nothing of the driver: they are to be removed, and tested again.
    std::vector<Cell> again;
    /// The cause to be kept beside a false record; none of one that is not false.
    std::vector<std::pair<Cell, std::optional<Cause>>> causes;
};

Judgement judge(const RunFacts& facts);

/// The test that the tool comes to next: the first without a record whose preconditions hold.
std::optional<Cell> next_unmeasured(const Flags& flags);

/// The last one with a record before that cell; of all, before none.
std::optional<Cell> last_recorded(const Flags& flags, const std::optional<Cell>& before);

/// A signal that a process gets for an act of its own. Others may come from outside: from a
/// user, or from a system that runs out of memory.
bool is_fault(int signal);

/// How a run has ended by itself or by the limit; none for one that ended in any other way.
std::optional<Cause> cause_of(const RunEnd& end, int seconds);

/// The same, as a user is told of it: none either for a run that ended in order, in no test.
std::optional<Cause> death_of(const RunEnd& end, bool wasInTest, int seconds);

}  // namespace texprobe::ctl

#endif
