// The messages from the measuring thread to the application's threads.

#ifndef TEXPROBE_VERDICTS_OUTCOME_H
#define TEXPROBE_VERDICTS_OUTCOME_H

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <utility>

#include "TexProbeVerdicts.h"
#include "verdicts/known_answers.h"

namespace texprobe {

namespace {

/// Begins as MEASURING and ends once, as READY or FAILED.
class Outcome {
public:
    void ready(KnownAnswers answers, std::string reason) {
        answers_ = std::move(answers);
        end(TEXPROBE_READY, std::move(reason));
    }
    void failed(std::string reason) { end(TEXPROBE_FAILED, std::move(reason)); }

    /// A literal: the application may hold the pointer until the verdicts are closed.
    void measuring(const char* reason) { reason_ = reason; }
    /// The next step is this part of the whole.
    void begin_part(float from, float to) {
        from_ = from;
        to_ = to;
    }
    /// `done` of `all` verdicts of this part. It never falls, although the false of a test under
    /// way may count for more than its outcome, and it is whole only when the answers are there.
    void progress(std::size_t done, std::size_t all) {
        const std::size_t shown = std::min(done, all - 1);
        const float ofPart = static_cast<float>(shown) / static_cast<float>(all);
        progress_ = std::max(progress_.load(), from_ + (to_ - from_) * ofPart);
    }

    texprobe_state state() const { return state_; }
    double progress() const { return state_ == TEXPROBE_READY ? 1.0 : progress_.load(); }
    const char* reason() const { return reason_; }
    /// Null until READY.
    const KnownAnswers* answers() const { return state_ == TEXPROBE_READY ? &answers_ : nullptr; }

    /// -1: until it is over.
    texprobe_state wait(int milliseconds) {
        std::unique_lock lock(mutex_);
        const Waiting waiting(*this);
        const auto isOver = [&] { return state_ != TEXPROBE_MEASURING || isClosing_; };
        if (milliseconds < 0) {
            changed_.wait(lock, isOver);
        } else {
            changed_.wait_for(lock, std::chrono::milliseconds(milliseconds), isOver);
        }
        return state_;
    }

    bool is_closing() const { return isClosing_; }
    void begin_to_close() {
        const std::lock_guard lock(mutex_);
        isClosing_ = true;
        changed_.notify_all();
    }
    /// Until no thread waits here any more.
    void await_waiting() {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return waiting_ == 0; });
    }

private:
    /// Counts a thread that waits. An object, because a thread may be cancelled there. The lock is
    /// held at its begin and at its end.
    class Waiting {
    public:
        explicit Waiting(Outcome& outcome) : outcome_(outcome) { ++outcome_.waiting_; }
        ~Waiting() {
            if (--outcome_.waiting_ == 0) outcome_.changed_.notify_all();
        }
        Waiting(const Waiting&) = delete;
        Waiting& operator=(const Waiting&) = delete;

    private:
        Outcome& outcome_;
    };

    void end(texprobe_state state, std::string reason) {
        const std::lock_guard lock(mutex_);
        lastReason_ = std::move(reason);
        reason_ = lastReason_.c_str();
        state_ = state;
        changed_.notify_all();
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    int waiting_ = 0;
    std::atomic<bool> isClosing_{false};
    std::atomic<texprobe_state> state_{TEXPROBE_MEASURING};
    std::atomic<float> progress_{0.0F};
    std::atomic<const char*> reason_{"texprobe measures this machine's renderers"};
    // Of the measuring thread.
    float from_ = 0.0F;
    float to_ = 1.0F;
    // Written before the last state, and only read after it.
    KnownAnswers answers_;
    std::string lastReason_;
};

}  // namespace

}  // namespace texprobe

#endif
