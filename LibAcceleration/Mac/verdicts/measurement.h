// The tool in the background.

#ifndef TEXPROBE_VERDICTS_MEASUREMENT_H
#define TEXPROBE_VERDICTS_MEASUREMENT_H

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "verdicts/background_program.h"
#include "verdicts/record_sets.h"
#include "verdicts/said_by_tool.h"

namespace texprobe {

namespace {

/// Each of the tests may end a run, but so many runs cannot all be accidents.
constexpr int kMostRuns = 200;

class BackgroundRuns : public BackgroundProgram {
public:
    /// Called once, with the verdicts and the line about them.
    using Found = std::function<void(const Answers& verdicts, const std::string& reason)>;

    BackgroundRuns(const SetsOfMachine& sets, Program program, const Background& background,
                   Found found)
        : BackgroundProgram("texprobe", "test", kMostRuns, std::move(program), background),
          sets_(sets),
          found_(std::move(found)) {}

private:
    void begin_run(bool /*hasHung*/) override { said_ = {}; }

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

    bool find_unrecorded() override {
        const Finding finding = sets_.look(said_);
        if (!finding.verdicts) return false;
        std::string reason = "the verdicts are not recorded, and will be measured again";
        if (!recordsTrouble_.empty()) reason += ": " + recordsTrouble_;
        const std::string differences = sets_.describe_differences(finding.differences);
        if (!differences.empty()) reason += "; " + differences;
        found_(*finding.verdicts, reason);
        return true;
    }

    bool records_more() override {
        const std::size_t before = std::exchange(decided_, count_decided());
        return decided_ > before;
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

    std::string describe_mismatch() const override { return sets_.describe_mismatch(said_); }

    std::string describe_failure(const RunEnd& end, bool isWhole) const override {
        const std::string build = get_system_version();
        if (!toolBuild_.empty() && toolBuild_ != build) {
            return "\"" + program_.path +
                   "\" is of another architecture: it measures for the system's build " +
                   toolBuild_ + ", and this process is of " + build;
        }
        return BackgroundProgram::describe_failure(end, isWhole);
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
    std::size_t decided_ = 0;
    SaidByTool said_;
    std::string toolBuild_;
};

}  // namespace

}  // namespace texprobe

#endif
