// texprobectl measure beside others: those who have the turn, those that wait, and what a `measure`
// that was killed has left.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "ctl/scripted_measure.h"
#include "support/formats.h"

namespace texprobe::tests {
namespace {

using testing::HasSubstr;
using testing::Not;

class MeasureBesideOthers : public ScriptedMeasure {};

TEST_F(MeasureBesideOthers, says_whom_it_waits_for_and_does_not_take_that_for_a_hang) {
    const TurnHolder holder(folder_.file("measuring.lock"));
    folder_.script(waiting() + "sleep 3500\n" + rest());
    const Finished run = folder_.ctl({"measure", "--timeout", "2"});
    EXPECT_TRUE(run.exited_with(0)) << run.err;
    EXPECT_EQ(folder_.runs(), 1);
    EXPECT_THAT(run.err, HasSubstr("Process " + std::to_string(holder.process()) +
                                   " is measuring; waiting for it.\n"));
}

TEST_F(MeasureBesideOthers, waits_for_a_process_that_it_cannot_see) {
    const std::string elsewhere = "unshare --user --map-root-user --pid --fork --kill-child ";
    if (run_in_shell(elsewhere + "true") != 0) GTEST_SKIP() << "no process namespaces here";
    // Network file systems do not tell the process, either.
    const TurnHolder holder(folder_.file("measuring.lock"));
    folder_.script(waiting() + "sleep 3500\n" + rest());
    const std::string ctl = elsewhere + folder_.file("texprobectl").string();
    const std::string log = folder_.file("log");
    ASSERT_EQ(run_in_shell(ctl + " measure --timeout 2 2>" + log), 0) << read_file(log);
    EXPECT_EQ(folder_.runs(), 1);
    EXPECT_THAT(read_file(log),
                HasSubstr("A process of another machine or container is measuring"));
    EXPECT_NE(run_in_shell(ctl + " forget --all --yes"), 0);
}

TEST_F(MeasureBesideOthers, keeps_their_verdicts_when_it_is_stopped_while_it_waits) {
    folder_.script(waiting_while_others_record_no("GL_RGB32F_ARB_SUPPORTED") + "hang\n");
    const pid_t process = folder_.start_ctl({"measure"});
    folder_.await_record("GL_RGB32F_ARB_SUPPORTED");
    kill(process, SIGTERM);
    EXPECT_TRUE(finish(process).exited_with(128 + SIGTERM));
    EXPECT_EQ(folder_.records().at(*id_).at("GL_RGB32F_ARB_SUPPORTED"), "boolean 0");
}

TEST_F(MeasureBesideOthers, removes_its_own_record_only_when_they_have_ended) {
    folder_.script(1, opening() + begin("GL_RGB32F_ARB_SUPPORTED") + "raise 9\n");
    folder_.script(2, rest());
    pid_t process = -1;
    {
        // The tool dies before `measure` looks who has the turn.
        const TurnHolder holder(folder_.file("measuring.lock"));
        process = folder_.start_ctl({"measure"});
        EXPECT_TRUE(folder_.await_error(" is measuring; waiting for it."));
        EXPECT_EQ(folder_.records().at(*id_).at("GL_RGB32F_ARB_SUPPORTED"), "boolean 0");
        EXPECT_EQ(folder_.runs(), 1);
    }
    EXPECT_TRUE(finish(process).exited_with(0)) << read_file(folder_.file("ctl.err"));
    EXPECT_EQ(verdict(0, "supported"), "yes");
}

TEST_F(MeasureBesideOthers, is_not_disturbed_by_forget_which_later_leaves_no_cause) {
    measure_crash("GL_RGB32F_ARB_SUPPORTED");
    EXPECT_EQ(folder_.records().size(), 2u);
    {
        const TurnHolder holder(folder_.file("measuring.lock"));
        const Finished run = folder_.ctl({"forget", "--all", "--yes"});
        EXPECT_TRUE(run.exited_with(1));
        EXPECT_THAT(run.err, HasSubstr("process " + std::to_string(holder.process()) +
                                       " is measuring; try again when it has ended"));
        EXPECT_EQ(folder_.records().size(), 2u);
    }
    EXPECT_TRUE(folder_.ctl({"forget", "--all", "--yes"}).exited_with(0));
    EXPECT_TRUE(folder_.records().empty());
}

/// A `measure` that was killed, and its tool that hangs in a test, without the turn: the scripted
/// one takes none.
class KilledMeasure : public ScriptedMeasure {
protected:
    void SetUp() override {
        folder_.script(1, opening() +
                              test("GL_RGB32F_ARB_SUPPORTED", "GL_RGB32F_ARB supported", true) +
                              begin("GL_RGB32F_ARB_RENDERABLE") + "hang\n");
        const pid_t process = folder_.start_ctl({"measure"});
        folder_.await_record("GL_RGB32F_ARB_RENDERABLE");
        folder_.await_record("RUNNING_TOOL");
        kill(process, SIGKILL);
        waitpid(process, nullptr, 0);
    }
    void TearDown() override { end_tools(); }

