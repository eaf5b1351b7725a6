#include "measure/repeated_runs.h"

#include <runs/attempts.h>
#include <runs/run_ends.h>

#include <cstring>

#include "measure/judgement.h"
#include "records/turn.h"

namespace texprobe::ctl {

RunObserver::Wish WatchedRun::look() {
    if (watcher_.is_interrupted()) return Wish::kStop;
    // Once a second is enough to see who has the turn, and to move the time left.
    if (++looks_ % 10 != 0) return Wish::kGoOn;
    const int holder = turn_holder();
    if (holder != 0 && !is_in_group(holder, process_)) {
        wait_for_other();
        watcher_.waits_for(holder);
        return Wish::kGoOnAnew;
    }
    go_on();
    return Wish::kGoOn;
}

bool WatchedRun::has_trouble_with_records() const {
    return trouble_.starts_with("*** texprobe records: ");
}

/// The first of the records says which file and which error, those after it the consequences.
void WatchedRun::take_trouble(const std::string& text) {
    if (!has_trouble_with_records()) trouble_ = text;
}

RunsResult RepeatedRuns::run_until_complete() {
    for (Attempts attempts(options_.attempts, 2); !isOver_;) {
        attempts.begin_run();
        attempts.end_run(run_once());
        if (!isOver_ && attempts.are_in_vain()) {
            give_up("two runs in a row recorded nothing: " + describe_last_end());
        }
        if (!isOver_ && attempts.are_used_up()) {
            give_up(std::to_string(options_.attempts) +
                    " runs were not enough; the last one: " + describe_last_end());
        }
    }
    return result_;
}

RunEnd RepeatedRuns::run_program(WatchedRun& watch, const std::vector<std::string>& arguments) {
    const Program program{options_.tool, arguments, std::chrono::seconds(options_.seconds),
                          std::chrono::milliseconds(100 * kTenthsToStop)};
    const RunEnd end = run_supervised(program, watch);
    if (end.kind == RunEnd::Kind::kNotStarted) {
        give_up(options_.tool + " could not be started: " + std::strerror(end.number));
        return end;
    }
    if (end.isLeftBehind) watcher_.left_behind(watch.process());
    lastEnd_ = std::string(program_) + ' ' + describe_end(end, "made no progress and was killed");
    if (!watch.trouble().empty()) lastEnd_ += " (" + watch.trouble() + ")";
    return end;
}

void RepeatedRuns::tell_death(const WatchedRun& watch, const RunEnd& end, const std::string& test) {
    const auto death = death_of(end, !test.empty(), options_.seconds);
    const auto identity = parse_id(watch.current_id());
    if (death && identity) watcher_.died(identity->rendererID, test, *death);
}

std::string RepeatedRuns::find_missing() const {
    std::string missing;
    for (std::size_t i = 0; missing.empty() && i < ids_.size(); ++i) {
        missing = describe_missing(ids_[i]);
    }
    return missing;
}

void RepeatedRuns::conclude(const RunEnd& end) {
    if (end.kind == RunEnd::Kind::kStopped) return interrupt();
    if (!find_missing().empty()) return;
    isOver_ = true;
    result_.kind = RunsResult::Kind::kComplete;
}

void RepeatedRuns::interrupt() {
    isOver_ = true;
    result_.kind = RunsResult::Kind::kInterrupted;
}

void RepeatedRuns::give_up(const std::string& reason) {
    isOver_ = true;
    result_.kind = RunsResult::Kind::kGivenUp;
    result_.reason = reason;
}

bool RepeatedRuns::may_wait() {
    if (const int holder = turn_holder()) watcher_.waits_for(holder);
    return !watcher_.is_interrupted();
}

bool RepeatedRuns::change_records(const std::function<void()>& change) {
    int pauses = 0;
    return under_turn([&] { return may_wait() || ++pauses < 100; }, change);
}

}  // namespace texprobe::ctl
