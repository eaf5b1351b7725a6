// The verdicts of one context: looked up, measured in the background if missing, and answered.

#ifndef TEXPROBE_VERDICTS_OPEN_VERDICTS_H
#define TEXPROBE_VERDICTS_OPEN_VERDICTS_H

#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <new>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "records/platform_messages.h"
#include "runs/tool_path.h"
#include "verdicts/measurement.h"
#include "verdicts/outcome.h"
#include "verdicts/record_sets.h"
#include "verdicts/survey_sets.h"
#include "verdicts/surveying.h"

namespace texprobe {

namespace {

constexpr std::chrono::milliseconds kUsualLimit{60000};
/// Of the time that both take.
constexpr float kPartOfTool = 0.1F;

/// While one lives, no signal is handled on this thread; nor on those that it starts meanwhile, for
/// as long as they live: the application's handlers run on the application's threads.
class SignalsBlocked {
public:
    SignalsBlocked() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &former_);
    }
    ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &former_, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

private:
    sigset_t former_;
};

/// The fields that the application has filled in; the rest is zero.
texprobe_options known_options(const texprobe_options* options) {
    texprobe_options known = {};
    if (options) std::memcpy(&known, options, std::min(options->size, sizeof known));
    return known;
}

/// Has the application filled in fields beyond its size? The first version had all these fields.
bool is_size_forgotten(const texprobe_options* options) {
    constexpr std::size_t kSmallest = offsetof(texprobe_options, test_time_limit_ms);
    return options && options->size < kSmallest &&
           (options->tool || options->test_time_limit_ms != 0 || options->log || options->user);
}

/// The tool or the survey, for the asking context.
struct WantedPart {
    bool isWanted = false;
    /// It is to be run, or runs.
    bool isPending = false;
    Program program = {};
    /// Why its verdicts will not be there.
    std::string trouble = {};
};

/// Behind the handle that an application holds.
class OpenVerdicts {
public:
    explicit OpenVerdicts(const texprobe_options* given) {
        if (is_size_forgotten(given)) {
            outcome_.failed("texprobe_options.size is " + std::to_string(given->size) +
                            "; it must be sizeof(texprobe_options)");
            return;
        }
        const texprobe_options options = known_options(given);
        log_ = {options.log, options.user};
        done_ = options.done;
        look(options);
        // Nothing of the application's is called on its own thread, so a message needs a thread,
        // too.
        const bool hasToCall = done_ || (log_.write && !messages_.empty());
        if (outcome_.state() == TEXPROBE_MEASURING || hasToCall) start();
    }

    /// In a child of the process that opened them there is no thread to wait for.
    bool are_of_this_process() const { return process_ == getpid(); }

    /// Returns when the thread has ended and no other thread waits for it any more.
    void end() {
        outcome_.begin_to_close();
        if (thread_.joinable()) thread_.join();
        outcome_.await_waiting();
    }

    Outcome& outcome() { return outcome_; }
    const Outcome& outcome() const { return outcome_; }

private:
    void look(const texprobe_options& options) {
        const std::string hopeless = sets_.hopeless();
        if (!hopeless.empty()) return outcome_.failed(one_line(hopeless));
        if (options.measure < TEXPROBE_MEASURE_NEEDED || options.measure > TEXPROBE_MEASURE_ALL) {
            return outcome_.failed("texprobe_options.measure is " +
                                   std::to_string(options.measure) +
                                   "; it must be a texprobe_measure");
        }
        known_.isOfTool = surveys_.profile() == survey::Profile::kCompatibility;
        const bool isAllWanted = options.measure == TEXPROBE_MEASURE_ALL;
        const bool isOwnWanted = options.measure != TEXPROBE_MEASURE_NOTHING;
        tool_.isWanted = isAllWanted || (isOwnWanted && known_.isOfTool);
        survey_.isWanted = isAllWanted || (isOwnWanted && !known_.isOfTool);
        const PlatformMessages messages;
        if (known_.isOfTool || tool_.isWanted) look_at_tool();
        if (known_.has_own() && !survey_.isWanted) {
            known_.survey.look_at_first_question([this] {
                const PlatformMessages unsaid;
                return surveys_.look().answers;
            });
        } else if (isRead_) {
            // Otherwise the same store is not tried twice.
            look_at_survey();
        }
        messages_ = messages.lines();
        // Each renderer's records are in the same store.
        messages_.erase(std::unique(messages_.begin(), messages_.end()), messages_.end());
        if (tool_.isWanted && !known_.tool && tool_.trouble.empty()) {
            plan(&tool_, find_tool(options.tool), describe_search());
        }
        if (survey_.isWanted && !known_.survey.is_found() && survey_.trouble.empty()) {
            plan(&survey_, find_survey(options.tool),
                 describe_search("texprobe-survey", survey_beside(installed_tool())));
        }
        turn_ = turn_settings();
        const std::chrono::milliseconds limit(options.test_time_limit_ms);
        for (WantedPart* part : {&tool_, &survey_}) {
            part->program.stepLimit =
                limit.count() > 0 ? std::max(limit, turn_.leastTestTime) : kUsualLimit;
        }
        conclude_if_whole();
    }

    void look_at_tool() {
        const Finding finding = sets_.look();
        isRead_ &= finding.isRead;
        known_.tool = finding.verdicts;
        note(sets_.describe_differences(finding.differences));
        if (known_.tool || !finding.isRead) return;
        if (finding.areAllMeasured || !tool_.isWanted) {
            tool_.trouble = sets_.describe_mismatch({});
        }
        if (finding.areAllMeasured) {
            tool_.trouble += "; run texprobe if the driver's strings have changed since";
        }
    }

