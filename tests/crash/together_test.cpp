// Tools and applications that start together on an unmeasured renderer: each ends with the right
// verdicts, whatever happens to the others.

#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <thread>

#include "doubles/fake_tool.h"
#include "driver/golden.h"
#include "support/fault_rows.h"
#include "support/tool_folder.h"

namespace texprobe::tests {
namespace {

constexpr const char* kFault = "Several tools and applications at once";
// Instrumented applications are slow.
constexpr unsigned kApplications = IS_INSTRUMENTED && FAULT_STRIDE > 1 ? 6 : 40;
constexpr unsigned kTools = 12;
// In looks of ten milliseconds: many times as long as a run's longest test.
constexpr unsigned kPatience = IS_INSTRUMENTED ? 300 : 100;
const std::string kTest = "GL_RGB32F_ARB_UPLOAD_SET";
constexpr const char* kTestTimeLimit = "60000";

/// The number of a call within kTest, for the fakes, in a run that measures everything.
std::string call_in_test() {
    return std::to_string(golden_call("(" + kTest + ", false, ") + 9);
}

std::size_t differing_digits(const std::string& a, const std::string& b) {
    if (a.size() != b.size()) return 96;
    std::size_t count = 0;
    for (std::size_t i = 0; i < a.size(); ++i) count += a[i] != b[i];
    return count;
}

/// A folder with the real tool and an application that uses it.
class RealFolder {
public:
    RealFolder() { std::filesystem::copy_file(APPLICATION, application()); }

    /// Runs applications at once, each with this number of objects; every second one asks the C
    /// interface. Returns the verdicts of each object as digits.
    std::vector<std::string> run_applications(unsigned number, unsigned objects) const {
        std::vector<pid_t> running;
        running.reserve(number);
        for (unsigned i = 0; i < number; ++i) {
            std::vector<std::string> arguments = {std::to_string(objects), folder_.tool()};
            if (i % 2 == 1) arguments.emplace_back(kTestTimeLimit);
            running.push_back(
                start({.program = application(), .arguments = arguments, .out = out(i)}));
        }
        std::vector<std::string> verdicts;
        for (unsigned i = 0; i < number; ++i) {
            EXPECT_TRUE(finish(running[i]).exited_with(0));
            for (const std::string& line : lines_of(read_file(out(i)))) {
                // The others are the tool's.
                if (line.find_first_not_of("01") == std::string::npos) verdicts.push_back(line);
            }
        }
        return verdicts;
    }

    Finished run_tool() const { return folder_.run(); }

private:
    std::filesystem::path application() const { return folder_.path() / "application"; }
    std::filesystem::path out(unsigned i) const { return folder_.path() / std::to_string(i); }

    const ToolFolder folder_{TOOL};
};

/// The verdicts of an undisturbed run.
std::string undisturbed_verdicts() {
    const RealFolder folder;
    EXPECT_TRUE(folder.run_tool().exited_with(0));
    const std::vector<std::string> verdicts = folder.run_applications(1, 1);
    EXPECT_EQ(verdicts.size(), 1u);
    return verdicts.empty() ? "" : verdicts[0];
}

void expect_right_verdicts(const std::vector<std::string>& verdicts, FaultCount* count) {
    static const std::string expected = undisturbed_verdicts();
    for (const std::string& object : verdicts) {
        EXPECT_EQ(object, expected);
        ++count->cases;
        count->lostVerdicts += static_cast<unsigned>(differing_digits(object, expected));
    }
}

TEST(ApplicationsTogetherTest, all_know_the_right_verdicts) {
    const RealFolder folder;
    const std::vector<std::string> verdicts = folder.run_applications(kApplications, 1);
    EXPECT_EQ(verdicts.size(), kApplications);
    FaultCount count;
    expect_right_verdicts(verdicts, &count);
    write_fault_row(kFault, "applications", count);
}

TEST(ApplicationsTogetherTest, all_threads_of_one_know_the_right_verdicts) {
    const RealFolder folder;
    const std::vector<std::string> verdicts = folder.run_applications(1, 8);
    EXPECT_EQ(verdicts.size(), 8u);
    FaultCount count;
    expect_right_verdicts(verdicts, &count);
    write_fault_row(kFault, "threads", count);
}

class ToolsTogetherTest : public testing::Test {
protected:
    std::vector<pid_t> start_tools(const FakeTool& tool, unsigned number) {
        std::vector<pid_t> runs;
        for (unsigned i = 0; i < number; ++i) runs.push_back(tool.start());
        return runs;
    }

