// The survey in the background.

#ifndef TEXPROBE_VERDICTS_SURVEYING_H
#define TEXPROBE_VERDICTS_SURVEYING_H

#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "verdicts/background_program.h"
#include "verdicts/survey_sets.h"

namespace texprobe {

namespace {

/// More than a driver needs that dies in each use of each format.
constexpr int kMostSurveyRuns = 2000;

class BackgroundSurvey : public BackgroundProgram {
public:
    /// Called once, with the verdicts and the line about them.
    using Found = std::function<void(SurveyAnswers verdicts, const std::string& reason)>;

    /// Only the asking context's profile is surveyed, and first its renderer.
    BackgroundSurvey(SurveysOfMachine& surveys, Program program, const Background& background,
                     Found found)
        : BackgroundProgram("texprobe-survey", "use", kMostSurveyRuns, std::move(program),
                            background),
          surveys_(surveys),
          found_(std::move(found)) {}

private:
    void begin_run(bool hasHung) override {
        program_.arguments = {"--profile", name_of(surveys_.profile()), "--first",
                              surveys_.renderer()};
        if (hasHung) program_.arguments.emplace_back("--after-hang");
    }

    bool find() override {
        const PlatformMessages messages;
        SurveyFinding finding = surveys_.look();
        say(messages.lines());
        isStoreRead_ = finding.isRead;
        if (!finding.answers) return false;
        found_(std::move(*finding.answers), surveys_.describe_differences(finding.differences));
        return true;
    }

    bool records_more() override {
        const std::size_t before = std::exchange(recorded_, surveys_.fingerprint());
        return recorded_ != before;
    }

    std::string describe_mismatch() const override { return surveys_.describe_mismatch(); }

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
    std::size_t recorded_ = 0;
};

}  // namespace

}  // namespace texprobe

#endif
