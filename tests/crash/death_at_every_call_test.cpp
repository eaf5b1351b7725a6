// Under safe mode, a process that dies at any call of a run over sixteen formats only costs the
// verdict of the test that it was in.
//
// Inside a test, the driver dies every time the test is run. Outside, it only dies once, because
// safe mode never ends if a death repeats there.

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <string>
#include <vector>

#include "doubles/fake_tool.h"
#include "driver/golden.h"
#include "support/fault_rows.h"

namespace texprobe::tests {
namespace {

constexpr std::array<const char*, 7> kWays = {"SIGSEGV",  "SIGABRT",   "SIGBUS", "SIGKILL",
                                              "_exit(1)", "exit(255)", "SIGSTOP"};
// A sample is too small for many processes.
constexpr std::size_t kShards = FAULT_STRIDE == 1 ? 16 : 4;

/// One call of a run without deaths, and what a death there is allowed to cost.
struct Call {
    enum class Place { kTest, kStore, kOutside };
    Place place;
    std::string order;  ///< Where to die, as an order to the fakes.
    std::string test;   ///< The key whose verdict it costs; empty: none.
};

/// The calls of a run and their cost, by the recording rule. Of each test:
///   read KEY             costs the test before, whose verdict is not on disk yet
///   write KEY false      the same
///   synchronize          the same
///   the test's calls     cost KEY: its false is on disk
///   write KEY verdict    the same, until the next synchronize
std::vector<Call> calls_of_a_run() {
    const std::vector<std::string> run = golden_first_run();
    std::vector<Call> calls;
    std::string unsettled;  // False on disk, with any verdict.
    const auto addUntil = [&](std::size_t end) {
        while (calls.size() < end) {
            const std::string& call = run[calls.size()];
            const bool isStore = call.compare(0, 13, "CFPreferences") == 0;
            calls.push_back({isStore ? Call::Place::kStore : Call::Place::kOutside,
                             "once at " + std::to_string(calls.size() + 1), unsettled});
        }
    };
    addUntil(golden_call("CFPreferencesGetAppBooleanValue") - 1);
    for (const GoldenTest& test : golden_tests()) {
        addUntil(calls.size() + 3);
        unsettled = test.key;
        for (std::size_t i = 1; i <= test.calls.size(); ++i) {
            calls.push_back(
                {Call::Place::kTest, "in " + test.key + " " + std::to_string(i), test.key});
        }
        addUntil(calls.size() + 1);
    }
    addUntil(golden_call("CGLDestroyContext") - 1);
    unsettled.clear();
    addUntil(run.size());
    return calls;
}

/// The records that must exist after a death in `test`: its verdict is false, and what needs it is
/// not tested.
Values expected_records(const std::string& test) {
    Values records = golden_records();
    if (test.empty()) return records;
    records[test] = "false";
    const auto erase = [&](const char* precondition, std::initializer_list<const char*> keys) {
        const std::size_t at = test.find(precondition);
        if (at == test.npos) return;
        for (const char* key : keys) records.erase(test.substr(0, at) + key);
    };
    erase("_SUPPORTED",
          {"_RENDERABLE", "_UPLOAD_SET", "_UPLOAD_RESET", "_DOWNLOAD_GET", "_DOWNLOAD_READ"});
    erase("_RENDERABLE", {"_DOWNLOAD_GET", "_DOWNLOAD_READ"});
    return records;
}

/// Runs safe mode with a death, and checks what is left.
void try_death(FakeTool* tool, const Call& call, const std::string& way, FaultCount* count) {
    SCOPED_TRACE("die " + way + " " + call.order);
    tool->remove_records();
    tool->set_script(kOneRenderer + "die " + way + " " + call.order + "\n");
    const Finished run = tool->run({"--safe"});
    const unsigned lost = differences(tool->records(), expected_records(call.test));
    EXPECT_FALSE(run.hung);
    EXPECT_TRUE(run.exited_with(0));
    EXPECT_EQ(lost, 0u);
    EXPECT_EQ(tool->has_stopped(), way == "SIGSTOP");
    EXPECT_TRUE(tool->has_died() || call.place == Call::Place::kTest);
    ++count->cases;
    count->lostVerdicts += lost;
    count->hangs += run.hung;
}

class DeathAtEveryCallTest : public testing::TestWithParam<std::size_t> {
protected:
    /// Of the calls at `place`, those of this shard, each with one way of dying.
    void try_each(Call::Place place, const std::string& fault) {
        FakeTool tool(kOneRenderer);
        FaultCount count;
        const std::vector<Call> calls = calls_of_a_run();
        for (std::size_t i = GetParam(); i < calls.size(); i += kShards * FAULT_STRIDE) {
            if (calls[i].place != place) continue;
            try_death(&tool, calls[i], kWays[i / kShards % 6], &count);
        }
        write_fault_row(fault, std::to_string(GetParam()), count);
    }
};

TEST_P(DeathAtEveryCallTest, inside_a_test_costs_that_verdict_alone) {
    try_each(Call::Place::kTest, "Driver dies at a call inside a test, whenever it is tried");
}

TEST_P(DeathAtEveryCallTest, at_a_store_operation_costs_at_most_the_verdict_not_yet_on_disk) {
    try_each(Call::Place::kStore, "Process dies before a store operation");
}

INSTANTIATE_TEST_SUITE_P(Shard, DeathAtEveryCallTest, testing::Range<std::size_t>(0, kShards));

TEST(DeathOutsideTest, outside_the_tests_costs_at_most_the_verdict_not_yet_on_disk) {
    FakeTool tool(kOneRenderer);
    FaultCount count;
    std::size_t way = 0;
    for (const Call& call : calls_of_a_run()) {
        if (call.place == Call::Place::kOutside) {
            try_death(&tool, call, kWays[way++ % 6], &count);
        }
    }
    EXPECT_GT(count.cases, 20u);
    write_fault_row("Driver dies at a call outside the tests", "all", count);
}

class WayOfDyingTest : public testing::TestWithParam<const char*> {};

TEST_P(WayOfDyingTest, costs_no_more_than_any_other) {
    // Every call in every way takes minutes, so only `scripts/check/faults --every-way` does that.
    // The usual step has no common factor with the number of calls per format.
    const bool every = std::getenv("EVERY_WAY") != nullptr;
    const std::size_t step = every ? 1 : 101 * FAULT_STRIDE;
    FakeTool tool(kOneRenderer);
    FaultCount count;
    const std::vector<Call> calls = calls_of_a_run();
    for (std::size_t i = every ? 0 : 7; i < calls.size(); i += step) {
        try_death(&tool, calls[i], GetParam(), &count);
    }
    EXPECT_GT(count.cases, 0u);
    write_fault_row(std::string("Any call, by ") + GetParam(), "sample", count);
}

INSTANTIATE_TEST_SUITE_P(Ways, WayOfDyingTest, testing::ValuesIn(kWays), [](const auto& test) {
    std::string name = test.param;
    for (char& c : name) {
        if (c == '(' || c == ')') c = '_';
    }
    return name;
});

}  // namespace
}  // namespace texprobe::tests
