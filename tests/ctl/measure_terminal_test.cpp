// texprobectl measure on a terminal: the bar, what is said meanwhile, and the question about a tool
// that an earlier one has left behind.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <regex>

#include "ctl/scripted_measure.h"
#include "ctl/terminal_run.h"
#include "support/formats.h"

namespace texprobe::tests {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

const Environment kTerminal = {"LC_ALL=C.UTF-8", "TERM=xterm"};

class MeasureOnATerminal : public ScriptedMeasure {
protected:
    /// A format that cannot be created decides six verdicts at once.
    static std::string unsupported(std::size_t format) {
        return begin(format) + "say " + line(std::string(kFormats[format].name) + " supported: 0");
    }
    static std::string begin(std::size_t format) {
        return ScriptedMeasure::begin(std::string(kFormats[format].name) + "_SUPPORTED");
    }
};

/// A frame of the bar, taken apart.
struct Frame {
    std::string bar;
    std::string done;
    std::string left;
    std::string test;
};

std::vector<Frame> bar_frames(const std::string& shown) {
    const std::regex pattern(R"(\[(#*\.*)\] (\d+/\d+)(, \d+:\d\d left)?  (.*))");
    std::vector<Frame> result;
    for (const std::string& frame : frames(shown)) {
        std::smatch match;
        if (!std::regex_match(frame, match, pattern)) continue;
        result.push_back({match[1], match[2], match[3], match[4]});
    }
    return result;
}

TEST_F(MeasureOnATerminal, shows_how_far_it_is_and_leaves_no_bar_behind) {
    std::string script = opening() + "sleep 300\n";
    for (std::size_t format = 0; format < 8; ++format) script += unsupported(format);
    folder_.script(script + "sleep 300\n");
    TerminalRun run(folder_.file("texprobectl"), {"measure", "--attempts", "1"}, kTerminal);
    EXPECT_TRUE(run.finish().exited_with(1)) << run.shown();
    const std::vector<Frame> bars = bar_frames(run.shown());
    ASSERT_GE(bars.size(), 2u) << run.shown();
    EXPECT_EQ(bars.front().bar, std::string(bars.front().bar.size(), '.'));
    EXPECT_EQ(bars.front().done, "0/96");
    EXPECT_EQ(bars.front().left, "");
    EXPECT_EQ(bars.front().test, renderer_id() + " GL_RGB32F_ARB create");
    // Eight formats of sixteen: half the bar.
    const Frame& last = bars.back();
    const std::size_t width = last.bar.size();
    EXPECT_GE(width, 5u);
    EXPECT_EQ(last.bar, std::string(width / 2, '#') + std::string(width - width / 2, '.'));
    EXPECT_EQ(last.done, "48/96");
    EXPECT_THAT(last.left, HasSubstr(" left"));
    EXPECT_EQ(last.test, renderer_id() + " GL_LUMINANCE16 create");
    for (const std::string& line : screen(run.shown())) {
        EXPECT_THAT(line, Not(HasSubstr("/96"))) << run.shown();
    }
}

TEST_F(MeasureOnATerminal, stays_on_one_line_which_names_the_test_where_it_has_80_columns) {
    // The longest name.
    folder_.prepare(SCRIPTED_TOOL, rest() + removed("GL_LUMINANCE_ALPHA32F_ARB_DOWNLOAD_READ"));
    folder_.script(opening() + "sleep 1500\n");
    for (const unsigned short columns : std::array<unsigned short, 2>{80, 30}) {
        TerminalRun run(folder_.file("texprobectl"), {"measure", "--attempts", "1"}, kTerminal,
                        columns);
        EXPECT_TRUE(run.finish().exited_with(1));
        std::vector<std::string> bars = frames(run.shown());
        std::erase_if(bars, [](const auto& text) { return text.find("/96") > text.size(); });
        ASSERT_FALSE(bars.empty()) << run.shown();
        // In the last column, the terminal would begin a new line.
        for (const std::string& bar : bars) EXPECT_LT(width_of(bar), columns) << bar;
        if (columns != 80) continue;
        EXPECT_THAT(bars.back(),
                    EndsWith(renderer_id() + " GL_LUMINANCE_ALPHA32F_ARB download read"));
    }
}

TEST_F(MeasureOnATerminal, says_what_crashes_when_it_does) {
    folder_.script(1, opening() + begin(0) + "raise 6\n");
    folder_.script(2, opening() + "sleep 300\n");
    TerminalRun run(folder_.file("texprobectl"), {"measure", "--attempts", "2"}, kTerminal);
    EXPECT_TRUE(run.finish().exited_with(1));
    ASSERT_FALSE(screen(run.shown()).empty());
    EXPECT_EQ(screen(run.shown()).front(),
              renderer_id() + ": GL_RGB32F_ARB create: ended by SIGABRT");
}

TEST_F(MeasureOnATerminal, ends_at_ctrl_c_and_records_nothing_of_the_test_in_hand) {
    folder_.script(opening() + unsupported(0) + begin(1) + "hang\n");
    TerminalRun run(folder_.file("texprobectl"), {"measure"}, kTerminal);
    ASSERT_TRUE(run.waits_until("6/96")) << run.shown();
    folder_.await_record(std::string(kFormats[1].name) + "_SUPPORTED");
    run.type("\x03");
    EXPECT_TRUE(run.finish().exited_with(130)) << run.shown();
    EXPECT_THAT(run.shown(), HasSubstr("`texprobectl measure` continues with the 90 verdicts that "
                                       "are still missing.\n"));
    EXPECT_EQ(verdict(1, "supported"), "unmeasured");
}

/// A real tool that hangs in one test, left behind by a `measure` that was killed.
class LeftBehind : public HangingTool {
protected:
    void SetUp() override {
        HangingTool::SetUp();
        const pid_t measure = folder_.start_ctl({"measure"});
        folder_.await_record(kHangingTest);
        kill(measure, SIGKILL);
        waitpid(measure, nullptr, 0);
        ASSERT_EQ(folder_.processes().size(), 1u);
        hung_ = folder_.processes().front();
        // The next run meets a driver that has recovered.
        write_file(folder_.file("faults"), "");
    }
    void TearDown() override {
        // Its process ID cannot have gone to another: it is still the tool of this folder.
        for (; !folder_.processes().empty(); usleep(10000)) {
            for (const pid_t process : folder_.processes()) kill(process, SIGKILL);
        }
    }

