#include "measure/judgement.h"

#include <runs/run_ends.h>

#include <algorithm>
#include <csignal>

namespace texprobe::ctl {

namespace {

const std::optional<bool>& at(const Flags& flags, const Cell& cell) {
    return flags.recorded[cell];
}

bool is_false(const std::optional<bool>& flag) {
    return flag && !*flag;
}

/// The tool tests in a fixed order, skips recorded tests, and prints each outcome. So the test that
/// it was in is the next one after these, or the last of these if it had begun when its turn
/// was seen. Any other false record belongs to other runs.
std::optional<Cell> find_in_hand(const RunFacts& facts) {
    if (!facts.wasTesting) return std::nullopt;
    Flags known = facts.atTurn;
    for_each_cell([&](const Cell& cell) {
        const auto& word = at(facts.said, cell);
        if (word) known.recorded[cell] = word;
    });
    const auto next = next_unmeasured(known);
    if (!next) return std::nullopt;
    if (is_false(at(facts.now, *next))) return next;
    const auto last = last_recorded(known, next);
    const bool isOwn = last && !at(facts.said, *last) && !at(facts.atStart, *last);
    return isOwn && is_false(at(facts.now, *last)) ? last : std::nullopt;
}

/// Does this end say nothing of the driver that was at work?
bool is_from_outside(const RunFacts& facts, const Cell& inHand) {
    if (facts.end.kind == RunEnd::Kind::kStopped) return true;
    if (facts.end.kind != RunEnd::Kind::kSignalled || is_fault(facts.end.number)) return false;
    // The same test twice is no accident.
    const auto& former = facts.endedFromOutside;
    return std::find(former.begin(), former.end(), inHand) == former.end();
}

}  // namespace

bool is_fault(int signal) {
    constexpr int kFaults[] = {SIGILL, SIGTRAP, SIGABRT, SIGBUS, SIGFPE, SIGSEGV, SIGSYS};
    return std::find(std::begin(kFaults), std::end(kFaults), signal) != std::end(kFaults);
}

std::optional<Cause> cause_of(const RunEnd& end, int seconds) {
    switch (end.kind) {
        case RunEnd::Kind::kSignalled:
            return Crashed{name_of_signal(end.number)};
        case RunEnd::Kind::kExited:
            return Exited{end.number};
        case RunEnd::Kind::kTimeLimit:
            return Hung{seconds};
        default:
            return std::nullopt;
    }
}

std::optional<Cause> death_of(const RunEnd& end, bool wasInTest, int seconds) {
    const bool isInOrder = end.kind == RunEnd::Kind::kExited && end.number == 0 && !wasInTest;
    return isInOrder ? std::nullopt : cause_of(end, seconds);
}

std::optional<Cell> next_unmeasured(const Flags& flags) {
    const VerdictTable verdicts = decide_verdicts(flags).verdicts;
    std::optional<Cell> next;
    for_each_cell([&](const Cell& cell) {
        const bool isOpen = verdicts[cell] == Verdict::kUnmeasured;
        if (!next && isOpen) next = cell;
    });
    return next;
}

std::optional<Cell> last_recorded(const Flags& flags, const std::optional<Cell>& before) {
    std::optional<Cell> last;
    bool isBefore = true;
    for_each_cell([&](const Cell& cell) {
        isBefore &= before != cell;
        if (isBefore && at(flags, cell)) last = cell;
    });
    return last;
}

Judgement judge(const RunFacts& facts) {
    Judgement judgement;
    judgement.inHand = find_in_hand(facts);
    const auto cause = cause_of(facts.end, facts.seconds);
    for_each_cell([&](const Cell& cell) {
        const auto& flag = at(facts.now, cell);
        const auto& word = at(facts.said, cell);
        const bool isInHand = judgement.inHand == cell;
        // Killed between the test and the next synchronization.
        const bool isLost = is_false(flag) && word && *word;
        if (isLost || (isInHand && is_from_outside(facts, cell))) {
            judgement.again.push_back(cell);
        } else if (isInHand) {
            if (cause) judgement.causes.emplace_back(cell, cause);
        } else if (word && !*word) {
            judgement.causes.emplace_back(cell, Seen{});
        } else if (!flag || *flag) {
            judgement.causes.emplace_back(cell, std::nullopt);
        }
    });
    return judgement;
}

}  // namespace texprobe::ctl
