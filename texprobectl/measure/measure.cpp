#include "measure/measure.h"

#include <fmt/chrono.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <ctime>
#include <map>
#include <thread>

#include "measure/judgement.h"
#include "measure/repeated_runs.h"
#include "measure/run_watch.h"
#include "measure/running_tool.h"
#include "records/causes.h"
#include "records/preferences.h"
#include "records/turn.h"

namespace texprobe::ctl {

namespace {

class Measuring : public RepeatedRuns {
public:
    Measuring(const MeasureOptions& options, const Machine& machine, MeasureWatcher& watcher)
        : RepeatedRuns("texprobe", options, present_ids(machine), watcher), machine_(machine) {}

    MeasureResult run() {
        result_.before = read_sets();
        result_.predecessors = read_predecessors();
        see_to_leftover();
        remove_old_names();
        if (watcher_.is_interrupted()) interrupt();
        begin_.done = count_done(read_flags());
        static_cast<RunsResult&>(result_) = run_until_complete();
        if (result_.kind == RunsResult::Kind::kComplete) remember_times();
        result_.after = read_sets();
        return std::move(result_);
    }

private:
    RecordSets read_sets() const {
        RecordSets sets;
        for (const std::string& id : ids_) {
            auto set = read_record_set(id, machine_);
            if (set && is_measured(*set)) sets.push_back(std::move(*set));
        }
        return sets;
    }

    void remember_times() const {
        const std::string now =
            fmt::format("{:%Y-%m-%dT%H:%M:%SZ}", fmt::gmtime(std::time(nullptr)));
        for (const RecordSet& set : read_sets()) {
            const auto isSame = [&](const RecordSet& before) {
                return before.id == set.id && before.version == set.version &&
                       before.verdicts == set.verdicts;
            };
            KeyChanges changes = {{kTimeKey, now}};
            if (std::none_of(result_.before.begin(), result_.before.end(), isSame)) {
                changes[kRecordedKey] = now;
            }
            write(causes_of(set.id), changes);
        }
    }

    /// Of each renderer the set of the build before the present one.
    RecordSets read_predecessors() const {
        const RecordSets all = read_record_sets(machine_);
        RecordSets predecessors;
        for (const std::string& id : ids_) {
            RecordSet present;
            present.id = id;
            present.rendererID = parse_id(id).value_or(SetIdentity{}).rendererID;
            if (const RecordSet* set = find_predecessor(present, all)) predecessors.push_back(*set);
        }
        return predecessors;
    }

    FlagsByID read_flags() const {
        FlagsByID flags;
        for (const std::string& id : ids_) flags[id] = read_current_flags(id);
        return flags;
    }

    std::string describe_missing(const std::string& id) const override {
        const auto identity = parse_id(id);
        const auto set = read_record_set(id, machine_);
        const std::string of = " of " + (identity ? identity->rendererID : id);
        if (!set || !is_measured(*set)) return "nothing is recorded" + of;
        if (const std::size_t open = set->unmeasured()) {
            return std::to_string(open) + " of 96 verdicts" + of + " are not recorded";
        }
        if (is_complete(*set)) return {};
        return "the driver's names" + of + " are not recorded, which applications look for";
    }

    /// A `measure` that was killed has not seen its tool's end. A failure of its last test may
    /// be no fault of the driver's, so that test is run again.
    void see_to_leftover() {
        const auto left = runningTool_.left_behind();
        if (!left) return;
        if (!left->hasGone) {
            // One that waits for its turn, or for an answer to the question, ends by itself.
            const auto hasTurn = [&] { return is_in_group(turn_holder(), left->process); };
            if (!hasTurn() || !watcher_.end_leftover(left->process) || !hasTurn()) return;
            if (!end_leftover(left->process)) return;
        }
        const bool isDone =
            under_turn([this] { return may_wait(); }, [this] { test_last_again(); });
        if (isDone) runningTool_.forget();
    }

    /// A run writes the current version first, and the driver's names last. Where names are left of
    /// an earlier version, an application would find the set in between, and take its missing
    /// verdicts for noes.
    void remove_old_names() const {
        const auto isOld = [](const RecordSet& set) {
            const bool isCurrent = set.version && *set.version >= kCurrentVersion;
            return !isCurrent && (set.vendor || set.glVersion || set.renderer);
        };
        if (std::none_of(result_.before.begin(), result_.before.end(), isOld)) return;
        // Another run that has the turn names the set that it works on, and may complete it.
        under_turn([] { return false; },
                   [&] {
                       for (const RecordSet& set : read_sets()) {
                           if (isOld(set)) remove_records(set.id, {});
                       }
                   });
    }

    /// False when it does not go.
    bool end_leftover(int process) {
        const auto hasGone = [&](int tenths) {
            for (int i = 0; i < tenths && is_in_group(turn_holder(), process); ++i) {
                std::this_thread::sleep_for(std::chrono::milliseconds(100));
            }
            return !is_in_group(turn_holder(), process);
        };
        kill(-process, SIGTERM);
        if (hasGone(kTenthsToStop)) return true;
        // While it hangs it has the turn, so no other process takes its record for a verdict.
        test_last_again();
        kill(-process, SIGKILL);
        const bool isDone = hasGone(50);
        if (!isDone) watcher_.left_behind(process);
        return isDone;
    }

