#include "time/time_run.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <map>
#include <sstream>

#include "process/child.h"
#include "process/stop_signals.h"
#include "time/rounds.h"
#include "time/timed_child.h"

namespace texprobe::ctl {

namespace {

using std::chrono::steady_clock;

/// The order of the result: a format's transfers together, from small to large.
std::vector<TransferTimes> list_transfers(const RecordSet& set, const TimeOptions& options) {
    std::vector<TransferTimes> list;
    for (const std::size_t format : options.formats) {
        for (std::size_t i = kUploadSet; i < kCapabilityCount; ++i) {
            const auto transfer = static_cast<Capability>(i);
            const Verdict verdict = set.verdict({format, transfer});
            for (const ImageSize& size : options.sizes) {
                TransferTimes times;
                times.what = {format, transfer, size};
                if (verdict != Verdict::kYes) {
                    times.state = TimedState::kNotVerified;
                    times.reason = name_of(verdict);
                }
                list.push_back(std::move(times));
            }
        }
    }
    return list;
}

class TimeRun {
public:
    TimeRun(const RecordSet& set, const TimeOptions& options, TimeWatcher& watcher)
        : rendererID_(set.rendererID), options_(options), watcher_(watcher) {
        times_.id = set.id;
        times_.renderer = set.renderer;
        times_.glVersion = set.glVersion;
        times_.transfers = list_transfers(set, options);
        std::vector<TransferTimes*> verified;
        for (TransferTimes& transfer : times_.transfers) {
            if (transfer.state != TimedState::kNotVerified) verified.push_back(&transfer);
        }
        // Where time does not suffice, only large images lack. Not std::stable_sort: libstdc++'s
        // takes memory in a way that newer compilers warn of.
        std::sort(verified.begin(), verified.end(), [](const auto* a, const auto* b) {
            const std::size_t x = a->what.bytes();
            const std::size_t y = b->what.bytes();
            return x != y ? x < y : a < b;
        });
        for (int i = 0; i < kVisits; ++i) {
            visits_.insert(visits_.end(), verified.begin(), verified.end());
        }
        all_ = visits_.size();
    }

    Times run() {
        try {
            while (!visits_.empty()) run_once();
        } catch (const Interrupted&) {
            // A transfer that was not timed counts as interrupted.
        }
        return std::move(times_);
    }

private:
    void run_once() {
        hasBegun_ = false;
        inHand_ = nullptr;
        const std::chrono::seconds limit(options_.limit);
        const RunEnd end =
            run_child({options_.self, kTimeTask, arguments(), limit,
                       [&](Stream stream, auto text) { return take(stream, text); }});
        const std::string failure = describe_failure(end, limit);
        // A hang takes its own time, not that of the others.
        if (end.kind == RunEnd::Kind::kTimeLimit) hung_ += limit;
        if (!hasBegun_) {
            do_without("the renderer cannot be opened: " + opening_failure(failure));
        } else if (inHand_) {
            give_up("the process " + (failure.empty() ? std::string("ended too early") : failure));
        }
    }

    /// A renderer that cannot be opened any more after a crash leaves its earlier times.
    void do_without(const std::string& reason) {
        if (visits_.size() == all_) throw TimeError(reason);
        for (TransferTimes* visit : visits_) {
            if (visit->ways.empty()) fail(visit, reason);
        }
        visits_.clear();
    }

    std::vector<std::string> arguments() const {
        const std::chrono::duration<double> elapsed = steady_clock::now() - begin_ - hung_;
        std::vector<std::string> words = {rendererID_,
                                          std::to_string(options_.seconds - elapsed.count())};
        for (const TransferTimes* visit : visits_) words.push_back(visit->what.text());
        return words;
    }

    std::string opening_failure(const std::string& failure) const {
        if (!complaint_.empty()) return complaint_;
        return "the process " + (failure.empty() ? std::string("has timed nothing") : failure);
    }

