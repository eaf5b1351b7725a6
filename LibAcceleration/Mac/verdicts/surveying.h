// The survey in the background.

#ifndef TEXPROBE_VERDICTS_SURVEYING_H
#define TEXPROBE_VERDICTS_SURVEYING_H

#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "runs/attempts.h"
#include "verdicts/background_program.h"
#include "verdicts/survey_sets.h"

namespace texprobe {

namespace {

/// More than a driver needs that dies in each use of each format.
constexpr int kMostSurveyRuns = 2000;

class BackgroundSurvey : public BackgroundProgram {
public:
    /// Called once, with the verdicts and with what is to be said of them.
    using Found = std::function<void(SurveyAnswers verdicts, const std::string& reason)>;

    /// Only the asking context's profile is surveyed, and first its renderer.
    BackgroundSurvey(SurveysOfMachine& surveys, Program program, const Background& background,
                     Found found)
        : BackgroundProgram("texprobe-survey", std::move(program), background),
          surveys_(surveys),
          found_(std::move(found)) {}

    /// Returns why there are no verdicts; empty when they were found, or are being closed. `isRead`
    /// and `messages`: as with the tool.
    std::string run(bool isRead, const std::vector<std::string>& messages) {
        say(messages);
        if (!isRead && find()) return {};
        std::size_t recorded = surveys_.fingerprint();
        bool hasHung = false;
        for (Attempts attempts(kMostSurveyRuns, 1); !outcome_.is_closing();) {
            attempts.begin_run();
            program_.arguments = {"--profile", name_of(surveys_.profile()), "--first",
                                  surveys_.renderer()};
            if (hasHung) program_.arguments.emplace_back("--after-hang");
            const RunEnd end = run_once();
            using Kind = RunEnd::Kind;
            if (end.kind == Kind::kStopped) return {};
            if (end.kind == Kind::kNotStarted) {
                return describe_failed_start(program_.path, end.number) +
                       (isStoreRead_ ? "" : "; " + describe_unread());
            }
            if (find()) return {};
            const std::size_t before = std::exchange(recorded, surveys_.fingerprint());
            attempts.end_run(recorded != before);
            const bool isWhole = end.kind == Kind::kExited && end.number == 0;
            if (isWhole || attempts.are_in_vain() || attempts.are_used_up()) {
                std::string reason = isWhole ? "" : describe(end) + "; ";
                reason += isStoreRead_ ? surveys_.describe_mismatch() : describe_unread();
                return reason + describe_trouble();
            }
            hasHung = end.kind == Kind::kTimeLimit;
            log_(describe(end) + "; it is started again and continues with the next use");
        }
        return {};
    }

private:
    bool find() override {
        const PlatformMessages messages;
        SurveyFinding finding = surveys_.look();
        say(messages.lines());
        isStoreRead_ = finding.isRead;
        if (!finding.answers) return false;
        found_(std::move(*finding.answers), surveys_.describe_differences(finding.differences));
        return true;
    }

    void tell_progress() override {
        const PlatformMessages messages;
        surveys_.refresh();
        outcome_.progress(surveys_.count_done(), surveys_.count_all());
        say(messages.lines());
    }

    /// "org.texprobe.survey1.ff.22G120[4711] core GL_RGBA8: ..."
    bool take(std::string_view line) override {
        const std::size_t begin = line.find(survey::kDomain);
        return begin != std::string_view::npos && line.find("] ", begin) != std::string_view::npos;
    }

    const char* words_for_waiting() const override {
        return "texprobe-survey waits for a run of texprobe";
    }
    const char* words_for_measuring() const override {
        return "texprobe-survey surveys this machine's renderers";
    }

    SurveysOfMachine& surveys_;
    const Found found_;
    bool isStoreRead_ = true;
};

}  // namespace

}  // namespace texprobe

#endif