    void end_tools() const {
        for (const pid_t tool : folder_.processes()) kill(tool, SIGKILL);
        while (!folder_.processes().empty()) usleep(10000);
    }
    bool is_remembered() const {
        const RecordSets sets = folder_.records();
        const auto marks = sets.find("org.texprobe.texprobectl");
        return marks != sets.end() && marks->second.count("RUNNING_TOOL") != 0;
    }
};

TEST_F(KilledMeasure, has_the_test_that_its_tool_was_in_run_again) {
    end_tools();
    folder_.script(2,
                   opening() + test("GL_RGB32F_ARB_RENDERABLE", "GL_RGB32F_ARB renderable", true));
    folder_.script(3, rest());
    EXPECT_TRUE(is_remembered());
    const Finished run = folder_.ctl({"measure"});
    EXPECT_TRUE(run.exited_with(0));
    // Nobody is told of a tool that has gone, or asked about it.
    EXPECT_THAT(run.err, Not(HasSubstr("is still there")));
    EXPECT_EQ(verdict(0, "renderable"), "yes");
    EXPECT_FALSE(is_remembered());
}

TEST_F(KilledMeasure, changes_no_record_while_others_measure) {
    end_tools();
    folder_.script(2, rest());
    const TurnHolder holder(folder_.file("measuring.lock"));
    const pid_t process = folder_.start_ctl({"measure"});
    EXPECT_TRUE(
        folder_.await_error("Process " + std::to_string(holder.process()) + " is measuring"));
    kill(process, SIGINT);
    EXPECT_TRUE(finish(process).exited_with(130));
    EXPECT_EQ(folder_.records().at(*id_).at("GL_RGB32F_ARB_RENDERABLE"), "boolean 0");
    EXPECT_TRUE(is_remembered());
}

TEST_F(KilledMeasure, is_forgotten_when_its_tool_has_gone_meanwhile) {
    ASSERT_EQ(folder_.processes().size(), 1U);
    const pid_t left = folder_.processes().front();
    folder_.script(2, "sleep 500\n" + rest({{"GL_RGB32F_ARB_RENDERABLE", false}}));
    const pid_t process = folder_.start_ctl({"measure"});
    await_run(2);
    kill(left, SIGKILL);
    EXPECT_TRUE(finish(process).exited_with(0)) << read_file(folder_.file("ctl.err"));
    EXPECT_FALSE(is_remembered());
}

TEST_F(HangingTool, leaves_no_false_to_others_when_measure_is_interrupted) {
    const pid_t measure = folder_.start_ctl({"measure"});
    folder_.await_record(kHangingTest);
    // Somebody else's run, of a driver that does not hang, waits for its turn.
    std::filesystem::copy_file(TOOL, folder_.file("other"));
    const pid_t other = start({folder_.file("other")});
    usleep(100000);
    kill(measure, SIGINT);
    EXPECT_TRUE(finish(measure).exited_with(130));
    EXPECT_TRUE(finish(other).exited_with(0));
    const auto records = folder_.records();
    EXPECT_TRUE(std::any_of(records.begin(), records.end(), [](const auto& set) {
        const auto found = set.second.find(kHangingTest);
        return found != set.second.end() && found->second == "boolean 1";
    }));
}

TEST_F(HangingTool, is_ended_by_the_limit_inside_a_wrapper_too) {
    const auto wrapper = folder_.write_program("wrapper", folder_.tool().string() + "\nexit $?");
    const Finished run =
        folder_.ctl({"measure", "--timeout", "1", "--tool", wrapper, "--attempts", "1"});
    EXPECT_TRUE(run.exited_with(1));
    EXPECT_THAT(run.err, Not(HasSubstr("waiting for it")));
    EXPECT_THAT(run.err, HasSubstr("texprobe made no progress and was killed"));
    EXPECT_THAT(run.out, HasSubstr("GL_RGBA32F_ARB upload set: did not end within 1 s"));
}

TEST(MeasureThatInheritsAnIgnoredSIGCHLD, sees_how_its_tool_ends) {
    const CtlFolder folder(CTL, TOOL);
    const std::string ignoring =
        "exec env --ignore-signal=CHLD " + folder.file("texprobectl").string();
    const std::string out = folder.file("out");
    EXPECT_EQ(run_in_shell(ignoring + " measure >" + out + " 2>&1"), 0) << read_file(out);
    EXPECT_EQ(run_in_shell(ignoring + " doctor >" + out + " 2>&1"), 0);
    EXPECT_THAT(read_file(out), HasSubstr(", can be opened, "));
    EXPECT_EQ(run_in_shell(ignoring + " inspect GL_RGBA8 set >" + out + " 2>&1"), 0)
        << read_file(out);
}

TEST(MeasureUnderAnotherName, finds_the_tool_beside_it) {
    const CtlFolder folder(CTL, TOOL);
    const Finished run =
        tests::run({folder.file("texprobectl"), {"measure"}, {"PATH=/nowhere"}, "texprobectl"});
    EXPECT_TRUE(run.exited_with(0)) << run.err;
}

}  // namespace
}  // namespace texprobe::tests