    /// True for a line of the child's own.
    bool take(Stream stream, std::string_view text) {
        if (stream == Stream::kError) {
            if (text.rfind("*** ", 0) == 0) complaint_ = text.substr(4);
            return false;
        }
        std::istringstream words{std::string(text)};
        std::string word;
        words >> word;
        if (word == "step") return true;
        if (word == "begin") return begin(words);
        if (!inHand_) return false;
        if (word == "way") return add_rounds(words);
        if (word == "done") return take_rounds();
        if (word == "late")
            return conclude(inHand_->ways.empty() ? TimedState::kNoTime : TimedState::kTimed);
        if (word == "failed") return fail_in_hand(std::string(text.substr(7)));
        return false;
    }

    bool begin(std::istringstream& words) {
        std::string text;
        words >> text;
        const auto what = parse_transfer(text);
        const auto found = std::find_if(visits_.begin(), visits_.end(), [&](const auto* visit) {
            return what && visit->what == *what;
        });
        if (found == visits_.end()) return false;
        hasBegun_ = true;
        inHand_ = *found;
        newRounds_ = {};
        visits_.erase(found);
        watcher_.begun(inHand_->what, all_ - visits_.size() - 1, all_);
        return true;
    }

    bool add_rounds(std::istringstream& words) {
        std::string name;
        words >> name;
        const auto way = find_way(name);
        if (!way) return false;
        for (double seconds = 0.0; words >> seconds;) newRounds_[*way].push_back(seconds);
        return true;
    }

    /// Those of a visit count when it has ended well.
    bool take_rounds() {
        Seconds& all = rounds_[inHand_];
        inHand_->ways.clear();
        for (std::size_t way = 0; way < kWayCount; ++way) {
            all[way].insert(all[way].end(), newRounds_[way].begin(), newRounds_[way].end());
            if (all[way].empty()) continue;
            inHand_->ways.push_back(
                {way, static_cast<int>(all[way].size()), quartiles_of(all[way])});
        }
        inHand_->bytes = inHand_->what.bytes();
        return conclude(TimedState::kTimed);
    }

    bool conclude(TimedState state) {
        inHand_->state = state;
        inHand_ = nullptr;
        return true;
    }

    bool fail_in_hand(const std::string& reason) {
        fail(inHand_, reason);
        watcher_.failed(*inHand_);
        visits_.erase(std::remove(visits_.begin(), visits_.end(), inHand_), visits_.end());
        inHand_ = nullptr;
        return true;
    }

    /// It has no numbers then, not even those of an earlier visit: no application should use it.
    static void fail(TransferTimes* transfer, const std::string& reason) {
        transfer->state = TimedState::kFailed;
        transfer->reason = reason;
        transfer->ways.clear();
        transfer->bytes = 0;
    }

    /// The other images of a transfer that died would most likely die, too.
    void give_up(const std::string& reason) {
        const TimedTransfer dead = inHand_->what;
        fail_in_hand(reason);
        const auto isOfSame = [&](TransferTimes* visit) {
            return visit->what.format == dead.format && visit->what.transfer == dead.transfer;
        };
        for (TransferTimes* visit : visits_) {
            if (!isOfSame(visit)) continue;
            fail(visit, "not tried, because at " + dead.size.name() + " " + reason);
        }
        visits_.erase(std::remove_if(visits_.begin(), visits_.end(), isOfSame), visits_.end());
    }

    /// By way.
    using Seconds = std::array<std::vector<double>, kWayCount>;

    const std::string rendererID_;
    const TimeOptions& options_;
    TimeWatcher& watcher_;
    const steady_clock::time_point begin_ = steady_clock::now();
    std::chrono::seconds hung_{0};
    Times times_;
    /// Those that are still to come; a transfer has several.
    std::vector<TransferTimes*> visits_;
    std::map<const TransferTimes*, Seconds> rounds_;
    Seconds newRounds_;
    std::size_t all_ = 0;
    TransferTimes* inHand_ = nullptr;
    bool hasBegun_ = false;
    std::string complaint_;
};

}  // namespace

Times time_transfers(const RecordSet& set, const TimeOptions& options, TimeWatcher& watcher) {
    return TimeRun(set, options, watcher).run();
}

}  // namespace texprobe::ctl
