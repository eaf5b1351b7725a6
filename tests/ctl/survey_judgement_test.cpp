// What becomes of the survey's records that a run has left under way.

#include <gtest/gtest.h>

#include <csignal>

#include "measure/survey_runs.h"

namespace texprobe::tests {
namespace {

using Kind = RunEnd::Kind;

const char* const kFormatKey = "core.GL_R8UI";

/// The record after that end; "-" for one that is removed, "=" for one that stays.
std::string judged(const std::string& key, const std::string& text, const ctl::SurveyEnd& end,
                   std::set<std::string>* former, const ctl::SurveyTexts& before = {}) {
    const auto judgement = ctl::judge_survey(before, {{key, text}}, end, former);
    if (judgement.changes.empty()) return "=";
    const ctl::KeyChange& change = judgement.changes.at(key);
    return change ? std::get<std::string>(*change) : "-";
}

std::string judged(const std::string& text, const RunEnd& end, const std::string& key = kFormatKey,
                   const ctl::SurveyTexts& before = {}) {
    std::set<std::string> former;
    return judged(key, text, {end, false, 7}, &former, before);
}

TEST(SurveyJudgement, of_a_fault_or_a_hang_is_on_the_use_that_was_under_way) {
    const std::string text = "create yes\nmipmap started\n";
    EXPECT_EQ(judged(text, {Kind::kSignalled, SIGABRT}),
              "create yes\nmipmap crashed: ended by SIGABRT\n");
    EXPECT_EQ(judged(text, {Kind::kExited, 3}),
              "create yes\nmipmap crashed: ended the tool with status 3\n");
    EXPECT_EQ(judged(text, {Kind::kTimeLimit}),
              "create yes\nmipmap hung: did not end within 7 s\n");
}

TEST(SurveyJudgement, leaves_to_the_next_run_what_does_not_tell_the_use) {
    for (const RunEnd& end : {RunEnd{Kind::kSignalled, SIGSEGV}, RunEnd{Kind::kTimeLimit}}) {
        EXPECT_EQ(judged("measuring\n", end), "=");
        EXPECT_EQ(judged("opening", end, "core"), "=");
    }
    EXPECT_EQ(judged("opening again", {Kind::kSignalled, SIGSEGV}, "core"), "=");
    EXPECT_EQ(judged("opening again", {Kind::kTimeLimit}, "core"), "hung");
}

TEST(SurveyJudgement, of_an_end_from_outside_leaves_no_trace) {
    for (const RunEnd& end : {RunEnd{Kind::kStopped}, RunEnd{Kind::kSignalled, SIGKILL},
                              RunEnd{Kind::kSignalled, SIGTERM}, RunEnd{Kind::kUnknown}}) {
        EXPECT_EQ(judged("measuring\n", end), "-");
        EXPECT_EQ(judged("create started\n", end), "-");
        EXPECT_EQ(judged("create yes\nmipmap started\n", end), "create yes\n");
        EXPECT_EQ(judged("opening", end, "core"), "-");
        EXPECT_EQ(judged("opening", end, "core", {{"core", "4.6"}}), "4.6");
    }
}

TEST(SurveyJudgement, of_two_kills_in_the_same_use_is_on_the_driver) {
    std::set<std::string> former;
    const ctl::SurveyEnd killed = {{Kind::kSignalled, SIGKILL}, false, 7};
    EXPECT_EQ(judged(kFormatKey, "create started\n", killed, &former), "-");
    EXPECT_EQ(judged("core.GL_R8I", "create started\n", killed, &former), "-");
    EXPECT_EQ(judged(kFormatKey, "create started\n", killed, &former),
              "create crashed: ended by SIGKILL\n");
}

TEST(SurveyJudgement, blames_no_driver_for_records_that_could_not_be_written) {
    std::set<std::string> former;
    const ctl::SurveyEnd full = {{Kind::kExited, 1}, true, 7};
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(judged(kFormatKey, "create yes\nrender started\n", full, &former),
                  "create yes\n");
    }
}

TEST(SurveyJudgement, is_on_nothing_that_the_run_has_not_touched) {
    const std::string text = "create started\n";
    EXPECT_EQ(judged(text, {Kind::kSignalled, SIGSEGV}, kFormatKey, {{kFormatKey, text}}), "=");
    EXPECT_EQ(judged("create yes\n", {Kind::kSignalled, SIGSEGV}), "=");
    EXPECT_EQ(judged("4.6", {Kind::kSignalled, SIGSEGV}, "core"), "=");
}

}  // namespace
}  // namespace texprobe::tests
