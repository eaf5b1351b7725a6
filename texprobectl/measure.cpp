#include "measure.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>
#include <thread>

#include "marks.h"
#include "preferences.h"
#include "run_watch.h"
#include "signals.h"
#include "turn.h"

namespace texprobe::ctl {

namespace {

/// The flags as they are recorded now; none of a set that the tool will clear before it measures.
Flags read_current_flags(const std::string& id) {
    refresh(id);
    Flags flags;
    if (read_number(id, "VERSION").value_or(0.0) < kCurrentVersion) return flags;
    for_each_cell([&](const Cell& cell) {
        flags.recorded[cell.format][cell.capability] = read_flag(id, key_of(cell));
    });
    return flags;
}

std::string time_now() {
    std::array<char, 32> text;
    const std::time_t now = std::time(nullptr);
    std::tm parts;
    gmtime_r(&now, &parts);
    return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts)};
}

std::string describe_end(const RunEnd& end) {
    if (end.kind == RunEnd::Kind::kSignalled) return "was ended by " + signal_name(end.number);
    if (end.kind == RunEnd::Kind::kExited) {
        return "ended with status " + std::to_string(end.number);
    }
    if (end.kind == RunEnd::Kind::kTimeLimit) return "made no progress and was killed";
    return "ended";
}

class Measurement {
public:
    Measurement(const MeasureOptions& options, const Machine& machine, MeasureWatcher& watcher)
        : options_(options), machine_(machine), watcher_(watcher) {
        for (const std::uint32_t renderer : machine.renderers) {
            ids_.push_back(make_id(hexadecimal(renderer), machine.systemBuild));
        }
    }

    MeasureResult run() {
        result_.before = read_sets();
        see_to_leftover();
        const FlagsByID flags = read_flags();
        doneAtBegin_ = count_done(flags);
        for (int idle = 0; !isOver_;) {
            const std::size_t recorded = run_once();
            ++result_.runs;
            idle = recorded == 0 ? idle + 1 : 0;
            if (!isOver_ && idle == 2) give_up("two runs in a row recorded nothing: " + lastEnd_);
            if (!isOver_ && result_.runs == options_.attempts) {
                give_up(std::to_string(options_.attempts) + " runs were not enough; the last one " +
                        lastEnd_);
            }
        }
        result_.after = read_sets();
        return std::move(result_);
    }

private:
    RecordSets read_sets() const {
        RecordSets sets;
        for (const std::string& id : ids_) {
            if (auto set = read_record_set(id, machine_)) sets.push_back(std::move(*set));
        }
        return sets;
    }

    FlagsByID read_flags() const {
        FlagsByID flags;
        for (const std::string& id : ids_) flags[id] = read_current_flags(id);
        return flags;
    }

    void give_up(const std::string& reason) {
        isOver_ = true;
        result_.kind = MeasureResult::Kind::kGivenUp;
        result_.reason = reason;
    }

    /// A `measure` that was killed has not seen its tool's end. What the tool had in hand may have
    /// been no fault of the driver's, and is tested again.
    void see_to_leftover() {
        const int process = read_running_tool();
        if (process == 0) return;
        if (turn_holder() == process) {
            if (!watcher_.end_leftover(process)) return;
            end_leftover(process);
        }
        for (const std::string& id : ids_) {
            if (test_last_no_again(id)) break;
        }
        write_running_tool(0);
    }

