// What is made of a run that has ended, as a table: what was recorded and said, how it ended, and
// what is to be remembered, removed or left alone.

#include "measure/judgement.h"

#include <gtest/gtest.h>

#include <csignal>
#include <string>
#include <vector>

namespace texprobe::tests {
namespace {

using ctl::Cell;
using ctl::Flags;

/// The first tests of a run, in their order: "1" recorded as true, "0" as false, "." not at all.
/// What comes after them is not recorded.
Flags recorded_as(const std::string& tests) {
    Flags flags;
    std::size_t i = 0;
    ctl::for_each_cell([&](const Cell& cell) {
        const char c = i < tests.size() ? tests[i++] : '.';
        if (c != '.') flags.recorded[cell.format][cell.capability] = c == '1';
    });
    return flags;
}

Flags all_true_but_the_last(char last) {
    return recorded_as(std::string(95, '1') + last);
}

/// The fields of RunFacts.
struct JudgedRun {
    const char* why;
    const char* atStart;
    const char* atTurn;
    const char* said;
    const char* now;
    bool wasTesting;
    RunEnd end;
    /// A signal from outside has ended a run in the third test before.
    bool hasEndedBefore;
    /// One character a test: "!" the end is the cause, "n" a no that was seen, "-" the
    /// record goes, "." nothing.
    const char* judged;
};

constexpr RunEnd kCrashEnd{RunEnd::Kind::kSignalled, SIGSEGV};
constexpr RunEnd kKilledEnd{RunEnd::Kind::kSignalled, SIGKILL};
constexpr RunEnd kTerminatedEnd{RunEnd::Kind::kSignalled, SIGTERM};
constexpr RunEnd kStoppedEnd{RunEnd::Kind::kStopped};
constexpr RunEnd kLateEnd{RunEnd::Kind::kTimeLimit};
constexpr RunEnd kDoneEnd{RunEnd::Kind::kExited, 0};
constexpr RunEnd kFailedEnd{RunEnd::Kind::kExited, 3};
constexpr RunEnd kUnknownEnd{RunEnd::Kind::kUnknown};

const JudgedRun kJudgedRuns[] = {
    // The third test was in hand.
    {"a crash", "", "", "11", "110", true, kCrashEnd, false, "..!"},
    {"a hang", "", "", "11", "110", true, kLateEnd, false, "..!"},
    {"a driver that exits", "", "", "11", "110", true, kFailedEnd, false, "..!"},
    {"a driver that exits with 0", "", "", "11", "110", true, kDoneEnd, false, "..!"},
    {"an end that nobody knows", "", "", "11", "110", true, kUnknownEnd, false, "..."},
    {"a stop is not the driver's", "", "", "11", "110", true, kStoppedEnd, false, "..-"},
    {"nor is a first kill", "", "", "11", "110", true, kKilledEnd, false, "..-"},
    {"nor a first SIGTERM", "", "", "11", "110", true, kTerminatedEnd, false, "..-"},
    {"the second in the same test is", "", "", "11", "110", true, kKilledEnd, true, "..!"},
    {"a stop never is", "", "", "11", "110", true, kStoppedEnd, true, "..-"},
    {"a no in between is one that was seen", "", "", "101", "1010", true, kCrashEnd, false, ".n.!"},
    {"it continued after what was there", "11", "11", "", "110", true, kCrashEnd, false, "..!"},
    // Others have measured meanwhile.
    {"others while it waited", "", "10", "", "100", true, kCrashEnd, false, "..!"},
    {"others, and then it was stopped", "", "10", "", "100", true, kStoppedEnd, false, "..-"},
    {"it waits, and others have a test", "", "", "", "110", false, kCrashEnd, false, "..."},
    {"it waits and is killed", "", "", "", "110", false, kKilledEnd, false, "..."},
    {"it waits and is stopped", "", "", "", "110", false, kStoppedEnd, false, "..."},
    {"others went on after its end", "", "", "11", "11010", true, kCrashEnd, false, "..!.."},
    // Its turn was seen only when the test had begun.
    {"seen late", "", "110", "11", "110", true, kCrashEnd, false, "..!"},
    {"seen late, at the first test", "1", "10", "", "10", true, kCrashEnd, false, ".!"},
    {"an old no is none of this run's", "10", "10", "", "10", true, kCrashEnd, false, ".."},
    // No test was in hand.
    {"between two tests", "", "", "11", "11", true, kCrashEnd, false, ".."},
    {"before its tests", "", "", "", "0", false, kCrashEnd, false, "."},
    // Said and not recorded.
    {"lost between a test and its record", "", "", "11", "10", true, kCrashEnd, false, ".-"},
    {"lost, and the next in hand", "", "", "11", "100", true, kCrashEnd, false, ".-!"},
    {"said to be a no", "", "", "10", "10", true, kStoppedEnd, false, ".n"},
};

std::string show_judgement(const ctl::Judgement& judgement, const RunEnd& end, std::size_t length) {
    std::string text(length, '.');
    const auto put = [&](const Cell& cell, char c) {
        text.at(cell.format * kCapabilityCount + cell.capability) = c;
    };
    for (const auto& [cell, cause] : judgement.causes) {
        if (!cause) continue;
        const bool isSeen = std::holds_alternative<ctl::Seen>(*cause);
        EXPECT_TRUE(isSeen || cause == ctl::cause_of(end, 60));
        put(cell, isSeen ? 'n' : '!');
    }
    for (const Cell& cell : judgement.again) put(cell, '-');
    return text;
}

TEST(Judgement, is_of_what_the_run_itself_has_written) {
    for (const JudgedRun& run : kJudgedRuns) {
        ctl::RunFacts facts;
        facts.atStart = recorded_as(run.atStart);
        facts.atTurn = recorded_as(run.atTurn);
        facts.said = recorded_as(run.said);
        facts.now = recorded_as(run.now);
        facts.wasTesting = run.wasTesting;
        if (run.hasEndedBefore) facts.endedFromOutside.push_back({0, kUploadSet});
        facts.end = run.end;
        facts.seconds = 60;
        const std::string judged = run.judged;
        EXPECT_EQ(show_judgement(judge(facts), run.end, judged.size()), judged) << run.why;
    }
}

TEST(Judgement, finds_the_very_last_test_in_hand_and_none_where_others_have_measured_all) {
    ctl::RunFacts facts;
    facts.atTurn = facts.said = all_true_but_the_last('.');
    facts.now = all_true_but_the_last('0');
    facts.wasTesting = true;
    facts.end = kCrashEnd;
    EXPECT_EQ(judge(facts).inHand, (Cell{15, kDownloadRead}));
    facts.atTurn = facts.now;
    facts.said = {};
    EXPECT_FALSE(judge(facts).inHand);
}

TEST(Judgement, calls_no_run_dead_that_ended_in_order) {
    const std::optional<ctl::Cause> crashed = ctl::Crashed{"SIGSEGV"};
    const std::optional<ctl::Cause> hung = ctl::Hung{60};
    const struct {
        RunEnd end;
        std::optional<ctl::Cause> cause;
        std::optional<ctl::Cause> deathInTest;
        std::optional<ctl::Cause> deathElsewhere;
    } runs[] = {{kDoneEnd, ctl::Exited{0}, ctl::Exited{0}, std::nullopt},
                {kFailedEnd, ctl::Exited{3}, ctl::Exited{3}, ctl::Exited{3}},
                {kCrashEnd, crashed, crashed, crashed},
                {kLateEnd, hung, hung, hung},
                {kStoppedEnd, std::nullopt, std::nullopt, std::nullopt}};
    for (const auto& run : runs) {
        EXPECT_EQ(ctl::cause_of(run.end, 60), run.cause);
        EXPECT_EQ(ctl::death_of(run.end, true, 60), run.deathInTest);
        EXPECT_EQ(ctl::death_of(run.end, false, 60), run.deathElsewhere);
    }
}

TEST(Judgement, forgets_the_cause_of_a_record_that_is_not_false) {
    ctl::RunFacts facts;
    facts.now = recorded_as("10");
    facts.end = kDoneEnd;
    const auto causes = judge(facts).causes;
    // All but the second.
    ASSERT_EQ(causes.size(), 95U);
    EXPECT_EQ(causes[0].first, (Cell{0, kSupported}));
    EXPECT_EQ(causes[1].first, (Cell{0, kUploadSet}));
    for (const auto& [cell, cause] : causes) EXPECT_FALSE(cause);
}

}  // namespace
}  // namespace texprobe::tests
