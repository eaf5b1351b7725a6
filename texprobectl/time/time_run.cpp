#include "time/time_run.h"

#include <algorithm>
#include <chrono>
#include <sstream>

#include "child.h"
#include "stop_signals.h"
#include "time/timed_child.h"

namespace texprobe::ctl {

namespace {

using Clock = std::chrono::steady_clock;

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
        for (TransferTimes& transfer : times_.transfers) {
            if (transfer.state != TimedState::kNotVerified) open_.push_back(&transfer);
        }
        all_ = open_.size();
    }

    Times run() {
        try {
            while (!open_.empty()) run_once();
        } catch (const Interrupted&) {
            // What is still open is said to be interrupted.
            if (inHand_) inHand_->ways.clear();
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
        if (!hasBegun_)
            throw TimeError("the renderer cannot be opened: " + opening_failure(failure));
        if (inHand_) {
            give_up("the process " + (failure.empty() ? std::string("ended too early") : failure));
        }
    }

    std::vector<std::string> arguments() const {
        const std::chrono::duration<double> elapsed = Clock::now() - begin_;
        std::vector<std::string> words = {rendererID_,
                                          std::to_string(options_.seconds - elapsed.count())};
        for (const TransferTimes* transfer : open_) words.push_back(transfer->what.text());
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
        if (word == "way") return add_way(words);
        if (word == "bytes") return static_cast<bool>(words >> inHand_->bytes);
        if (word == "done") return conclude(TimedState::kTimed, {});
        if (word == "late") return conclude(TimedState::kNoTime, {});
        if (word == "failed") return conclude(TimedState::kFailed, std::string(text.substr(7)));
        return false;
    }

    bool begin(std::istringstream& words) {
        std::string text;
        words >> text;
        const auto what = parse_transfer(text);
        const auto found = std::find_if(open_.begin(), open_.end(), [&](const auto* transfer) {
            return what && transfer->what == *what;
        });
        if (found == open_.end()) return false;
        hasBegun_ = true;
        inHand_ = *found;
        open_.erase(found);
        watcher_.begun(inHand_->what, all_ - open_.size() - 1, all_);
        return true;
    }

    bool add_way(std::istringstream& words) {
        std::string name;
        TimedWay timed;
        words >> name >> timed.rounds >> timed.seconds.lower >> timed.seconds.median >>
            timed.seconds.upper;
        const auto way = find_way(name);
        if (!words || !way) return false;
        timed.way = *way;
        inHand_->ways.push_back(timed);
        return true;
    }

    bool conclude(TimedState state, const std::string& reason) {
        inHand_->state = state;
        inHand_->reason = reason;
        if (state == TimedState::kFailed) watcher_.failed(*inHand_);
        inHand_ = nullptr;
        return true;
    }

    /// The other images of a transfer that died would most likely die, too.
    void give_up(const std::string& reason) {
        const TimedTransfer& dead = inHand_->what;
        inHand_->ways.clear();
        conclude(TimedState::kFailed, reason);
        const auto isOfSame = [&](TransferTimes* transfer) {
            if (transfer->what.format != dead.format || transfer->what.transfer != dead.transfer) {
                return false;
            }
            transfer->state = TimedState::kFailed;
            transfer->reason = "not tried, because at " + dead.size.name() + " " + reason;
            return true;
        };
        open_.erase(std::remove_if(open_.begin(), open_.end(), isOfSame), open_.end());
    }

    const std::string rendererID_;
    const TimeOptions& options_;
    TimeWatcher& watcher_;
    const Clock::time_point begin_ = Clock::now();
    Times times_;
    /// Those that are still to be timed.
    std::vector<TransferTimes*> open_;
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
