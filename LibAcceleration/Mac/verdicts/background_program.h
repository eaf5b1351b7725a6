// A program that measures in the background, run as often as it takes: after a crash or a hang it
// continues where that happened. It is stopped as soon as the asking renderer's verdicts are there.

#ifndef TEXPROBE_VERDICTS_BACKGROUND_PROGRAM_H
#define TEXPROBE_VERDICTS_BACKGROUND_PROGRAM_H

#include <unistd.h>

#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "records/platform_messages.h"
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

/// What all programs in the background share. Everything is borrowed.
struct Background {
    const TurnSettings& turn;
    const Log& log;
    Outcome& outcome;
};

class BackgroundProgram : public RunObserver {
protected:
    /// Nothing here reads the environment, which is the application's.
    BackgroundProgram(const char* name, Program program, const Background& background)
        : name_(name),
          program_(std::move(program)),
          turn_(background.turn),
          log_(background.log),
          outcome_(background.outcome) {}

    /// True when the verdicts are there. Called again and again.
    virtual bool find() = 0;
    /// Has this line to do with the measurement? A driver may write without end and without getting
    /// anywhere.
    virtual bool take(std::string_view line) = 0;
    virtual void tell_progress() = 0;
    virtual const char* words_for_waiting() const = 0;
    virtual const char* words_for_measuring() const = 0;

    /// Says all messages once, and remembers the last one.
    void say(const std::vector<std::string>& messages) {
        for (const std::string& line : messages) {
            storeTrouble_ = line;
            if (logged_.insert(line).second) log_(line);
        }
    }

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
        // What it measures now is another renderer's.
        if (find()) return Wish::kStop;
        const pid_t holder = turn_holder(turn_);
        // A program that is a script may have started the one that measures.
        const bool isOwn = holder > 0 && (holder == process_ || getpgid(holder) == process_);
        const bool isWaiting = holder != 0 && !isOwn;
        outcome_.measuring(isWaiting ? words_for_waiting() : words_for_measuring());
        return isWaiting ? Wish::kGoOnAnew : Wish::kGoOn;
    }

    const std::string name_;
    Program program_;
    const TurnSettings& turn_;
    const Log& log_;
    Outcome& outcome_;
    std::string recordsTrouble_;

private:
    int process_ = 0;
    int looks_ = 0;
    std::string trouble_;
    std::string storeTrouble_;
    std::set<std::string> logged_;
};

}  // namespace

}  // namespace texprobe

#endif
