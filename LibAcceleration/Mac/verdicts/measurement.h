// The tool, run in the background as often as it takes: after a crash or a hang it continues
// with the next test.

#ifndef TEXPROBE_VERDICTS_MEASUREMENT_H
#define TEXPROBE_VERDICTS_MEASUREMENT_H

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
#include "verdicts/record_sets.h"
#include "verdicts/said_by_tool.h"

namespace texprobe {

namespace {

/// Each of the tests may end a run, but so many runs cannot all be accidents.
constexpr int kMostRuns = 200;

/// Where the lines go: called on the measuring thread only.
struct Log {
    void (*write)(void* user, const char* line) = nullptr;
    void* user = nullptr;

    void operator()(const std::string& line) const {
        if (write) write(user, line.c_str());
    }
};

class BackgroundRuns : public RunObserver {
public:
    /// Everything is borrowed. Nothing here reads the environment, which is the application's.
    BackgroundRuns(const SetsOfMachine& sets, const Program& program, const TurnSettings& turn,
                   const Log& log, Outcome& outcome)
        : sets_(sets), program_(program), turn_(turn), log_(log), outcome_(outcome) {}

    /// Returns when the outcome is there, or when the verdicts are being closed. `isRead`: have the
    /// records been read before? `messages` were printed by that.
    void run(bool isRead, const std::vector<std::string>& messages) {
        say(messages);
        // Another process may have held the store only for a moment.
        if (!isRead && find_verdicts()) return;
        std::size_t decided = count_decided();
        for (Attempts attempts(kMostRuns, 1); !outcome_.is_closing();) {
            attempts.begin_run();
            said_ = {};
            trouble_.clear();
            recordsTrouble_.clear();
            const RunEnd end = run_supervised(program_, *this);
            using Kind = RunEnd::Kind;
            if (end.kind == Kind::kStopped) return;
            if (end.kind == Kind::kNotStarted) {
                return fail(describe_failed_start(program_.path, end.number) +
                            (isStoreRead_ ? "" : "; " + describe_unread()));
            }
            if (find_verdicts()) return;
            if (isInHand_ && !attempts.are_used_up()) {
                log_(
                    "another run of texprobe has begun; texprobe is started again and waits for "
                    "it");
                continue;
            }
            const bool isWhole = end.kind == Kind::kExited && end.number == 0;
            if (isWhole && find_said_verdicts()) return;
            const std::size_t before = std::exchange(decided, count_decided());
            attempts.end_run(decided > before);
            if (isWhole || attempts.are_in_vain() || attempts.are_used_up()) {
                return fail(describe(end, isWhole));
            }
            log_(describe(end) + "; it is started again and continues with the next test");
        }
    }

private:
    std::string describe(const RunEnd& end) const {
        const std::string limit = std::to_string(program_.stepLimit.count());
        std::string text =
            "texprobe " + describe_end(end, "made no progress for " + limit + " ms and was killed",
                                       number_of_signal);
        if (end.kind == RunEnd::Kind::kUnknown) {
            text += ", because this application reaps every child";
        }
        return text;
    }

    /// True when the verdicts were found.
    bool find_verdicts() {
        const PlatformMessages messages;
        const Finding finding = sets_.look();
        say(messages.lines());
        isStoreRead_ = finding.isRead;
        isInHand_ = finding.isInHand;
        if (!finding.verdicts) return false;
        outcome_.ready(*finding.verdicts,
                       one_line(sets_.describe_differences(finding.differences)));
        return true;
    }

    /// After a run that has measured everything, and could not record it.
    bool find_said_verdicts() {
        const Finding finding = sets_.look(said_);
        if (!finding.verdicts) return false;
        std::string reason = "the verdicts are not recorded, and will be measured again";
        if (!recordsTrouble_.empty()) reason += ": " + recordsTrouble_;
        const std::string differences = sets_.describe_differences(finding.differences);
        if (!differences.empty()) reason += "; " + differences;
        outcome_.ready(*finding.verdicts, one_line(reason));
        return true;
    }

    std::size_t count_decided() {
        const PlatformMessages messages;
        sets_.refresh();
        const std::size_t count = sets_.count_decided();
        say(messages.lines());
        outcome_.progress(count, sets_.count_all());
        return count;
    }

    void fail(const std::string& reason) { outcome_.failed(one_line(reason)); }

    /// Why there are no verdicts after a run that was the last one.
    std::string describe(const RunEnd& end, bool isWhole) const {
        const std::string build = get_system_version();
        if (!toolBuild_.empty() && toolBuild_ != build) {
            return "\"" + program_.path +
                   "\" is of another architecture: it measures for the system's build " +
                   toolBuild_ + ", and this process is of " + build;
        }
        std::string reason;
        if (!isWhole) reason = describe(end) + "; ";
        reason += isStoreRead_ ? sets_.describe_mismatch(said_) : describe_unread();
        // The first is the cause: the tool complains of missing records once more at its end.
        const std::string& trouble = recordsTrouble_.empty() ? trouble_ : recordsTrouble_;
        if (!trouble.empty()) reason += "; texprobe says: " + trouble;
        return reason;
    }

    std::string describe_unread() const {
        return "the records cannot be read" + (storeTrouble_.empty() ? "" : ": " + storeTrouble_);
    }

    void say(const std::vector<std::string>& messages) {
        for (const std::string& line : messages) {
            storeTrouble_ = line;
            if (logged_.insert(line).second) log_(line);
        }
    }

    /// A driver may write without end and without getting anywhere.
    bool line(Stream /*stream*/, std::string_view text) override {
        const std::string copy(text);
        log_(copy);
        const std::size_t trouble = text.find("*** ");
        if (trouble != std::string_view::npos) {
            trouble_ = copy.substr(trouble);
            const bool isOfRecords = text.substr(trouble, 20) == "*** texprobe records";
            if (isOfRecords && recordsTrouble_.empty()) recordsTrouble_ = trouble_;
        }
        const auto ofRenderer = line_of_renderer(text);
        const bool isProgress = ofRenderer && !ofRenderer->build().empty();
        if (isProgress) {
            toolBuild_ = ofRenderer->build();
            said_.take(*ofRenderer);
        }
        return isProgress || trouble != std::string_view::npos;
    }

    void started(int process) override { process_ = process; }

    Wish look() override {
        if (outcome_.is_closing()) return Wish::kStop;
        // Seldom enough to cost nothing, often enough for a progress bar.
        if (++looks_ % 3 != 0) return Wish::kGoOn;
        count_decided();
        const pid_t holder = turn_holder(turn_);
        // A tool that is a script may have started the one that measures.
        const bool isOwn = holder > 0 && (holder == process_ || getpgid(holder) == process_);
        const bool isWaiting = holder != 0 && !isOwn;
        outcome_.measuring(isWaiting ? "texprobe waits for another run of it"
                                     : "texprobe measures this machine's renderers");
        return isWaiting ? Wish::kGoOnAnew : Wish::kGoOn;
    }

    const SetsOfMachine& sets_;
    const Program& program_;
    const TurnSettings& turn_;
    const Log& log_;
    Outcome& outcome_;
    int process_ = 0;
    int looks_ = 0;
    bool isStoreRead_ = true;
    bool isInHand_ = false;
    SaidByTool said_;
    std::string trouble_;
    std::string recordsTrouble_;
    std::string toolBuild_;
    std::string storeTrouble_;
    std::set<std::string> logged_;
};

}  // namespace

}  // namespace texprobe

#endif