    /// The test that an unfinished run was in is the last one before the first unmeasured test.
    void test_last_again() {
        for (const std::string& id : ids_) {
            const Flags flags = read_current_flags(id);
            const auto next = next_unmeasured(flags);
            const auto last = last_recorded(flags, next);
            if (!next || !last) continue;
            const bool isNo = !*flags.recorded[*last];
            if (isNo && !read_cause(id, *last)) remove_records(id, {*last});
            return;
        }
    }

    /// With the driver's names, by which applications recognise a measured set.
    static bool remove_records(const std::string& id, const std::vector<Cell>& cells) {
        KeyChanges changes;
        for (const Cell& cell : cells) changes[key_of(cell)] = std::nullopt;
        for (const char* key : {"GL_VENDOR", "GL_VERSION", "GL_RENDERER"}) {
            changes[key] = std::nullopt;
        }
        return write(id, changes);
    }

    bool run_once() override {
        const FlagsByID before = read_flags();
        RunWatch watch(before, begin_, runningTool_, watcher_);
        // The tool has the turn then, and the next run to get it finds no record of the test.
        watch.onKill = [&] { remove_stopped_test(watch); };
        const RunEnd end = run_program(watch, {});
        if (end.kind == RunEnd::Kind::kNotStarted) return false;
        if (remember(watch, end)) runningTool_.forget_gone();
        watch.show_recorded();
        conclude(end);
        return count_recorded(read_flags()) > count_recorded(before);
    }

    static std::size_t count_recorded(const FlagsByID& flags) {
        std::size_t count = 0;
        for (const auto& each : flags) {
            for_each_cell(
                [&](const Cell& cell) { count += each.second.recorded[cell].has_value(); });
        }
        return count;
    }

    RunFacts facts_of(const std::string& id, const RunWatch& watch, const RunEnd& end) {
        RunFacts facts = watch.facts(id);
        facts.endedFromOutside = endedFromOutside_[id];
        facts.end = end;
        facts.seconds = options_.seconds;
        return facts;
    }

    void remove_stopped_test(const RunWatch& watch) {
        if (!is_in_group(turn_holder(), watch.process())) return;
        const std::string& id = watch.current_id();
        const Judgement judgement = judge(facts_of(id, watch, {RunEnd::Kind::kStopped}));
        if (!judgement.again.empty()) remove_records(id, judgement.again);
    }

    /// Writes the judgement on each verdict. False when records that say
    /// nothing had to stay.
    bool remember(const RunWatch& watch, const RunEnd& end) {
        bool isDone = true;
        std::optional<Cell> inHand;
        for (const std::string& id : ids_) {
            const RunFacts facts = facts_of(id, watch, end);
            const Judgement judgement = judge(facts);
            if (judgement.inHand) inHand = judgement.inHand;
            remember_causes(id, judgement);
            if (judgement.again.empty()) continue;
            // It does not count if the run ended in that test by a fault.
            if (judgement.inHand) endedFromOutside_[id].push_back(*judgement.inHand);
            isDone &= test_again(id, judgement.again);
        }
        tell_death(watch, end, inHand ? words_of(*inHand) : "");
        return isDone;
    }

    bool test_again(const std::string& id, const std::vector<Cell>& cells) {
        bool isDone = false;
        const auto remove = [&] {
            const Flags now = read_current_flags(id);
            std::vector<Cell> stillFalse;
            for (const Cell& cell : cells) {
                const auto& flag = now.recorded[cell];
                if (flag && !*flag) stillFalse.push_back(cell);
            }
            isDone = stillFalse.empty() || remove_records(id, stillFalse);
        };
        return change_records(remove) && isDone;
    }

    static void remember_causes(const std::string& id, const Judgement& judgement) {
        KeyChanges changes;
        for (const auto& [cell, cause] : judgement.causes) {
            if (cause) {
                changes[key_of(cell)] = cause_text(*cause);
            } else if (read_cause(id, cell)) {
                changes[key_of(cell)] = std::nullopt;
            }
        }
        if (!changes.empty()) write(causes_of(id), changes);
    }

    const Machine& machine_;
    RunningTool runningTool_;
    MeasureResult result_;
    std::map<std::string, std::vector<Cell>> endedFromOutside_;
};

}  // namespace

std::vector<std::string> present_ids(const Machine& machine) {
    std::vector<std::string> ids;
    for (const std::uint32_t renderer : machine.renderers) {
        ids.push_back(make_id(hexadecimal(renderer), machine.systemBuild));
    }
    return ids;
}

MeasureResult measure(const MeasureOptions& options, const Machine& machine,
                      MeasureWatcher& watcher) {
    return Measuring(options, machine, watcher).run();
}

}  // namespace texprobe::ctl
