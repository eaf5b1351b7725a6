// What is made of a run that has ended, as a table: what was recorded and said, how it ended, and
// what is to be remembered, removed or left alone.

#include "judgement.h"

#include <gtest/gtest.h>

#include <csignal>
#include <string>
#include <vector>

namespace texprobe::tests {
namespace {

using ctl::Cell;
using ctl::Flags;
using Kind = RunEnd::Kind;

/// The first tests of a run, in their order: "1" recorded as true, "0" as false, "." not at all.
/// What comes after them is not recorded.
Flags flags(const std::string& tests) {
    Flags flags;
    std::size_t i = 0;
    ctl::for_each_cell([&](const Cell& cell) {
        const char c = i < tests.size() ? tests[i++] : '.';
        if (c != '.') flags.recorded[cell.format][cell.capability] = c == '1';
    });
    return flags;
}

Flags all_true_but_the_last(char last) {
    return flags(std::string(95, '1') + last);
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
    /// One character a test: "!" a mark of the end, "n" a mark of a no that was seen, "-" the
    /// record goes, "." nothing.
    const char* judged;
};

constexpr RunEnd kCrash{Kind::kSignalled, SIGSEGV};
constexpr RunEnd kKilled{Kind::kSignalled, SIGKILL};
constexpr RunEnd kTerminated{Kind::kSignalled, SIGTERM};
constexpr RunEnd kStopped{Kind::kStopped};
constexpr RunEnd kLate{Kind::kTimeLimit};
constexpr RunEnd kDone{Kind::kExited, 0};
constexpr RunEnd kFailed{Kind::kExited, 3};
constexpr RunEnd kUnknown{Kind::kUnknown};

const JudgedRun kRuns[] = {
    // The third test was in hand.
    {"a crash", "", "", "11", "110", true, kCrash, false, "..!"},
    {"a hang", "", "", "11", "110", true, kLate, false, "..!"},
    {"a driver that exits", "", "", "11", "110", true, kFailed, false, "..!"},
    {"a driver that exits with 0", "", "", "11", "110", true, kDone, false, "..!"},
    {"an end that nobody knows", "", "", "11", "110", true, kUnknown, false, "..."},
    {"a stop is not the driver's", "", "", "11", "110", true, kStopped, false, "..-"},
    {"nor is a first kill", "", "", "11", "110", true, kKilled, false, "..-"},
    {"nor a first SIGTERM", "", "", "11", "110", true, kTerminated, false, "..-"},
    {"the second in the same test is", "", "", "11", "110", true, kKilled, true, "..!"},
    {"a stop never is", "", "", "11", "110", true, kStopped, true, "..-"},
    {"a no in between is one that was seen", "", "", "101", "1010", true, kCrash, false, ".n.!"},
    {"it continued after what was there", "11", "11", "", "110", true, kCrash, false, "..!"},
    // Others have measured meanwhile.
    {"others while it waited", "", "10", "", "100", true, kCrash, false, "..!"},
    {"others, and then it was stopped", "", "10", "", "100", true, kStopped, false, "..-"},
    {"it waits, and others have a test", "", "", "", "110", false, kCrash, false, "..."},
    {"it waits and is killed", "", "", "", "110", false, kKilled, false, "..."},
    {"it waits and is stopped", "", "", "", "110", false, kStopped, false, "..."},
    {"others went on after its end", "", "", "11", "11010", true, kCrash, false, "..!.."},
    // Its turn was seen only when the test had begun.
    {"seen late", "", "110", "11", "110", true, kCrash, false, "..!"},
    {"seen late, at the first test", "1", "10", "", "10", true, kCrash, false, ".!"},
    {"an old no is none of this run's", "10", "10", "", "10", true, kCrash, false, ".."},
    // No test was in hand.
    {"between two tests", "", "", "11", "11", true, kCrash, false, ".."},
    {"before its tests", "", "", "", "0", false, kCrash, false, "."},
    // Said and not recorded.
    {"lost between a test and its record", "", "", "11", "10", true, kCrash, false, ".-"},
    {"lost, and the next in hand", "", "", "11", "100", true, kCrash, false, ".-!"},
    {"said to be a no", "", "", "10", "10", true, kStopped, false, ".n"},
};

std::string show(const ctl::Judgement& judgement, const RunEnd& end, std::size_t length) {
    std::string text(length, '.');
    const auto put = [&](const Cell& cell, char c) {
        text.at(cell.format * ctl::kCapabilityCount + cell.capability) = c;
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
    for (const JudgedRun& run : kRuns) {
        ctl::RunFacts facts;
        facts.atStart = flags(run.atStart);
        facts.atTurn = flags(run.atTurn);
        facts.said = flags(run.said);
        facts.now = flags(run.now);
        facts.wasTesting = run.wasTesting;
        if (run.hasEndedBefore) facts.endedFromOutside.push_back({0, ctl::kUploadSet});
        facts.end = run.end;
        facts.seconds = 60;
        const std::string judged = run.judged;
        EXPECT_EQ(show(judge(facts), run.end, judged.size()), judged) << run.why;
    }
}

TEST(Judgement, finds_nothing_in_hand_where_others_have_measured_all) {
    ctl::RunFacts facts;
    facts.now = facts.atTurn = all_true_but_the_last('0');
    facts.wasTesting = true;
    facts.end = kCrash;
    EXPECT_FALSE(judge(facts).inHand);
}

TEST(Judgement, finds_the_very_last_test_in_hand) {
    ctl::RunFacts facts;
    facts.atTurn = facts.said = all_true_but_the_last('.');
    facts.now = all_true_but_the_last('0');
    facts.wasTesting = true;
    facts.end = kCrash;
    EXPECT_EQ(judge(facts).inHand, (Cell{15, ctl::kDownloadRead}));
}

TEST(Judgement, knows_what_each_end_is_called) {
    EXPECT_EQ(ctl::cause_of(kCrash, 60), ctl::Cause(ctl::Crashed{"SIGSEGV"}));
    EXPECT_EQ(ctl::cause_of(kFailed, 60), ctl::Cause(ctl::Exited{3}));
    EXPECT_EQ(ctl::cause_of(kLate, 60), ctl::Cause(ctl::Hung{60}));
    EXPECT_EQ(ctl::cause_of(kStopped, 60), std::nullopt);
}

TEST(Judgement, forgets_the_mark_of_a_record_that_is_not_false) {
    ctl::RunFacts facts;
    facts.now = flags("10");
    facts.end = kDone;
    const auto causes = judge(facts).causes;
    // All but the second.
    ASSERT_EQ(causes.size(), 95U);
    EXPECT_EQ(causes[0].first, (Cell{0, ctl::kSupported}));
    EXPECT_EQ(causes[1].first, (Cell{0, ctl::kUploadSet}));
    for (const auto& [cell, cause] : causes) EXPECT_FALSE(cause);
}

}  // namespace
}  // namespace texprobe::tests