    /// Waits for all of them, of which `deaths` die; counts the missing records.
    void finish(const FakeTool& tool, const std::vector<pid_t>& runs, const Values& expected,
                unsigned deaths = 0) {
        unsigned completed = 0;
        for (const pid_t pid : runs) {
            const Finished run = tool.finish(pid);
            completed += run.exited_with(0);
            count_.hangs += run.hung;
            ++count_.cases;
        }
        EXPECT_EQ(completed + deaths, runs.size());
        EXPECT_EQ(count_.hangs, 0u);
        const Values records = tool.records();
        EXPECT_EQ(records, expected);
        count_.lostVerdicts += differences(records, expected);
    }

    void wait_until_paused(const FakeTool& tool) {
        while (!tool.has_died()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }

    /// False for the test in which the first run hung or died.
    static Values records_without_test() {
        Values records = golden_records();
        records[kTest] = "false";
        return records;
    }

    FaultCount count_;
};

TEST_F(ToolsTogetherTest, leave_the_records_of_one) {
    for (unsigned trial = 0; trial < 4; ++trial) {
        const FakeTool tool(kOneRenderer);
        finish(tool, start_tools(tool, kTools), golden_records());
    }
    write_fault_row(kFault, "tools", count_);
}

TEST_F(ToolsTogetherTest, wait_for_a_slow_driver) {
    // Inside a test, and longer than another run takes for all tests.
    const FakeTool tool(kOneRenderer + "pause " + call_in_test() + " 300\n");
    finish(tool, start_tools(tool, 4), golden_records());
    write_fault_row(kFault, "slow", count_);
}

TEST_F(ToolsTogetherTest, lose_one_verdict_when_one_is_killed_in_its_test) {
    const FakeTool tool(kOneRenderer + "die SIGKILL once at " + call_in_test() + "\n");
    finish(tool, start_tools(tool, kTools), records_without_test(), 1);
    write_fault_row(kFault, "killed", count_);
}

TEST_F(ToolsTogetherTest, go_on_one_at_a_time_when_one_hangs_in_its_test) {
    const FakeTool tool(kOneRenderer + "pause once " + call_in_test() + " 600000\n");
    tool.set_patience(kPatience);
    const pid_t hanging = tool.start();
    wait_until_paused(tool);
    finish(tool, start_tools(tool, kTools), records_without_test());
    kill(hanging, SIGKILL);
    tool.finish(hanging);
    write_fault_row(kFault, "hanging", count_);
}

TEST_F(ToolsTogetherTest, get_the_verdict_from_one_that_came_back_to_life) {
    const FakeTool tool(kOneRenderer + "pause once " + call_in_test() + " " +
                        std::to_string(40 * kPatience) + "\n");
    tool.set_patience(kPatience);
    std::vector<pid_t> runs = {tool.start()};
    wait_until_paused(tool);
    finish(tool, start_tools(tool, 2), records_without_test());
    finish(tool, runs, golden_records());
    write_fault_row(kFault, "alive again", count_);
}

TEST_F(ToolsTogetherTest, do_not_wait_for_a_stopped_sibling) {
    const FakeTool tool(kOneRenderer + "die SIGSTOP once at " + call_in_test() + "\n");
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_TRUE(tool.run({"--safe"}).exited_with(0));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20))
        << "a run that hangs is waited for a minute";
    EXPECT_TRUE(tool.has_stopped());
    EXPECT_EQ(tool.records(), records_without_test());
}

}  // namespace
}  // namespace texprobe::tests
