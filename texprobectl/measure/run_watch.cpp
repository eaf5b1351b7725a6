#include "measure/run_watch.h"

#include <cmath>

#include "records/preferences.h"

namespace texprobe::ctl {

void MeasureProgress::estimate(const Beginning& begin) {
    if (done <= begin.done) return;
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - begin.time;
    const double each = elapsed.count() / static_cast<double>(done - begin.done);
    secondsLeft = static_cast<int>(std::lround(each * static_cast<double>(all - done)));
}

std::size_t count_done(const FlagsByID& flags) {
    std::size_t done = 0;
    for (const auto& [id, ofSet] : flags) {
        const VerdictTable verdicts = decide_verdicts(ofSet).verdicts;
        for_each_cell([&](const Cell& cell) { done += verdicts[cell] != Verdict::kUnmeasured; });
    }
    return done;
}

Flags read_current_flags(const std::string& id) {
    refresh(id);
    Flags flags;
    if (read_number(id, "VERSION").value_or(0.0) < kCurrentVersion) return flags;
    for_each_cell([&](const Cell& cell) { flags.recorded[cell] = read_flag(id, key_of(cell)); });
    return flags;
}

void RunWatch::started(int processID) {
    WatchedRun::started(processID);
    runningTool_.remember(processID);
}

RunFacts RunWatch::facts(const std::string& id) const {
    const auto find = [&](const FlagsByID& flags) {
        const auto found = flags.find(id);
        return found == flags.end() ? Flags{} : found->second;
    };
    RunFacts facts;
    facts.atStart = find(atStart_);
    facts.atTurn = atTurn_.count(id) != 0 ? find(atTurn_) : facts.atStart;
    facts.said = find(said_);
    facts.now = read_current_flags(id);
    facts.wasTesting = hasTurn_ && isTesting_ && id == currentID_;
    return facts;
}

bool RunWatch::line(Stream, std::string_view text) {
    const ToolLine line = parse_line(text);
    switch (line.kind) {
        case ToolLine::kOther:
            return false;
        case ToolLine::kTrouble:
            take_trouble(line.text);
            break;
        case ToolLine::kRendererBegun:
            if (!currentID_.empty() && currentID_ != line.text) show_recorded();
            currentID_ = line.text;
            hasTurn_ = isTesting_ = false;
            flags_[currentID_];
            break;
        case ToolLine::kRendererSpokenOf:
            begin_turn(line.text);
            break;
        case ToolLine::kTestsBegun:
            begin_turn(line.text);
            isTesting_ = true;
            break;
        case ToolLine::kTestsDone:
            isTesting_ = false;
            break;
        case ToolLine::kTestEnded:
            currentID_ = line.text;
            hasTurn_ = isTesting_ = true;
            said_[currentID_].recorded[line.cell] = line.verdict;
            flags_[currentID_].recorded[line.cell] = line.verdict;
    }
    tell_progress();
    return true;
}

/// The tool makes a context between this line and its first test, so the records of now are mostly
/// those of other runs.
void RunWatch::begin_turn(const std::string& id) {
    currentID_ = id;
    if (hasTurn_) return;
    hasTurn_ = true;
    Flags flags = atTurn_[id] = read_current_flags(id);
    // A verdict that may be the test in hand is not done.
    const auto last = last_recorded(flags, next_unmeasured(flags));
    if (last) {
        auto& flag = flags.recorded[*last];
        if (flag && !*flag) flag = flags_[id].recorded[*last];
    }
    flags_[id] = flags;
}

void RunWatch::go_on() {
    runningTool_.remember(process());
    tell_progress();
}

void RunWatch::show_recorded() {
    if (currentID_.empty()) return;
    flags_[currentID_] = read_current_flags(currentID_);
    tell_progress();
}

void RunWatch::tell_progress() {
    const auto identity = parse_id(currentID_);
    if (!identity) return;
    MeasureProgress progress;
    progress.rendererID = identity->rendererID;
    const auto next = next_unmeasured(flags_[currentID_]);
    if (next) progress.test = words_of(*next);
    progress.done = count_done(flags_);
    progress.all = flags_.size() * kCellCount;
    progress.doneHere = count_done({{currentID_, flags_[currentID_]}});
    progress.allHere = kCellCount;
    progress.estimate(begin_);
    watcher_.progress(progress);
}

}  // namespace texprobe::ctl
