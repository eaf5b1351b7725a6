#include "time/time_run.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <map>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "process/child.h"
#include "process/stop_signals.h"
#include "time/timed_child.h"

namespace texprobe::ctl {

namespace {

std::vector<TransferTimes> list_transfers(const RecordSet& set, const TimeOptions& options) {
    std::vector<TransferTimes> list;
    for_each_cell([&](const Cell& cell) {
        if (options.formats.count(cell.format) == 0 || cell.capability < kUploadSet) return;
        const Verdict verdict = set.verdict(cell);
        const bool isYes = verdict == Verdict::kYes;
        list.push_back({{cell, options.size},
                        isYes ? TimedState::kNoTime : TimedState::kNotVerified,
                        isYes ? "" : name_of(verdict),
                        0,
                        {}});
    });
    return list;
}

class TimeRun {
public:
    TimeRun(const RecordSet& set, const TimeOptions& options)
        : rendererID_(set.rendererID),
          options_(options),
          times_{set.id, set.renderer, set.glVersion, list_transfers(set, options)} {}

    Times run() {
        TimedState untimed = TimedState::kNoTime;
        try {
            while (run_once()) continue;
        } catch (const Interrupted&) {
            untimed = TimedState::kInterrupted;
        }
        for (TransferTimes& transfer : times_.transfers) {
            if (transfer.state == TimedState::kNoTime) take_rounds(untimed, &transfer);
        }
        return std::move(times_);
    }

private:
    double seconds_over() const {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin_).count();
    }

    void leave_out_since() { begin_ += std::chrono::steady_clock::now() - since_; }

    /// True when another child is to time the rest.
    bool run_once() {
        const double left = static_cast<double>(options_.within.count()) - seconds_over();
        std::vector<std::string> words = {rendererID_, options_.size.name(), std::to_string(left)};
        for (const TransferTimes& transfer : times_.transfers) {
            if (transfer.state != TimedState::kNoTime) continue;
            words.push_back(std::to_string(number_of(transfer.what.cell)));
        }
        if (words.size() == 3 || left <= 0.0) return false;
        hasBegun_ = false;
        since_ = std::chrono::steady_clock::now();
        inHand_ = nullptr;
        const RunEnd end =
            run_child({options_.self, kTimeTask, words, options_.limit,
                       [&](Stream stream, auto text) { return take(stream, text); }});
        const std::string failure = describe_failure(end, options_.limit);
        const auto failureOr = [&](const char* otherwise) {
            return "the process " + (failure.empty() ? otherwise : failure);
        };
        // A crash or a hang takes its own time, not that of the others.
        if (inHand_) leave_out_since();
        if (!hasBegun_) {
            do_without("the renderer cannot be opened: " +
                       (complaint_.empty() ? failureOr("has timed nothing") : complaint_));
        }
        return inHand_ && fail(inHand_, failureOr("ended too early"));
    }

    /// A renderer that cannot be opened any more after a crash leaves its earlier times.
    void do_without(const std::string& reason) {
        const bool isFirst = std::none_of(
            times_.transfers.begin(), times_.transfers.end(),
            [](const auto& transfer) { return transfer.state == TimedState::kFailed; });
        if (isFirst) throw std::runtime_error(reason);
        for (TransferTimes& transfer : times_.transfers) {
            const bool isOpen = transfer.state == TimedState::kNoTime;
            if (isOpen && rounds_.count(&transfer) == 0) fail(&transfer, reason);
        }
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
        if (word == "begin") return begin(words);
        if (!inHand_) return false;
        if (word == "way") return take_round(words);
        if (word == "failed") return fail(inHand_, std::string(text.substr(7)));
        return word == "done" && take_visit();
    }

    bool begin(std::istringstream& words) {
        std::size_t number = 0;
        words >> number;
        const auto found = std::find_if(times_.transfers.begin(), times_.transfers.end(),
                                        [&](const auto& transfer) {
                                            return number_of(transfer.what.cell) == number &&
                                                   transfer.state == TimedState::kNoTime;
                                        });
        if (!words || found == times_.transfers.end()) return false;
        // However long a renderer takes to open, the transfers have all of the time.
        if (!hasBegun_) leave_out_since();
        hasBegun_ = true;
        since_ = std::chrono::steady_clock::now();
        inHand_ = &*found;
        visit_ = {};
        options_.watch(inHand_->what.cell, seconds_over());
        return true;
    }

    bool take_round(std::istringstream& words) {
        std::size_t way = 0;
        double seconds = 0.0;
        if (!(words >> way >> seconds) || way >= kWayCount) return false;
        visit_[way].push_back(seconds);
        return true;
    }

    /// Its rounds count when it has ended well.
    bool take_visit() {
        Seconds& all = rounds_[inHand_];
        for (std::size_t way = 0; way < kWayCount; ++way) {
            all[way].insert(all[way].end(), visit_[way].begin(), visit_[way].end());
        }
        inHand_ = nullptr;
        return true;
    }

    /// It has no numbers then, not even earlier ones: no application should use it.
    bool fail(TransferTimes* transfer, const std::string& reason) {
        transfer->state = TimedState::kFailed;
        transfer->reason = reason;
        inHand_ = nullptr;
        return true;
    }

    void take_rounds(TimedState untimed, TransferTimes* transfer) const {
        transfer->state = untimed;
        const auto found = rounds_.find(transfer);
        if (found == rounds_.end()) return;
        for (std::size_t way = 0; way < kWayCount; ++way) {
            const std::vector<double>& seconds = found->second[way];
            if (seconds.empty()) continue;
            transfer->ways.push_back(
                {way, static_cast<int>(seconds.size()), quartiles_of(seconds)});
        }
        transfer->state = TimedState::kTimed;
        transfer->bytes = transfer->what.bytes();
    }

    const std::string rendererID_;
    const TimeOptions& options_;
    std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
    /// When the child was started, or when the transfer in hand was begun.
    std::chrono::steady_clock::time_point since_;
    /// Of a transfer without an end yet, the state is kNoTime.
    Times times_;
    /// Seconds an image, by way.
    using Seconds = std::array<std::vector<double>, kWayCount>;
    std::map<const TransferTimes*, Seconds> rounds_;
    Seconds visit_;
    TransferTimes* inHand_ = nullptr;
    bool hasBegun_ = false;
    std::string complaint_;
};

}  // namespace

Times time_transfers(const RecordSet& set, const TimeOptions& options) {
    return TimeRun(set, options).run();
}

}  // namespace texprobe::ctl
