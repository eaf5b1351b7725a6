// Under safe mode, a process that dies at any call of a run over sixteen formats only costs the
// verdict of the test that it was in.
//
// Inside a test, the driver dies every time the test is run. Outside, it only dies once, because
// safe mode never ends if a death repeats there.

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <utility>

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

bool begins_with(const std::string& text, const std::string& word) {
    return text.compare(0, word.size(), word) == 0;
}

/// The key of a flag that a call writes; empty for any other call.
std::string written_flag(const std::string& call) {
    const std::string write = "CFPreferencesSetAppValue(";
    if (!begins_with(call, write)) return {};
    const std::string rest = call.substr(write.size());
    const bool isFlag = rest.find(", true, ") != rest.npos || rest.find(", false, ") != rest.npos;
    return isFlag ? rest.substr(0, rest.find(',')) : std::string();
}

/// The calls of a run and their cost, by the recording rule. Of each test:
///   write KEY false      costs the test before, whose verdict is not on disk yet
///   synchronize          the same
///   the test's calls     cost KEY: its false is on disk
///   write KEY verdict    the same, until the next synchronize
std::vector<Call> calls_of_a_run() {
    const FakeTool tool(kOneRenderer + "log\n");
    tool.run();
    std::vector<Call> calls;
    std::string provisional;  // Written as false, not on disk yet.
    std::string unsettled;    // False on disk, with any verdict.
    unsigned callsInTest = 0;
    bool isInTest = false;
    const std::vector<std::string> lines = tool.calls();
    for (std::size_t i = 1; i < lines.size(); ++i) {
        const std::string& line = lines[i];
        const std::string flag = written_flag(line);
        if (isInTest && flag.empty()) {
            const std::string order = "in " + unsettled + " " + std::to_string(++callsInTest);
            calls.push_back({Call::Place::kTest, order, unsettled});
            continue;
        }
        const bool isStore = begins_with(line, "CFPreferences");
        calls.push_back({isStore ? Call::Place::kStore : Call::Place::kOutside,
                         "once at " + std::to_string(i), unsettled});
        if (isInTest) {
            isInTest = false;
        } else if (!flag.empty()) {
            provisional = flag;
        } else if (begins_with(line, "CFPreferencesAppSynchronize")) {
            unsettled = std::exchange(provisional, {});
            isInTest = !unsettled.empty();
            callsInTest = 0;
        }
    }
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

TEST(CallsOfARun, are_of_a_known_number_at_each_place) {
    std::array<std::size_t, 3> counts = {};
    std::size_t unsettled = 0;
    for (const Call& call : calls_of_a_run()) {
        ++counts[static_cast<std::size_t>(call.place)];
        unsettled += call.place == Call::Place::kOutside && !call.test.empty();
    }
    // Six tests of 3, 4, 35, 33, 29 and 29 calls. Per flag: a read, a write, a synchronize and a
    // write. Besides: the version's read, write and synchronize, sixteen removals, three strings
    // and the last synchronize.
    EXPECT_EQ(counts[0], 16u * (3 + 4 + 35 + 33 + 29 + 29));
    EXPECT_EQ(counts[1], 96u * 4 + 3 + 16 + 4);
    // 7 for listing, 16 for setting up, 3 strings, 4 at the end. Only the strings are between a
    // verdict and its synchronize.
    EXPECT_EQ(counts[2], 7u + 16 + 3 + 4);
    EXPECT_EQ(unsettled, 3u);
}

}  // namespace
}  // namespace texprobe::tests
