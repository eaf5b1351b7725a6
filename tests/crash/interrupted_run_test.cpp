// Runs that are interrupted, or whose output is closed: the next run ends with the records of an
// undisturbed one.

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>

#include "doubles/fake_tool.h"
#include "driver/golden.h"
#include "support/fault_rows.h"

namespace texprobe::tests {
namespace {

constexpr unsigned kMoments = 200;

/// Compares the records after the next run with those of an undisturbed run.
void run_again(FakeTool* tool, FaultCount* count) {
    tool->set_script(kOneRenderer);
    const Finished run = tool->run();
    const Values records = tool->records();
    EXPECT_TRUE(run.exited_with(0));
    EXPECT_EQ(records, golden_records());
    ++count->cases;
    count->lostVerdicts += differences(records, golden_records());
    count->hangs += run.hung;
}

class InterruptedRunTest : public testing::TestWithParam<const char*> {};

TEST_P(InterruptedRunTest, costs_nothing_at_any_moment) {
    const auto calls = static_cast<unsigned>(golden_first_run().size());
    FakeTool tool(kOneRenderer);
    FaultCount count;
    for (unsigned moment = 0; moment < kMoments; moment += FAULT_STRIDE) {
        const unsigned call = 1 + moment * calls / kMoments;
        SCOPED_TRACE(call);
        tool.remove_records();
        tool.set_script(kOneRenderer + "interrupt " + std::to_string(call) + " " + GetParam() +
                        "\n");
        EXPECT_TRUE(WIFSIGNALED(tool.run().status));
        run_again(&tool, &count);
    }
    write_fault_row("Interruption by SIGINT, SIGTERM or SIGHUP", GetParam(), count);
}

INSTANTIATE_TEST_SUITE_P(By, InterruptedRunTest, testing::Values("SIGINT", "SIGTERM", "SIGHUP"),
                         [](const auto& test) { return std::string(test.param); });

/// Runs shell words in which TOOL is the tool.
int run_in_shell(const FakeTool& tool, const std::string& words) {
    return tests::run_in_shell("TOOL='" + tool.path() + "'; LC_ALL=C; " + words);
}

TEST(ClosedOutputTest, costs_nothing_after_any_line) {
    FakeTool tool(kOneRenderer);
    FaultCount count;
    for (unsigned lines = 0; lines < 180; lines += 1 + 5 * FAULT_STRIDE) {
        SCOPED_TRACE(lines);
        tool.remove_records();
        run_in_shell(tool, "timeout 120 \"$TOOL\" 2>&1 >/dev/null | head -n " +
                               std::to_string(lines) + " >/dev/null");
        run_again(&tool, &count);
    }
    write_fault_row("Outputs closed while the tool runs", "reader", count);
}

TEST(ClosedOutputTest, does_not_keep_safe_mode_from_its_end) {
    FakeTool tool(kOneRenderer);
    EXPECT_EQ(run_in_shell(tool,
                           "{ timeout 60 \"$TOOL\" --safe 2>/dev/null; echo $? >&3; } 3>\""
                           "$TOOL.status\" | true; exit $(cat \"$TOOL.status\")"),
              0);
    EXPECT_EQ(tool.records(), golden_records());
}

TEST(ClosedOutputTest, that_may_not_grow_does_not_end_the_run) {
    FakeTool tool(kOneRenderer);
    FaultCount count;
    // In blocks of 512 bytes: the output is cut off, and there is no room for the records.
    EXPECT_EQ(run_in_shell(tool, "ulimit -f 8; timeout 120 \"$TOOL\" >\"$TOOL.big\" 2>&1"), 0);
    tool.remove_records();
    run_again(&tool, &count);
    write_fault_row("Outputs closed while the tool runs", "limit", count);
}

}  // namespace
}  // namespace texprobe::tests
