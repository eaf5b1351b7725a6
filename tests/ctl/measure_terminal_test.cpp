// texprobectl measure on a terminal: the bar, what is said meanwhile, and the question about a tool
// that an earlier one has left behind.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <regex>

#include "ctl/scripted_measure.h"
#include "ctl/terminal_run.h"
#include "support/formats.h"

namespace texprobe::tests {
namespace {

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

TEST_F(MeasureOnATerminal, shows_how_far_it_is) {
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
}

TEST_F(MeasureOnATerminal, leaves_no_bar_behind) {
    folder_.script(opening() + unsupported(0));
    TerminalRun run(folder_.file("texprobectl"), {"measure", "--attempts", "1"}, kTerminal);
    EXPECT_TRUE(run.finish().exited_with(1));
    EXPECT_FALSE(bar_frames(run.shown()).empty());
    for (const std::string& line : screen(run.shown())) {
        EXPECT_THAT(line, Not(HasSubstr("/96"))) << run.shown();
    }
}

TEST_F(MeasureOnATerminal, names_the_test_in_80_columns) {
    // The longest name is the fourth format's.
    std::string script = opening();
    for (std::size_t format = 0; format < 3; ++format) script += unsupported(format);
    const std::string name = kFormats[3].name;
    for (const char* test :
         {"SUPPORTED supported", "RENDERABLE renderable", "UPLOAD_SET upload SET",
          "UPLOAD_RESET upload RESET", "DOWNLOAD_GET download GET"}) {
        const std::string words(test);
        const std::size_t space = words.find(' ');
        script += ScriptedMeasure::test(name + '_' + words.substr(0, space),
                                        name + words.substr(space), true);
    }
    folder_.script(script + "sleep 1500\n");
    TerminalRun run(folder_.file("texprobectl"), {"measure", "--attempts", "1"}, kTerminal);
    EXPECT_TRUE(run.finish().exited_with(1));
    const std::vector<Frame> bars = bar_frames(run.shown());
    ASSERT_FALSE(bars.empty());
    EXPECT_EQ(bars.back().done, "23/96");
    EXPECT_EQ(bars.back().test, renderer_id() + " GL_LUMINANCE_ALPHA32F_ARB download read");
    // In the last column, the terminal would begin a new line.
    for (const std::string& frame : frames(run.shown())) {
        if (frame.find("/96") == std::string::npos) continue;
        EXPECT_LE(width_of(frame), 79u) << frame;
    }
}

TEST_F(MeasureOnATerminal, stays_on_one_line_of_a_narrow_one) {
    folder_.script(opening() + unsupported(0) + "sleep 300\n");
    TerminalRun run(folder_.file("texprobectl"), {"measure", "--attempts", "1"}, kTerminal, 30);
    EXPECT_TRUE(run.finish().exited_with(1));
    bool hasBar = false;
    for (const std::string& frame : frames(run.shown())) {
        if (frame.find("/96") == std::string::npos) continue;
        hasBar = true;
        EXPECT_LE(width_of(frame), 29u) << frame;
    }
    EXPECT_TRUE(hasBar);
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

TEST_F(MeasureOnATerminal, ends_at_ctrl_c) {
    folder_.script(opening() + unsupported(0) + begin(1) + "hang\n");
    TerminalRun run(folder_.file("texprobectl"), {"measure"}, kTerminal);
    ASSERT_TRUE(run.waits_until("6/96")) << run.shown();
    run.type("\x03");
    EXPECT_TRUE(run.finish().exited_with(130)) << run.shown();
    EXPECT_THAT(run.shown(), HasSubstr("`texprobectl measure` continues with the 90 verdicts that "
                                       "are still missing.\n"));
}

/// A real tool that hangs in one test, left behind by a `measure` that was killed.
class LeftBehind : public testing::Test {
protected:
    void SetUp() override {
        write_file(folder_.file("faults"), std::to_string(kFormats[1].internalFormat) + " 2 0\n");
        const pid_t measure = folder_.start_ctl({"measure"});
        folder_.await_record(std::string(kFormats[1].name) + "_UPLOAD_SET");
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
    /// The process that has the turn. One that is ending has it for a moment longer than its files
    /// in /proc.
    pid_t turn_holder() const {
        const int file = open(folder_.file("measuring.lock").c_str(), O_RDWR | O_CLOEXEC);
        struct flock lock = {};
        lock.l_type = F_WRLCK;
        EXPECT_EQ(fcntl(file, F_GETLK, &lock), 0);
        close(file);
        return lock.l_type == F_UNLCK ? 0 : lock.l_pid;
    }
    std::string said() const {
        return "The tool of an earlier `texprobectl measure` is still there, process " +
               std::to_string(hung_) + ".\n";
    }
    std::string waiting() const {
        return "Process " + std::to_string(hung_) + " is measuring; waiting for it.\n";
    }

    pid_t hung_ = 0;
    CtlFolder folder_{CTL, FAILING_TOOL};
};

TEST_F(LeftBehind, is_ended_when_the_answer_is_yes_and_its_test_is_run_again) {
    TerminalRun run(folder_.file("texprobectl"), {"measure"}, kTerminal);
    ASSERT_TRUE(run.waits_until(said() + "End it? [y/N] ")) << run.shown();
    EXPECT_TRUE(runs(hung_));
    run.type("y\n");
    EXPECT_TRUE(run.finish().exited_with(0)) << run.shown();
    EXPECT_FALSE(runs(hung_));
    const ToolFolder healthy(TOOL);
    ASSERT_TRUE(healthy.run().exited_with(0));
    const RecordSets records = folder_.records();
    for (const auto& [id, expected] : healthy.records()) EXPECT_EQ(records.at(id), expected) << id;
}

TEST_F(LeftBehind, is_waited_for_when_the_answer_is_no_and_offered_again) {
    {
        TerminalRun run(folder_.file("texprobectl"), {"measure"}, kTerminal);
        ASSERT_TRUE(run.waits_until("End it? [y/N] ")) << run.shown();
        run.type("n\n");
        ASSERT_TRUE(run.waits_until(waiting())) << run.shown();
        EXPECT_TRUE(runs(hung_));
        run.type("\x03");
        EXPECT_TRUE(run.finish().exited_with(130)) << run.shown();
    }
    EXPECT_TRUE(runs(hung_));
    TerminalRun next(folder_.file("texprobectl"), {"measure"}, kTerminal);
    ASSERT_TRUE(next.waits_until(said() + "End it? [y/N] ")) << next.shown();
    next.type("y\n");
    EXPECT_TRUE(next.finish().exited_with(0)) << next.shown();
    EXPECT_FALSE(runs(hung_));
}

TEST_F(LeftBehind, is_waited_for_where_nobody_can_be_asked) {
    const pid_t measure = folder_.start_ctl({"measure"});
    const auto err = [&] { return read_file(folder_.file("ctl.err")); };
    for (int i = 0; i < 600 && err().find(waiting()) == std::string::npos; ++i) usleep(100000);
    EXPECT_EQ(err(), said() + waiting());
    EXPECT_TRUE(runs(hung_));
    // When it has ended, by whatever hand, measuring goes on.
    kill(hung_, SIGKILL);
    int status = -1;
    waitpid(measure, &status, 0);
    EXPECT_EQ(status, 0) << err();
}

TEST_F(LeftBehind, is_not_asked_about_when_it_has_gone) {
    kill(hung_, SIGKILL);
    while (turn_holder() == hung_) usleep(10000);
    TerminalRun run(folder_.file("texprobectl"), {"measure"}, kTerminal);
    EXPECT_TRUE(run.finish().exited_with(0)) << run.shown();
    EXPECT_THAT(run.shown(), Not(HasSubstr("End it?")));
}

TEST_F(MeasureOnATerminal, does_not_offer_to_end_the_tool_of_one_that_is_alive) {
    const CtlFolder folder(CTL, FAILING_TOOL);
    write_file(folder.file("faults"), std::to_string(kFormats[1].internalFormat) + " 2 0\n");
    const pid_t first = folder.start_ctl({"measure"});
    folder.await_record(std::string(kFormats[1].name) + "_UPLOAD_SET");
    TerminalRun second(folder.file("texprobectl"), {"measure"}, kTerminal);
    EXPECT_TRUE(second.waits_until(" is measuring; waiting for it.")) << second.shown();
    EXPECT_THAT(second.shown(), Not(HasSubstr("End it?")));
    for (const pid_t process : {first, second.process()}) kill(process, SIGTERM);
    second.finish();
    finish(first);
}

}  // namespace
}  // namespace texprobe::tests
