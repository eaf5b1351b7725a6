// The functions of TexProbeVerdicts.h. The private parts are included, so that nothing but the
// functions has external linkage.

#include "TexProbeVerdicts.h"

#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <exception>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "records/formats.h"
#include "records/platform_messages.h"
#include "runs/tool_path.h"
#include "verdicts/measurement.h"
#include "verdicts/outcome.h"
#include "verdicts/record_sets.h"

namespace texprobe {

namespace {

constexpr std::chrono::milliseconds kUsualLimit{60000};

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

/// What the application holds.
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
        look(options);
        // The log is never called on the application's thread, so a message needs a thread,
        // too.
        if (outcome_.state() == TEXPROBE_MEASURING || (log_.write && !messages_.empty())) start();
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
        const PlatformMessages messages;
        const Finding finding = sets_.look();
        isRead_ = finding.isRead;
        messages_ = messages.lines();
        // Each renderer's records are in the same store.
        messages_.erase(std::unique(messages_.begin(), messages_.end()), messages_.end());
        if (finding.verdicts) {
            outcome_.ready(*finding.verdicts,
                           one_line(sets_.describe_differences(finding.differences)));
        } else if (isRead_ && finding.areAllMeasured) {
            outcome_.failed(one_line(sets_.describe_mismatch({}) +
                                     "; run texprobe if the driver's strings have changed since"));
        } else {
            plan(options);
        }
    }

    /// A store that cannot be read is no reason to stay away: the tool puts a damaged one aside.
    void plan(const texprobe_options& options) {
        program_.path = find_tool(options.tool);
        if (program_.path.empty()) {
            const std::string unread = isRead_ ? "" : "; the records cannot be read";
            const std::string why = isRead_ || messages_.empty() ? "" : ": " + messages_.back();
            return outcome_.failed(one_line(describe_search() + unread + why));
        }
        turn_ = turn_settings();
        const std::chrono::milliseconds limit(options.test_time_limit_ms);
        program_.stepLimit = limit.count() > 0 ? std::max(limit, turn_.leastTestTime) : kUsualLimit;
        // Now, on the application's thread: later the application may change its environment.
        program_.environment = environment_of_process();
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
            return;
        }
        try {
            BackgroundRuns(sets_, program_, turn_, log_, outcome_).run(isRead_, messages_);
        } catch (const std::bad_alloc&) {
            outcome_.failed("out of memory");
        }
    }

    const pid_t process_ = getpid();
    Log log_;
    const SetsOfMachine sets_;
    bool isRead_ = false;
    Program program_;
    TurnSettings turn_;
    std::vector<std::string> messages_;
    Outcome outcome_;
    std::thread thread_;
};

}  // namespace

}  // namespace texprobe

struct texprobe_verdicts : texprobe::OpenVerdicts {
    using OpenVerdicts::OpenVerdicts;
};

texprobe_verdicts* texprobe_verdicts_open(const texprobe_options* options) {
    try {
        return new texprobe_verdicts(options);
    } catch (const std::exception&) {
        return nullptr;
    }
}

texprobe_state texprobe_verdicts_wait(texprobe_verdicts* verdicts, int milliseconds) {
    if (!verdicts) return TEXPROBE_FAILED;
    const bool canChange = verdicts->are_of_this_process();
    return milliseconds != 0 && canChange ? verdicts->outcome().wait(milliseconds)
                                          : verdicts->outcome().state();
}

double texprobe_verdicts_progress(const texprobe_verdicts* verdicts) {
    return verdicts ? verdicts->outcome().progress() : 0.0;
}

const char* texprobe_verdicts_reason(const texprobe_verdicts* verdicts) {
    return verdicts ? verdicts->outcome().reason() : "out of memory";
}

texprobe_answer texprobe_verdicts_answer(const texprobe_verdicts* verdicts,
                                         unsigned internal_format, texprobe_capability capability) {
    const auto index = static_cast<std::size_t>(capability);
    if (!verdicts || index >= texprobe::kCapabilityCount) return TEXPROBE_UNKNOWN;
    for (std::size_t i = 0; i < texprobe::kFormatCount; ++i) {
        if (texprobe::kFormats[i].internalFormat != internal_format) continue;
        return verdicts->outcome().answer(i, index);
    }
    return TEXPROBE_UNKNOWN;
}

void texprobe_verdicts_close(texprobe_verdicts* verdicts) {
    if (!verdicts || !verdicts->are_of_this_process()) return;
    verdicts->end();
    delete verdicts;
}

namespace {

/// As applications count them; null past the last one.
const texprobe::Format* format_at(std::size_t index) {
    if (index >= texprobe::kFormatCount) return nullptr;
    return &texprobe::kFormats[texprobe::kOrderOfApplications[index]];
}

}  // namespace

size_t texprobe_format_count(void) {
    return texprobe::kFormatCount;
}

const char* texprobe_format_name(size_t index) {
    const texprobe::Format* format = format_at(index);
    return format ? format->name : nullptr;
}

unsigned texprobe_format_value(size_t index) {
    const texprobe::Format* format = format_at(index);
    return format ? format->internalFormat : 0;
}
