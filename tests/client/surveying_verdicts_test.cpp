// A survey in the background, what an application chooses to have measured, and how it is told.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "scripted_verdicts.h"

namespace texprobe::tests {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::Gt;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Lt;

constexpr int kAll = TEXPROBE_MEASURE_ALL;
constexpr int kNothing = TEXPROBE_MEASURE_NOTHING;

/// What an application is told, and on which thread.
struct Told {
    std::atomic<int> count{0};
    std::thread::id thread;
    std::thread::id logThread;
    std::atomic<bool> isOpened{false};
    bool wasOpened = false;

    texprobe_options options(const std::string& tool) {
        return {sizeof(texprobe_options), tool.c_str(), 0, log, this, 0, done};
    }

private:
    static void done(void* user) {
        auto& self = *static_cast<Told*>(user);
        self.thread = std::this_thread::get_id();
        self.wasOpened = self.isOpened.load();
        ++self.count;
    }
    static void log(void* user, const char*) {
        static_cast<Told*>(user)->logThread = std::this_thread::get_id();
    }
};

class SurveyingVerdicts : public ScriptedSurvey {
protected:
    static void be_in_a_compatibility_context() { be_in("2.1 Version"); }
    /// The first lines of a script that records, until about its half.
    static std::string half_of(const std::string& lines, const std::string& application) {
        return lines.substr(0, lines.find("set ", lines.size() / 2)) + "sync " + application + "\n";
    }
};

TEST_F(SurveyingVerdicts, need_only_a_survey_of_the_core_profile_in_a_core_context) {
    script_survey("sleep 300\n" + core_survey());
    open();
    EXPECT_EQ(verdicts_->state(), TEXPROBE_MEASURING);
    EXPECT_EQ(verdicts_->use(kRGBA8, TEXPROBE_CREATE), TEXPROBE_UNKNOWN);
    EXPECT_STREQ(verdicts_->reason(), "texprobe measures this machine's renderers");
    EXPECT_EQ(verdicts_->wait(), TEXPROBE_READY) << verdicts_->reason();
    EXPECT_EQ(verdicts_->use(kRGBA8, TEXPROBE_CREATE), TEXPROBE_YES);
    EXPECT_EQ(verdicts_->progress(), 1.0);
    EXPECT_THAT(survey_runs(), ElementsAre("run --profile core --first Renderer"));
    EXPECT_EQ(runs(), 0) << "of the tool";

    EXPECT_EQ(measure(), TEXPROBE_READY);
    EXPECT_EQ(survey_runs().size(), 1u);
}

TEST_F(SurveyingVerdicts, are_of_the_tool_alone_of_all_or_nothing_as_the_application_wishes) {
    be_in_a_compatibility_context();
    script(complete_set());
    script_survey(compatibility_survey());
    EXPECT_EQ(measure_as_wished(kNothing), TEXPROBE_FAILED);
    EXPECT_EQ(reason_,
              "no renderer of this machine is the context's, \"Renderer\" of \"Vendor\", version "
              "\"2.1 Version\"; recorded: nothing of nothing, version nothing, nothing of nothing, "
              "version nothing");
    EXPECT_EQ(runs(), 0);
    EXPECT_EQ(measure(), TEXPROBE_READY) << reason_;
    EXPECT_EQ(runs(), 1);
    EXPECT_THAT(survey_runs(), IsEmpty());
    EXPECT_EQ(measure_as_wished(kAll), TEXPROBE_READY) << reason_;
    EXPECT_EQ(runs(), 1);
    EXPECT_THAT(survey_runs(), ElementsAre("run --profile compatibility --first Renderer"));
    EXPECT_EQ(verdicts_->use(kRGBA8, TEXPROBE_FILTER), TEXPROBE_YES);
    EXPECT_EQ(answer(kRGBA8, TEXPROBE_RENDERABLE), TEXPROBE_YES);
    EXPECT_EQ(measure_as_wished(kNothing), TEXPROBE_READY);
    EXPECT_EQ(measure_as_wished(3), TEXPROBE_FAILED);
    EXPECT_EQ(reason_, "texprobe_options.measure is 3; it must be a texprobe_measure");
}

TEST_F(SurveyingVerdicts, answer_from_a_survey_alone_where_nothing_is_measured) {
    be_in_a_compatibility_context();
    record(compatibility_survey());
    EXPECT_EQ(measure_as_wished(kNothing), TEXPROBE_READY) << reason_;
    EXPECT_EQ(verdicts_->use(kRGBA8, TEXPROBE_FILTER), TEXPROBE_YES);
    EXPECT_EQ(answer(kRGBA8, TEXPROBE_RENDERABLE), TEXPROBE_UNKNOWN);
    EXPECT_THAT(reason_, HasSubstr("the tool's verdicts are unknown: no renderer of this machine"));
}

TEST_F(SurveyingVerdicts, are_ready_without_what_the_context_does_not_need) {
    script("raise 11\n");
    script_survey(core_survey());
    EXPECT_EQ(measure_as_wished(kAll), TEXPROBE_READY) << reason_;
    EXPECT_THAT(reason_, HasSubstr("the tool's verdicts are unknown: texprobe was ended by signal "
                                   "11; "));
    EXPECT_EQ(answer(kRGBA8, TEXPROBE_SUPPORTED), TEXPROBE_YES);

    be_in_a_compatibility_context();
    script(complete_set());
    std::filesystem::remove(folder_.path() / "texprobe-survey");
    EXPECT_EQ(measure_as_wished(kAll), TEXPROBE_READY) << reason_;
    EXPECT_EQ(reason_, "the survey's verdicts are unknown: \"" + folder_.path().string() +
                           "/texprobe-survey\" was not found");
}

TEST_F(SurveyingVerdicts, continue_after_a_crash_and_after_a_hang_of_the_survey) {
    script_survey(format_record("measuring%n") + "raise 11\n", 1);
    script_survey(format_record("create started%n") + "hang\n", 2);
    script_survey(core_survey(), 3);
    EXPECT_EQ(measure(1500), TEXPROBE_READY) << reason_;
    EXPECT_THAT(survey_runs(), ElementsAre("run --profile core --first Renderer",
                                           "run --profile core --first Renderer",
                                           "run --profile core --first Renderer --after-hang"));
}

TEST_F(SurveyingVerdicts, are_prolonged_by_the_survey_s_own_lines) {
    std::string steps;
    for (int i = 0; i < 20; ++i) {
        steps += std::string("say ") + kFirstSurvey + "[%p] core GL_R8: step\nsleep 100\n";
    }
    script_survey(steps + core_survey());
    EXPECT_EQ(measure(1500), TEXPROBE_READY) << reason_;
}

TEST_F(SurveyingVerdicts, say_why_there_are_none_after_one_survey) {
    script_survey("raise 11\n");
    EXPECT_EQ(measure(), TEXPROBE_FAILED);
    EXPECT_EQ(survey_runs().size(), 1u);
    EXPECT_THAT(reason_, HasSubstr("texprobe-survey was ended by signal 11; no core context of "));
    script_survey("say *** texprobe records: cannot use /home: No space left on device\nexit 1\n");
    EXPECT_EQ(measure(), TEXPROBE_FAILED);
    EXPECT_THAT(reason_,
                HasSubstr("; texprobe-survey says: *** texprobe records: cannot use /home: "));
    std::filesystem::remove(folder_.path() / "texprobe-survey");
    EXPECT_EQ(measure(), TEXPROBE_FAILED);
    EXPECT_EQ(reason_, "\"" + folder_.path().string() + "/texprobe-survey\" was not found");
}

TEST_F(SurveyingVerdicts, show_the_progress_of_both_which_never_falls) {
    be_in_a_compatibility_context();
    machine().displays = {{1, {{0xff}}}};
    script(half_of(complete_set(), kFirst) + "sleep 700\n" + complete_set());
    script_survey("sleep 700\n" + half_of(compatibility_survey(), kFirstSurvey) + "sleep 700\n" +
                  compatibility_survey());
    texprobe_options wish = options();
    wish.measure = kAll;
    verdicts_.emplace(&wish);
    const std::vector<double> seen = progress_until_over();
    EXPECT_EQ(verdicts_->state(), TEXPROBE_READY) << verdicts_->reason();
    EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end())) << testing::PrintToString(seen);
    EXPECT_THAT(seen, Each(Lt(1.0)));
    EXPECT_THAT(seen, Contains(AllOf(Gt(0.0), Lt(0.1))));
    EXPECT_THAT(seen, Contains(AllOf(Gt(0.3), Lt(0.9))));
    EXPECT_EQ(verdicts_->progress(), 1.0);
}

