#include "measure/repeated_runs.h"

#include <runs/attempts.h>
#include <runs/run_ends.h>

#include <cstring>

#include "records/turn.h"

namespace texprobe::ctl {

RunsResult RepeatedRuns::run_until_complete() {
    for (Attempts attempts(options_.attempts, 2); !isOver_;) {
        attempts.begin_run();
        attempts.end_run(run_once());
        result_.runs = attempts.runs();
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
