// A program that measures in the background, run as often as it takes: after a crash or a hang it
// continues where that happened. It is stopped as soon as the asking renderer's verdicts are there.

#ifndef TEXPROBE_VERDICTS_BACKGROUND_PROGRAM_H
#define TEXPROBE_VERDICTS_BACKGROUND_PROGRAM_H

#include <unistd.h>

#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "records/platform_messages.h"
#include "runs/attempts.h"
#include "runs/measuring_turn.h"
#include "runs/run_ends.h"
#include "runs/supervised_run.h"
#include "runs/turn_settings.h"
#include "verdicts/outcome.h"

namespace texprobe {

namespace {

/// Where the lines go: called on the measuring thread only.
struct Log {
    void (*write)(void* user, const char* line) = nullptr;
    void* user = nullptr;

    void operator()(const std::string& line) const {
        if (write) write(user, line.c_str());
    }
};

/// Shared by all programs in the background. Everything is borrowed.
struct Background {
    const TurnSettings& turn;
    const Log& log;
    Outcome& outcome;
};

class BackgroundProgram : public RunObserver {
public:
    /// Returns why there are no verdicts; empty when they were found, or are being closed.
    /// `isRead`: have the records been read before? `messages` were printed by that.
    std::string run(bool isRead, const std::vector<std::string>& messages) {
        say(messages);
        // Another process may have held the store only for a moment.
        if (!isRead && find()) return {};
        records_more();  // The next call compares with this one.
        bool hasHung = false;
        for (Attempts attempts(mostRuns_, 1); !outcome_.is_closing();) {
            attempts.begin_run();
            begin_run(hasHung);
            const RunEnd end = run_once();
            using Kind = RunEnd::Kind;
            if (end.kind == Kind::kStopped) return {};
            if (end.kind == Kind::kNotStarted) {
                return describe_failed_start(program_.path, end.number) +
                       (isStoreRead_ ? "" : "; " + describe_unread());
            }
            if (find()) return {};
            if (isInHand_ && !attempts.are_used_up()) {
                log_("another run of " + name_ + " has begun; " + name_ +
                     " is started again and waits for it");
                continue;
            }
            const bool isWhole = end.kind == Kind::kExited && end.number == 0;
            if (isWhole && find_unrecorded()) return {};
            attempts.end_run(records_more());
            if (isWhole || attempts.are_in_vain() || attempts.are_used_up()) {
                return describe_failure(end, isWhole);
            }
            hasHung = end.kind == Kind::kTimeLimit;
            log_(describe(end) + "; it is started again and continues with the next " + step_);
        }
        return {};
    }

protected:
    /// Runs it at most `mostRuns` times. `step`: what it says that it continues with. Nothing here
    /// reads the environment, which is the application's.
    BackgroundProgram(const char* name, const char* step, int mostRuns, Program program,
                      const Background& background)
        : program_(std::move(program)),
          outcome_(background.outcome),
          name_(name),
          step_(step),
          mostRuns_(mostRuns),
          turn_(background.turn),
          log_(background.log) {}

    /// `hasHung`: did the last run make no progress?
    virtual void begin_run(bool hasHung) = 0;
    /// True when the verdicts are there. Called again and again.
    virtual bool find() = 0;
    /// The same after a run that has measured everything, and could not record it.
    virtual bool find_unrecorded() { return false; }
    /// Is more recorded than at the last call?
    virtual bool records_more() = 0;
    /// Has this line to do with the measurement? A driver may write without end and without getting
    /// anywhere.
    virtual bool take(std::string_view line) = 0;
    virtual void tell_progress() = 0;
    virtual const char* words_for_waiting() const = 0;
    virtual const char* words_for_measuring() const = 0;
    /// Why the records, which could be read, do not answer.
    virtual std::string describe_mismatch() const = 0;
    /// Why there are no verdicts after the last run.
    virtual std::string describe_failure(const RunEnd& end, bool isWhole) const {
        return (isWhole ? "" : describe(end) + "; ") +
               (isStoreRead_ ? describe_mismatch() : describe_unread()) + describe_trouble();
    }

    /// Says all messages once, and remembers the last one.
    void say(const std::vector<std::string>& messages) {
        for (const std::string& line : messages) {
            storeTrouble_ = line;
            if (logged_.insert(line).second) log_(line);
        }
    }

    Program program_;
    Outcome& outcome_;
    std::string recordsTrouble_;
    bool isStoreRead_ = true;
    bool isInHand_ = false;

private:
    std::string describe(const RunEnd& end) const {
        const std::string limit = std::to_string(program_.stepLimit.count());
        std::string text = name_ + ' ' +
                           describe_end(end, "made no progress for " + limit + " ms and was killed",
                                        number_of_signal);
        if (end.kind == RunEnd::Kind::kUnknown) {
            text += ", because this application reaps every child";
        }
        return text;
    }

    std::string describe_unread() const {
        return "the records cannot be read" + (storeTrouble_.empty() ? "" : ": " + storeTrouble_);
    }

    bool line(Stream /*stream*/, std::string_view text) override {
        const std::string copy(text);
        log_(copy);
        const std::size_t trouble = text.find("*** ");
        if (trouble != std::string_view::npos) {
            trouble_ = copy.substr(trouble);
            const bool isOfRecords = text.substr(trouble, 20) == "*** texprobe records";
            if (isOfRecords && recordsTrouble_.empty()) recordsTrouble_ = trouble_;
        }
        return take(text) || trouble != std::string_view::npos;
    }

    void started(int process) override { process_ = process; }

    Wish look() override {
        if (outcome_.is_closing()) return Wish::kStop;
        // Seldom enough to cost nothing, often enough for a progress bar.
        if (++looks_ % 3 != 0) return Wish::kGoOn;
        tell_progress();
        // If they are there, it measures another renderer by now.
        if (find()) return Wish::kStop;
        const pid_t holder = turn_holder(turn_);
        // A program that is a script may have started the one that measures.
        const bool isOwn = holder > 0 && (holder == process_ || getpgid(holder) == process_);
        const bool isWaiting = holder != 0 && !isOwn;
        outcome_.measuring(isWaiting ? words_for_waiting() : words_for_measuring());
        return isWaiting ? Wish::kGoOnAnew : Wish::kGoOn;
    }

    /// Empty without any. The first complaint of the records is the cause: programs complain of
    /// missing records once more at their end.
    std::string describe_trouble() const {
        const std::string& trouble = recordsTrouble_.empty() ? trouble_ : recordsTrouble_;
        return trouble.empty() ? "" : "; " + name_ + " says: " + trouble;
    }

    RunEnd run_once() {
        trouble_.clear();
        recordsTrouble_.clear();
        return run_supervised(program_, *this);
    }

    const std::string name_;
    const char* const step_;
    const int mostRuns_;
    const TurnSettings& turn_;
    const Log& log_;
    int process_ = 0;
    int looks_ = 0;
    std::string trouble_;
    std::string storeTrouble_;
    std::set<std::string> logged_;
};

}  // namespace

}  // namespace texprobe

#endif