TEST_F(SurveyingVerdicts, are_ready_while_another_renderer_is_measured_which_is_interrupted) {
    constexpr int kLessThanATest = 20000;
    script_survey(core_survey() + "hang\n");
    open();
    EXPECT_EQ(verdicts_->wait(kLessThanATest), TEXPROBE_READY);
    be_in_a_compatibility_context();
    script(complete_set() + "hang\n");
    open();
    EXPECT_EQ(verdicts_->wait(kLessThanATest), TEXPROBE_READY);
    verdicts_.reset();
    EXPECT_EQ(runs(), 1);
    EXPECT_EQ(survey_runs().size(), 1u);
}

TEST_F(SurveyingVerdicts, tell_once_that_they_are_done_on_the_log_s_thread_and_after_open) {
    const auto tell = [this](const std::string& lines) {
        Told told;
        script_survey(lines);
        const texprobe_options wish = told.options(tool_);
        verdicts_.emplace(&wish);
        told.isOpened = true;
        verdicts_->wait();
        while (told.count == 0) std::this_thread::yield();
        verdicts_.reset();
        EXPECT_EQ(told.count, 1);
        EXPECT_NE(told.thread, std::this_thread::get_id());
        if (told.logThread != std::thread::id()) {
            EXPECT_EQ(told.thread, told.logThread);
        }
        return told.wasOpened;
    };
    EXPECT_TRUE(tell("sleep 100\nsay line\nraise 11\n"));
    EXPECT_TRUE(tell("sleep 100\nsay line\n" + core_survey()));
    tell("exit 1\n");
}