    void end_leftover(int process) {
        kill(-process, SIGKILL);
        for (int i = 0; i < 50 && turn_holder() == process; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
        if (turn_holder() == process) watcher_.left_behind(process);
    }

    /// The test that an unfinished run was in is the last one before what is still to be measured.
    /// True when the set is such a one.
    static bool test_last_no_again(const std::string& id) {
        const Flags flags = read_current_flags(id);
        RecordSet set;
        decide_verdicts(flags, &set);
        std::optional<Cell> last;
        bool isUnfinished = false;
        for_each_cell([&](const Cell& cell) {
            isUnfinished |= set.verdict(cell) == Verdict::kUnmeasured;
            if (!isUnfinished && flags.recorded[cell.format][cell.capability]) last = cell;
        });
        if (isUnfinished && last && set.verdict(*last) == Verdict::kNo && !read_mark(id, *last)) {
            write(id, {{key_of(*last), std::nullopt}});
        }
        return isUnfinished && last.has_value();
    }

    /// How many verdicts the run has recorded.
    std::size_t run_once() {
        const FlagsByID before = read_flags();
        RunWatch watch(before, begin_, doneAtBegin_, watcher_);
        Program program{options_.tool, {}, std::chrono::seconds(options_.seconds)};
        const RunEnd end = run_supervised(program, watch);
        if (end.kind == RunEnd::Kind::kNotStarted) {
            give_up(options_.tool + " could not be started: " + std::strerror(end.number));
            return 0;
        }
        if (end.isLeftBehind) {
            watcher_.left_behind(watch.process());
        } else if (watch.is_remembered()) {
            write_running_tool(0);
        }
        lastEnd_ = "texprobe " + describe_end(end);
        if (!watch.trouble().empty()) lastEnd_ += " (" + watch.trouble() + ")";
        const std::size_t recorded = remember(before, watch, end);
        conclude(end);
        return recorded;
    }

    void conclude(const RunEnd& end) {
        if (end.kind == RunEnd::Kind::kExited && end.number == 0) {
            isOver_ = true;
            result_.kind = MeasureResult::Kind::kComplete;
            for (const std::string& id : ids_) write(marks_of(id), {{kTimeKey, time_now()}});
        }
        if (end.kind == RunEnd::Kind::kStopped) {
            isOver_ = true;
            result_.kind = MeasureResult::Kind::kInterrupted;
        }
    }

    std::optional<Cause> cause_of(const RunEnd& end) const {
        switch (end.kind) {
            case RunEnd::Kind::kSignalled:
                return Crashed{signal_name(end.number)};
            case RunEnd::Kind::kExited:
                return Exited{end.number};
            case RunEnd::Kind::kTimeLimit:
                return Hung{options_.seconds};
            default:
                return std::nullopt;
        }
    }

    /// Writes what the run's lines and its end say of each verdict. How many it has recorded.
    std::size_t remember(const FlagsByID& before, const RunWatch& watch, const RunEnd& end) {
        std::size_t recorded = 0;
        std::optional<Cell> guilty;
        for (const std::string& id : ids_) {
            const auto said = watch.said().find(id);
            recorded +=
                remember_set(id, before.at(id), said == watch.said().end() ? Flags{} : said->second,
                             end, id == watch.current_id() ? &guilty : nullptr);
        }
        const auto cause = cause_of(end);
        const bool hasEnded = end.kind == RunEnd::Kind::kExited && end.number == 0;
        const auto identity = parse_id(watch.current_id());
        if (cause && !hasEnded && identity) watcher_.died(identity->rendererID, guilty, *cause);
        return recorded;
    }

    /// The last test that has been recorded as false and not been spoken of, where a test was in
    /// hand at all. Others have measured what comes before it, while this run waited for its turn.
    static std::optional<Cell> find_in_hand(const Flags& before, const Flags& now,
                                            const Flags& said, const RunEnd& end) {
        RecordSet set;
        decide_verdicts(now, &set);
        const bool hasEnded = end.kind == RunEnd::Kind::kExited && end.number == 0;
        if (hasEnded && set.unmeasured() == 0) return std::nullopt;
        std::optional<Cell> last;
        for_each_cell([&](const Cell& cell) {
            const auto& flag = now.recorded[cell.format][cell.capability];
            const bool isNew = flag && !before.recorded[cell.format][cell.capability];
            if (isNew && !*flag && !said.recorded[cell.format][cell.capability]) last = cell;
        });
        return last;
    }

    /// `guilty` is null for a set that the run was not in at its end.
    std::size_t remember_set(const std::string& id, const Flags& before, const Flags& said,
                             const RunEnd& end, std::optional<Cell>* guilty) const {
        const Flags now = read_current_flags(id);
        const auto inHand = guilty ? find_in_hand(before, now, said, end) : std::nullopt;
        Changes marks;
        Changes records;
        std::size_t recorded = 0;
        for_each_cell([&](const Cell& cell) {
            const auto& flag = now.recorded[cell.format][cell.capability];
            const auto& word = said.recorded[cell.format][cell.capability];
            const bool isNew = flag && !before.recorded[cell.format][cell.capability];
            const std::string key = key_of(cell);
            const bool isInHand =
                inHand && cell.format == inHand->format && cell.capability == inHand->capability;
            // Killed between the test and the next synchronization, or told to stop in the midst of
            // a test: that verdict is not the driver's.
            const bool isLost = flag && word && *word && !*flag;
            const bool isStopped = isInHand && end.kind == RunEnd::Kind::kStopped;
            if (isLost || isStopped) records[key] = std::nullopt;
            recorded += isNew && !isLost && !isStopped;
            if (isInHand && !isStopped) {
                *guilty = cell;
                if (const auto cause = cause_of(end)) marks[key] = mark_text(*cause);
            } else if (word && !*word) {
                marks[key] = mark_text(Seen{});
            } else if ((!flag || *flag) && read_mark(id, cell)) {
                marks[key] = std::nullopt;
            }
        });
        if (!records.empty()) write(id, records);
        if (!marks.empty()) write(marks_of(id), marks);
        return recorded;
    }

    const MeasureOptions& options_;
    const Machine& machine_;
    MeasureWatcher& watcher_;
    std::vector<std::string> ids_;
    MeasureResult result_;
    bool isOver_ = false;
    std::string lastEnd_;
    std::size_t doneAtBegin_ = 0;
    const std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
};

}  // namespace

MeasureResult measure(const MeasureOptions& options, const Machine& machine,
                      MeasureWatcher& watcher) {
    return Measurement(options, machine, watcher).run();
}

}  // namespace texprobe::ctl
