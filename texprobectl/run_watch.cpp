#include "run_watch.h"

#include <algorithm>
#include <cmath>

#include "marks.h"
#include "turn.h"

namespace texprobe::ctl {

namespace {

Verdicts verdicts_of(const Flags& flags) {
    RecordSet set;
    decide_verdicts(flags, &set);
    return set.verdicts;
}

std::optional<Cell> next_unmeasured(const Flags& flags) {
    const Verdicts verdicts = verdicts_of(flags);
    std::optional<Cell> next;
    for_each_cell([&](const Cell& cell) {
        const bool isOpen = verdicts[cell.format][cell.capability] == Verdict::kUnmeasured;
        if (!next && isOpen) next = cell;
    });
    return next;
}

}  // namespace

std::size_t count_done(const FlagsByID& flags) {
    std::size_t done = 0;
    for (const auto& [id, ofSet] : flags) {
        for (const auto& format : verdicts_of(ofSet)) {
            for (const Verdict verdict : format) done += verdict != Verdict::kUnmeasured;
        }
    }
    return done;
}

void RunWatch::started(int processID) {
    process_ = processID;
    remember_process();
}

/// An earlier tool that still has the turn stays remembered, so that it can be offered again.
void RunWatch::remember_process() {
    if (isRemembered_) return;
    const int earlier = read_running_tool();
    if (earlier == 0 || turn_holder() != earlier) isRemembered_ = write_running_tool(process_);
}

bool RunWatch::line(Stream, std::string_view text) {
    const ToolEvent event = parse_line(text);
    if (const auto* trouble = std::get_if<ToolTrouble>(&event)) trouble_ = trouble->text;
    if (const auto* begun = std::get_if<RendererBegun>(&event)) {
        currentID_ = begun->id;
        flags_[currentID_];
    }
    const auto* ended = std::get_if<TestEnded>(&event);
    if (ended) {
        currentID_ = ended->id;
        const Cell& cell = ended->cell;
        said_[ended->id].recorded[cell.format][cell.capability] = ended->verdict;
        flags_[ended->id].recorded[cell.format][cell.capability] = ended->verdict;
    }
    const bool isProgress = !std::holds_alternative<OtherLine>(event);
    if (isProgress) tell_progress();
    return isProgress;
}

RunObserver::Wish RunWatch::look() {
    if (watcher_.is_interrupted()) return Wish::kStop;
    // Once a second is enough to see who has the turn, and to move the time left.
    if (++looks_ % 10 != 0) return Wish::kGoOn;
    if (waits_for_other()) return Wish::kGoOnAnew;
    remember_process();
    tell_progress();
    return Wish::kGoOn;
}

bool RunWatch::waits_for_other() {
    const int holder = turn_holder();
    if (holder == 0 || holder == process_) return false;
    if (waitedFor_.insert(holder).second) watcher_.waits_for(holder);
    return true;
}

void RunWatch::tell_progress() {
    const auto identity = parse_id(currentID_);
    if (!identity) return;
    MeasureProgress progress;
    progress.rendererID = identity->rendererID;
    progress.cell = next_unmeasured(flags_[currentID_]);
    progress.done = count_done(flags_);
    progress.all = flags_.size() * kCellCount;
    progress.doneHere = count_done({{currentID_, flags_[currentID_]}});
    const std::size_t gained = progress.done - std::min(progress.done, doneAtBegin_);
    if (gained > 0) {
        const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - begin_;
        const double each = elapsed.count() / static_cast<double>(gained);
        progress.secondsLeft =
            static_cast<int>(std::lround(each * static_cast<double>(progress.all - progress.done)));
    }
    watcher_.progress(progress);
}

}  // namespace texprobe::ctl