TEST_F(SurveyingVerdicts, tell_that_they_are_done_although_they_are_closed_at_once) {
    record(core_survey());
    Told told;
    const texprobe_options wish = told.options(tool_);
    for (int i = 1; i <= 20; ++i) {
        verdicts_.emplace(&wish);
        verdicts_.reset();
        EXPECT_EQ(told.count, i);
    }
}

TEST_F(SurveyingVerdicts, tell_nothing_when_they_are_closed_while_measuring) {
    Told told;
    script_survey("hang\n");
    const texprobe_options wish = told.options(tool_);
    verdicts_.emplace(&wish);
    EXPECT_EQ(verdicts_->wait(50), TEXPROBE_MEASURING);
    verdicts_.reset();
    EXPECT_EQ(told.count, 0);
}

TEST_F(SurveyingVerdicts, can_be_moved) {
    record(core_survey());
    const texprobe_options wish = options();
    qor::TexProbeVerdicts first(&wish);
    qor::TexProbeVerdicts second(std::move(first));
    EXPECT_EQ(second.wait(), TEXPROBE_READY);
    EXPECT_EQ(first.state(), TEXPROBE_FAILED);  // NOLINT(bugprone-use-after-move)
    qor::TexProbeVerdicts third(&wish);
    third = std::move(second);
    EXPECT_EQ(third.answer(kRGBA8, TEXPROBE_SUPPORTED), TEXPROBE_YES);
    EXPECT_EQ(second.progress(), 0.0);  // NOLINT(bugprone-use-after-move)
}

TEST_F(SurveyingVerdicts, are_of_a_library_with_the_version_of_the_release) {
    const std::string release = PROJECT_VERSION;
    const std::size_t point = release.find('.');
    const int number = std::stoi(release) * 10000 + std::stoi(release.substr(point + 1)) * 100;
    EXPECT_EQ(texprobe_version(), number);
    EXPECT_EQ(TEXPROBE_VERSION, number);
}

}  // namespace
}  // namespace texprobe::tests