    void look_at_survey() {
        SurveyFinding finding = surveys_.look();
        isRead_ &= finding.isRead;
        known_.survey = std::move(finding.answers);
        note(surveys_.describe_differences(finding.differences));
        if (known_.survey.is_found() || !finding.isRead) return;
        const bool isHopeless = survey_.isWanted && surveys_.are_all_surveyed();
        if (isHopeless || !survey_.isWanted) survey_.trouble = surveys_.describe_mismatch();
        if (isHopeless) {
            survey_.trouble += "; run texprobe-survey if the driver's strings have changed since";
        }
    }

    /// A store that cannot be read is no reason to stay away: the programs put a damaged one aside.
    void plan(WantedPart* part, std::string path, const std::string& search) {
        part->isPending = !path.empty();
        if (!part->isPending) part->trouble = search + describe_unread();
        part->program.path = std::move(path);
        // Now, on the application's thread: later the application may change its environment.
        part->program.environment = environment_of_process();
    }

    std::string describe_unread() const {
        if (isRead_) return {};
        return "; the records cannot be read" + (messages_.empty() ? "" : ": " + messages_.back());
    }

    /// For who is READY.
    void note(const std::string& text) {
        if (!text.empty()) reason_ += (reason_.empty() ? "" : "; ") + text;
    }

    /// Publishes the outcome once it is clear.
    void conclude_if_whole() {
        const WantedPart& own = known_.isOfTool ? tool_ : survey_;
        const WantedPart& other = known_.isOfTool ? survey_ : tool_;
        const bool isMeasuringForbidden = !tool_.isWanted && !survey_.isWanted;
        const bool hasAny = known_.has_own() || (isMeasuringForbidden && known_.survey.is_found());
        if (!hasAny && !own.isPending) {
            const std::string unread = describe_unread();
            return outcome_.failed(
                one_line(own.trouble.empty() && !unread.empty() ? unread.substr(2) : own.trouble));
        }
        if (tool_.isPending || survey_.isPending) return;
        if (!known_.has_own()) note("the tool's verdicts are unknown: " + own.trouble);
        if (other.isWanted && !other.trouble.empty()) {
            note((known_.isOfTool ? "the survey's verdicts are unknown: "
                                  : "the tool's verdicts are unknown: ") +
                 other.trouble);
        }
        outcome_.ready(std::move(known_), one_line(reason_));
    }

    void start() {
        const SignalsBlocked blocked;
        try {
            thread_ = std::thread([this] { work(); });
        } catch (const std::system_error&) {
            if (outcome_.state() == TEXPROBE_MEASURING) {
                outcome_.failed("this process can have no more threads");
            }
        }
    }

    void work() {
        if (outcome_.state() != TEXPROBE_MEASURING) {
            for (const std::string& line : messages_) log_(line);
            return tell_if_done();
        }
        try {
            const bool hasSurveyToRun = survey_.isPending;
            outcome_.begin_part(0.0F, hasSurveyToRun ? kPartOfTool : 1.0F);
            if (tool_.isPending) measure();
            outcome_.begin_part(hasSurveyToRun && tool_.isWanted ? kPartOfTool : 0.0F, 1.0F);
            if (survey_.isPending && outcome_.state() == TEXPROBE_MEASURING) survey();
        } catch (const std::bad_alloc&) {
            outcome_.failed("out of memory");
            tell_if_done();
        }
    }

    void measure() {
        const auto found = [this](const Answers& verdicts, const std::string& reason) {
            known_.tool = verdicts;
            note(reason);
            end_part(&tool_, {});
        };
        const std::string trouble =
            BackgroundRuns(sets_, tool_.program, {turn_, log_, outcome_}, found)
                .run(isRead_, messages_);
        if (!trouble.empty()) end_part(&tool_, trouble);
    }

    void survey() {
        const auto found = [this](SurveyAnswers verdicts, const std::string& reason) {
            known_.survey = std::move(verdicts);
            note(reason);
            end_part(&survey_, {});
        };
        const std::string trouble =
            BackgroundSurvey(surveys_, survey_.program, {turn_, log_, outcome_}, found)
                .run(isRead_, tool_.isWanted ? std::vector<std::string>() : messages_);
        if (!trouble.empty()) end_part(&survey_, trouble);
    }

    void end_part(WantedPart* part, const std::string& trouble) {
        part->isPending = false;
        part->trouble = trouble;
        conclude_if_whole();
        tell_if_done();
    }

    /// On the thread of this object.
    void tell_if_done() {
        if (outcome_.state() == TEXPROBE_MEASURING) return;
        if (const auto done = std::exchange(done_, nullptr)) done(log_.user);
    }

    const pid_t process_ = getpid();
    Log log_;
    void (*done_)(void* user) = nullptr;
    const SetsOfMachine sets_;
    SurveysOfMachine surveys_{sets_.renderer_ids()};
    bool isRead_ = true;
    WantedPart tool_;
    WantedPart survey_;
    KnownAnswers known_;
    std::string reason_;
    TurnSettings turn_;
    std::vector<std::string> messages_;
    Outcome outcome_;
    std::thread thread_;
};

}  // namespace

}  // namespace texprobe

#endif
