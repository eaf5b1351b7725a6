// The tool, run in the background as often as it takes: after a crash or a hang it continues
// with the next test.

#ifndef TEXPROBE_VERDICTS_MEASUREMENT_H
#define TEXPROBE_VERDICTS_MEASUREMENT_H

#include <chrono>
#include <set>
#include <string>
#include <string_view>
#include <utility>

#include "../measuring_turn.h"
#include "../supervised_run.h"
#include "outcome.h"
#include "platform_messages.h"
#include "record_sets.h"
#include "run_ends.h"

namespace {

/// Every test may end a run; so many that do are no accident.
constexpr int kMostRuns = 200;

/// Where the lines go: called on the measuring thread only.
struct Log {
    void (*write)(void* user, const char* line) = nullptr;
    void* user = nullptr;

    void operator()(const std::string& line) const {
        if (write) write(user, line.c_str());
    }
};

class Measurement : public texprobe::RunObserver {
public:
    Measurement(const RecordSets& sets, std::string tool, int limit, const Log& log,
                Outcome& outcome)
        : sets_(sets), tool_(std::move(tool)), limit_(limit), log_(log), outcome_(outcome) {}

    /// Returns when the outcome is there, or when the verdicts are being closed.
    void run() {
        std::size_t decided = count_decided();
        for (int runs = 1; !outcome_.is_closing(); ++runs) {
            trouble_.clear();
            const texprobe::RunEnd end = run_supervised(program(), *this);
            using Kind = texprobe::RunEnd::Kind;
            if (end.kind == Kind::kStopped) return;
            if (end.kind == Kind::kNotStarted)
                return fail(describe_failed_start(tool_, end.number));
            if (find_verdicts()) return;
            if (isInHand_ && runs < kMostRuns) {
                log_(
                    "another run of texprobe has begun; texprobe is started again and waits for "
                    "it");
                continue;
            }
            const bool isWhole = end.kind == Kind::kExited && end.number == 0;
            const std::size_t before = std::exchange(decided, count_decided());
            if (isWhole || decided <= before || runs == kMostRuns)
                return fail(describe(end, isWhole));
            log_(describe_end(end, limit_) +
                 "; it is started again and continues with the next test");
        }
    }

private:
    texprobe::Program program() const {
        texprobe::Program program;
        program.path = tool_;
        program.stepLimit = std::chrono::milliseconds(limit_);
        return program;
    }

    /// True when the verdicts were found.
    bool find_verdicts() {
        const texprobe::PlatformMessages messages;
        const Finding finding = sets_.look();
        take(messages);
        isStoreRead_ = finding.isRead;
        isInHand_ = finding.isInHand;
        if (!finding.verdicts) return false;
        outcome_.ready(*finding.verdicts, sets_.describe_differences(finding.differences));
        return true;
    }

    std::size_t count_decided() {
        const texprobe::PlatformMessages messages;
        sets_.refresh();
        const std::size_t count = sets_.count_decided();
        take(messages);
        outcome_.progress(static_cast<double>(count) / static_cast<double>(sets_.count_all()));
        return count;
    }

    void fail(const std::string& reason) { outcome_.failed(one_line(reason)); }

    /// Why there are no verdicts after a run that was the last one.
    std::string describe(const texprobe::RunEnd& end, bool isWhole) const {
        if (!isStoreRead_) return "the records cannot be read: " + storeTrouble_;
        const std::string build = get_system_version();
        if (!toolBuild_.empty() && toolBuild_ != build) {
            return "\"" + tool_ +
                   "\" is of another architecture: it measures for the system's build " +
                   toolBuild_ + ", and this process is of " + build;
        }
        std::string reason;
        if (!isWhole) reason = describe_end(end, limit_) + "; ";
        reason += sets_.describe_mismatch();
        if (!trouble_.empty()) reason += "; texprobe says: " + trouble_;
        return reason;
    }

    void take(const texprobe::PlatformMessages& messages) {
        for (const std::string& line : messages.lines()) {
            storeTrouble_ = line;
            if (said_.insert(line).second) log_(line);
        }
    }

    /// A driver may write without end and without getting anywhere.
    bool line(texprobe::Stream /*stream*/, std::string_view text) override {
        const std::string copy(text);
        log_(copy);
        const std::size_t trouble = text.find("*** ");
        if (trouble != std::string_view::npos) trouble_ = copy.substr(trouble);
        const std::string_view build = build_in(text);
        if (!build.empty()) toolBuild_ = build;
        return !build.empty() || trouble != std::string_view::npos;
    }

    void started(int process) override { process_ = process; }

    Wish look() override {
        if (outcome_.is_closing()) return Wish::kStop;
        // Seldom enough to cost nothing, often enough for a progress bar.
        if (++looks_ % 3 != 0) return Wish::kGoOn;
        count_decided();
        const pid_t holder = qor::turn_holder(turn_);
        const bool isWaiting = holder != 0 && holder != process_;
        outcome_.measuring(isWaiting ? "texprobe waits for another run of it"
                                     : "texprobe measures this machine's renderers");
        return isWaiting ? Wish::kGoOnAnew : Wish::kGoOn;
    }

    const RecordSets& sets_;
    const std::string tool_;
    const int limit_;
    const Log& log_;
    Outcome& outcome_;
    const qor::TurnSettings turn_ = qor::turn_settings();
    int process_ = 0;
    int looks_ = 0;
    bool isStoreRead_ = true;
    bool isInHand_ = false;
    std::string trouble_;
    std::string toolBuild_;
    std::string storeTrouble_;
    std::set<std::string> said_;
};

}  // namespace

#endif
