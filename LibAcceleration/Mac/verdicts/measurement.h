// The tool in the background.

#ifndef TEXPROBE_VERDICTS_MEASUREMENT_H
#define TEXPROBE_VERDICTS_MEASUREMENT_H

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "runs/attempts.h"
#include "verdicts/background_program.h"
#include "verdicts/record_sets.h"
#include "verdicts/said_by_tool.h"

namespace texprobe {

namespace {

/// Each of the tests may end a run, but so many runs cannot all be accidents.
constexpr int kMostRuns = 200;

class BackgroundRuns : public BackgroundProgram {
public:
    /// Called once, with the verdicts and with what is to be said of them.
    using Found = std::function<void(const Answers& verdicts, const std::string& reason)>;

    BackgroundRuns(const SetsOfMachine& sets, Program program, const Background& background,
                   Found found)
        : BackgroundProgram("texprobe", std::move(program), background),
          sets_(sets),
          found_(std::move(found)) {}

    /// Returns why there are no verdicts; empty when they were found, or are being closed.
    /// `isRead`: have the records been read before? `messages` were printed by that.
    std::string run(bool isRead, const std::vector<std::string>& messages) {
        say(messages);
        // Another process may have held the store only for a moment.
        if (!isRead && find()) return {};
        std::size_t decided = count_decided();
        for (Attempts attempts(kMostRuns, 1); !outcome_.is_closing();) {
            attempts.begin_run();
            said_ = {};
            const RunEnd end = run_once();
            using Kind = RunEnd::Kind;
            if (end.kind == Kind::kStopped) return {};
            if (end.kind == Kind::kNotStarted) {
                return describe_failed_start(program_.path, end.number) +
                       (isStoreRead_ ? "" : "; " + describe_unread());
            }
            if (find()) return {};
            if (isInHand_ && !attempts.are_used_up()) {
                log_(
                    "another run of texprobe has begun; texprobe is started again and waits for "
                    "it");
                continue;
            }
            const bool isWhole = end.kind == Kind::kExited && end.number == 0;
            if (isWhole && find_said_verdicts()) return {};
            const std::size_t before = std::exchange(decided, count_decided());
            attempts.end_run(decided > before);
            if (isWhole || attempts.are_in_vain() || attempts.are_used_up()) {
                return describe(end, isWhole);
            }
            log_(BackgroundProgram::describe(end) +
                 "; it is started again and continues with the next test");
        }
        return {};
    }

private:
    bool find() override {
        const PlatformMessages messages;
        const Finding finding = sets_.look();
        say(messages.lines());
        isStoreRead_ = finding.isRead;
        isInHand_ = finding.isInHand;
        if (!finding.verdicts) return false;
        found_(*finding.verdicts, sets_.describe_differences(finding.differences));
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
        found_(*finding.verdicts, reason);
        return true;
    }

    void tell_progress() override { count_decided(); }
    std::size_t count_decided() {
        const PlatformMessages messages;
        sets_.refresh();
        const std::size_t count = sets_.count_decided();
        say(messages.lines());
        outcome_.progress(count, sets_.count_all());
        return count;
    }

    /// Why there are no verdicts after a run that was the last one.
    std::string describe(const RunEnd& end, bool isWhole) const {
        const std::string build = get_system_version();
        if (!toolBuild_.empty() && toolBuild_ != build) {
            return "\"" + program_.path +
                   "\" is of another architecture: it measures for the system's build " +
                   toolBuild_ + ", and this process is of " + build;
        }
        std::string reason;
        if (!isWhole) reason = BackgroundProgram::describe(end) + "; ";
        reason += isStoreRead_ ? sets_.describe_mismatch(said_) : describe_unread();
        return reason + describe_trouble();
    }

    bool take(std::string_view line) override {
        const auto ofRenderer = line_of_renderer(line);
        if (!ofRenderer || ofRenderer->build().empty()) return false;
        toolBuild_ = ofRenderer->build();
        said_.take(*ofRenderer);
        return true;
    }

    const char* words_for_waiting() const override {
        return "texprobe waits for another run of it";
    }
    const char* words_for_measuring() const override {
        return "texprobe measures this machine's renderers";
    }

    const SetsOfMachine& sets_;
    const Found found_;
    bool isStoreRead_ = true;
    bool isInHand_ = false;
    SaidByTool said_;
    std::string toolBuild_;
};

}  // namespace

}  // namespace texprobe

#endif