    bool runs(pid_t process) const {
        const std::vector<pid_t> tools = folder_.processes();
        return std::find(tools.begin(), tools.end(), process) != tools.end();
    }
    std::string said() const {
        return "The tool of an earlier `texprobectl measure` is still there, process " +
               std::to_string(hung_) + ".\n";
    }
    std::string waiting() const {
        return "Process " + std::to_string(hung_) + " is measuring; waiting for it.\n";
    }

    pid_t hung_ = 0;
};

TEST_F(LeftBehind, is_waited_for_when_the_answer_is_no_and_ended_when_it_is_yes) {
    {
        TerminalRun run(folder_.file("texprobectl"), {"measure"}, kTerminal);
        ASSERT_TRUE(run.waits_until("End it? [y/N] ")) << run.shown();
        run.type("n\n");
        ASSERT_TRUE(run.waits_until(waiting())) << run.shown();
        run.type("\x03");
        EXPECT_TRUE(run.finish().exited_with(130)) << run.shown();
    }
    EXPECT_TRUE(runs(hung_));
    TerminalRun next(folder_.file("texprobectl"), {"measure"}, kTerminal);
    ASSERT_TRUE(next.waits_until(said() + "End it? [y/N] ")) << next.shown();
    EXPECT_TRUE(runs(hung_));
    next.type("y\n");
    EXPECT_TRUE(next.finish().exited_with(0)) << next.shown();
    EXPECT_FALSE(runs(hung_));
    // Its test is run again.
    const ToolFolder healthy(TOOL);
    ASSERT_TRUE(healthy.run().exited_with(0));
    const RecordSets records = folder_.records();
    for (const auto& [id, expected] : healthy.records()) EXPECT_EQ(records.at(id), expected) << id;
}

TEST_F(LeftBehind, is_waited_for_where_nobody_can_be_asked) {
    const pid_t measure = folder_.start_ctl({"measure"});
    EXPECT_TRUE(folder_.await_error(waiting()));
    EXPECT_EQ(read_file(folder_.file("ctl.err")), said() + waiting());
    EXPECT_TRUE(runs(hung_));
    // When it has ended, by whatever hand, measuring goes on.
    kill(hung_, SIGKILL);
    int status = -1;
    waitpid(measure, &status, 0);
    EXPECT_EQ(status, 0);
}

TEST_F(HangingTool, of_a_measure_that_is_alive_is_no_matter_to_another) {
    const pid_t first = folder_.start_ctl({"measure"});
    folder_.await_record(kHangingTest);
    TerminalRun second(folder_.file("texprobectl"), {"measure"}, kTerminal);
    EXPECT_TRUE(second.waits_until(" is measuring; waiting for it.")) << second.shown();
    EXPECT_THAT(second.shown(), Not(HasSubstr("End it?")));
    for (const pid_t process : {first, second.process()}) kill(process, SIGTERM);
    second.finish();
    finish(first);
}

}  // namespace
}  // namespace texprobe::tests
