// texprobectl measure: a scripted tool that crashes, hangs, waits and fails, and a real driver that
// crashes in ten tests and hangs in two.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <nlohmann/json.hpp>
#include <thread>

#include "ctl/ctl_folder.h"
#include "ctl/present_id.h"
#include "support/formats.h"

namespace texprobe::tests {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

class Measure : public testing::Test {
protected:
    static void SetUpTestSuite() { id_ = new std::string(present_id(CTL, TOOL)); }

    static std::string line(const std::string& text) { return *id_ + "[%p] " + text + "\n"; }
    /// The script of one test that comes back.
    static std::string test(const std::string& key, const std::string& label, bool verdict) {
        return begin(key) + "set " + *id_ + " " + key + (verdict ? " true" : " false") + "\nsay " +
               line(label + (verdict ? ": 1" : ": 0"));
    }
    /// The script of one test up to the driver's call.
    static std::string begin(const std::string& key) {
        return "set " + *id_ + " " + key + " false\nsync " + *id_ + "\n";
    }
    static std::string opening() {
        return "say " + line("testing renderer: 1") + "set " + *id_ +
               " VERSION number 0.21\nsync " + *id_ + "\n";
    }

    json first_set() const {
        return json::parse(folder_.ctl({"export"}).out).at("record_sets").at(0);
    }
    std::string verdict(std::size_t format, const char* member) const {
        return first_set().at("formats").at(format).at(member);
    }

    static std::string* id_;
    CtlFolder folder_{CTL, SCRIPTED_TOOL};
};
std::string* Measure::id_ = nullptr;

TEST_F(Measure, remembers_the_signal_of_a_crash) {
    folder_.script(1, opening() + test("GL_RGB32F_ARB_SUPPORTED", "GL_RGB32F_ARB supported", true) +
                          begin("GL_RGB32F_ARB_RENDERABLE") + "raise 6\n");
    folder_.script(2, "exit 0\n");
    const Finished run = folder_.ctl({"measure"});
    EXPECT_TRUE(run.exited_with(0)) << run.err;
    EXPECT_EQ(folder_.runs(), 2);
    EXPECT_EQ(verdict(0, "supported"), "yes");
    EXPECT_EQ(verdict(0, "renderable"), "crashed");
    EXPECT_EQ(first_set().at("details"), json::parse(R"([{"name": "GL_RGB32F_ARB",
        "capability": "renderable", "signal": "SIGABRT"}])"));
    EXPECT_THAT(run.out, HasSubstr("GL_RGB32F_ARB render: ended by SIGABRT"));
}

TEST_F(Measure, kills_a_tool_that_hangs_and_remembers_it) {
    folder_.script(1, opening() + begin("GL_RGB32F_ARB_SUPPORTED") + "hang\n");
    folder_.script(2, "exit 0\n");
    const Finished run = folder_.ctl({"measure", "--timeout", "1"});
    EXPECT_TRUE(run.exited_with(0)) << run.err;
    EXPECT_EQ(verdict(0, "supported"), "hung");
    EXPECT_EQ(verdict(0, "renderable"), "not_applicable");
    EXPECT_EQ(first_set().at("details").at(0).at("seconds"), 1);
}

TEST_F(Measure, does_not_take_slow_tests_for_a_hang) {
    std::string script = opening();
    for (std::size_t i = 0; i < 4; ++i) {
        script += "sleep 600\n" + test(std::string(kFormats[i].name) + "_SUPPORTED",
                                       std::string(kFormats[i].name) + " supported", true);
    }
    folder_.script(script);
    const Finished run = folder_.ctl({"measure", "--timeout", "2"});
    EXPECT_TRUE(run.exited_with(0)) << run.err;
    EXPECT_EQ(folder_.runs(), 1);
}

TEST_F(Measure, tells_a_no_from_a_crash) {
    folder_.script(opening() + test("GL_RGB32F_ARB_SUPPORTED", "GL_RGB32F_ARB supported", false));
    const Finished run = folder_.ctl({"measure"});
    EXPECT_TRUE(run.exited_with(0));
    EXPECT_EQ(verdict(0, "supported"), "no");
    EXPECT_THAT(folder_.ctl({"show"}).out, Not(HasSubstr("may have been a crash")));
}

TEST_F(Measure, says_that_a_no_recorded_by_others_may_have_been_a_crash) {
    folder_.prepare(SCRIPTED_TOOL, "set " + *id_ + " VERSION number 0.21\nset " + *id_ +
                                       " GL_RGB8_SUPPORTED false\nsync " + *id_ + "\n");
    const std::string out = folder_.ctl({"show"}).out;
    const std::size_t first = out.find("may have been a crash");
    ASSERT_NE(first, std::string::npos) << out;
    EXPECT_EQ(out.find("may have been a crash", first + 1), std::string::npos);
}

TEST_F(Measure, remembers_a_driver_that_ends_the_process) {
    folder_.script(1, opening() + begin("GL_RGB32F_ARB_SUPPORTED") + "exit 3\n");
    folder_.script(2, "exit 0\n");
    EXPECT_TRUE(folder_.ctl({"measure"}).exited_with(0));
    EXPECT_EQ(verdict(0, "supported"), "crashed");
    EXPECT_EQ(first_set().at("details").at(0).at("exit_status"), 3);
}

TEST_F(Measure, ends_after_two_runs_that_record_nothing) {
    folder_.script("said *** cannot create OpenGL context\nexit 1\n");
    const Finished run = folder_.ctl({"measure"});
    EXPECT_TRUE(run.exited_with(1));
    EXPECT_EQ(folder_.runs(), 2);
    EXPECT_THAT(run.err, HasSubstr("texprobectl: not complete: two runs in a row recorded nothing: "
                                   "texprobe ended with status 1 (*** cannot create OpenGL "
                                   "context)\n"));
}

TEST_F(Measure, ends_after_the_attempts_that_it_was_given) {
    for (int run = 1; run <= 3; ++run) {
        folder_.script(run, opening() +
                                begin(std::string(kFormats[static_cast<std::size_t>(run)].name) +
                                      "_SUPPORTED") +
                                "raise 6\n");
    }
    const Finished run = folder_.ctl({"measure", "--attempts", "3"});
    EXPECT_TRUE(run.exited_with(1));
    EXPECT_EQ(folder_.runs(), 3);
    EXPECT_THAT(run.err, HasSubstr("3 runs were not enough"));
}

TEST_F(Measure, says_when_the_tool_cannot_be_started) {
    const Finished run = folder_.ctl({"measure", "--tool", "/no/such/tool"});
    EXPECT_TRUE(run.exited_with(1));
    EXPECT_THAT(run.err, HasSubstr("/no/such/tool could not be started: No such file"));
}

TEST_F(Measure, measures_again_what_was_lost_between_a_test_and_its_record) {
    // The line says yes; the process dies before the record is on disk.
    folder_.script(1, opening() + begin("GL_RGB32F_ARB_SUPPORTED") + "say " +
                          line("GL_RGB32F_ARB supported: 1") + "raise 9\n");
    folder_.script(2, "exit 0\n");
    folder_.ctl({"measure"});
    EXPECT_EQ(verdict(0, "supported"), "unmeasured");
}

TEST_F(Measure, forgets_a_crash_that_is_measured_again) {
    folder_.script(1, opening() + begin("GL_RGB32F_ARB_SUPPORTED") + "raise 11\n");
    folder_.script(2, "exit 0\n");
    folder_.ctl({"measure"});
    EXPECT_EQ(verdict(0, "supported"), "crashed");
    folder_.script(3, "removed " + *id_ + " GL_RGB32F_ARB_SUPPORTED\nsync " + *id_ + "\n" +
                          opening() +
                          test("GL_RGB32F_ARB_SUPPORTED", "GL_RGB32F_ARB supported", false));
    folder_.ctl({"measure"});
    EXPECT_EQ(verdict(0, "supported"), "no");
    EXPECT_TRUE(first_set().at("details").empty());
}

TEST_F(Measure, takes_no_mark_for_a_record_that_is_true) {
    folder_.script(1, opening() + begin("GL_RGB32F_ARB_SUPPORTED") + "raise 11\n");
    folder_.script(2, "exit 0\n");
    folder_.ctl({"measure"});
    folder_.prepare(SCRIPTED_TOOL,
                    "set " + *id_ + " GL_RGB32F_ARB_SUPPORTED true\nsync " + *id_ + "\n");
    EXPECT_EQ(verdict(0, "supported"), "yes");
    EXPECT_TRUE(first_set().at("details").empty());
}

TEST_F(Measure, ends_cleanly_when_it_is_interrupted) {
    folder_.script(opening() + test("GL_RGB32F_ARB_SUPPORTED", "GL_RGB32F_ARB supported", true) +
                   begin("GL_RGB32F_ARB_RENDERABLE") + "hang\n");
    const pid_t process = folder_.start_ctl({"measure"});
    while (read_file(folder_.file("runs")).empty()) usleep(10000);
    usleep(700000);
    kill(process, SIGINT);
    EXPECT_TRUE(finish(process).exited_with(130));
    EXPECT_THAT(read_file(folder_.file("ctl.err")),
                HasSubstr("`texprobectl measure` goes on with the"));
    // The test in hand was not the driver's fault: it is not recorded.
    EXPECT_EQ(verdict(0, "renderable"), "unmeasured");
}

TEST_F(Measure, prints_one_line_for_each_renderer_where_there_is_no_terminal) {
    folder_.script(opening() + test("GL_RGB32F_ARB_SUPPORTED", "GL_RGB32F_ARB supported", true));
    const Finished run = folder_.ctl({"measure"});
    EXPECT_EQ(lines_of(run.err).size(), 1u) << run.err;
    EXPECT_THAT(run.err, HasSubstr(": 1 of 96 verdicts"));
}

/// A process that has the turn of a folder's tools, until it is killed.
class TurnHolder {
public:
    explicit TurnHolder(const std::filesystem::path& file) {
        int ready[2];
        EXPECT_EQ(pipe(ready), 0);
        process_ = start([&] {
            const int lock = open(file.c_str(), O_RDWR | O_CREAT, 0600);
            struct flock whole = {};
            whole.l_type = F_WRLCK;
            const bool isTaken = fcntl(lock, F_SETLK, &whole) == 0;
            if (write(ready[1], isTaken ? "y" : "n", 1) == 1) pause();
            return 0;
        });
        char answer = 'n';
        EXPECT_EQ(read(ready[0], &answer, 1), 1);
        EXPECT_EQ(answer, 'y');
        close(ready[0]);
        close(ready[1]);
    }
    ~TurnHolder() {
        kill(process_, SIGKILL);
        status_of(process_);
    }
    TurnHolder(const TurnHolder&) = delete;
    TurnHolder& operator=(const TurnHolder&) = delete;

    pid_t process() const { return process_; }

private:
    pid_t process_ = -1;
};

TEST_F(Measure, says_whom_it_waits_for_and_does_not_take_that_for_a_hang) {
    const TurnHolder holder(folder_.file("measuring.lock"));
    folder_.script(opening() + "sleep 3500\n" +
                   test("GL_RGB32F_ARB_SUPPORTED", "GL_RGB32F_ARB supported", true));
    const Finished run = folder_.ctl({"measure", "--timeout", "2"});
    EXPECT_TRUE(run.exited_with(0)) << run.err;
    EXPECT_EQ(folder_.runs(), 1);
    EXPECT_THAT(run.err, HasSubstr("Process " + std::to_string(holder.process()) +
                                   " is measuring; waiting for it.\n"));
}

TEST_F(Measure, waits_for_a_process_that_it_cannot_see) {
    const std::string elsewhere = "unshare --user --map-root-user --pid --fork --kill-child ";
    if (run_in_shell(elsewhere + "true") != 0) GTEST_SKIP() << "no process namespaces here";
    // Network file systems do not tell the process, either.
    const TurnHolder holder(folder_.file("measuring.lock"));
    folder_.script(opening() + "sleep 3500\n");
    const std::string ctl = elsewhere + folder_.file("texprobectl").string();
    const std::string log = folder_.file("log");
    ASSERT_EQ(run_in_shell(ctl + " measure --timeout 2 2>" + log), 0) << read_file(log);
    EXPECT_EQ(folder_.runs(), 1);
    EXPECT_THAT(read_file(log),
                HasSubstr("A process of another machine or container is measuring"));
    EXPECT_NE(run_in_shell(ctl + " forget --all --yes"), 0);
}

TEST_F(Measure, takes_no_verdict_of_others_for_a_crash) {
    // While the first run waits for its turn, somebody else records a verdict.
    folder_.script(1, begin("GL_RGB32F_ARB_SUPPORTED") + opening() +
                          begin("GL_LUMINANCE32F_ARB_SUPPORTED") + "raise 6\n");
    folder_.script(2, "exit 0\n");
    EXPECT_TRUE(folder_.ctl({"measure"}).exited_with(0));
    EXPECT_EQ(verdict(0, "supported"), "no");
    EXPECT_EQ(verdict(2, "supported"), "crashed");
}

TEST_F(Measure, takes_no_verdict_of_others_for_a_crash_when_nothing_is_left_to_measure) {
    std::string others;
    for (const Format& format : kFormats) others += begin(std::string(format.name) + "_SUPPORTED");
    folder_.script(others + opening());
    EXPECT_TRUE(folder_.ctl({"measure"}).exited_with(0));
    EXPECT_EQ(verdict(15, "supported"), "no");
    EXPECT_EQ(first_set().at("details").size(), 0u);
}

TEST_F(Measure, keeps_verdicts_of_others_when_it_is_stopped_while_it_waits) {
    folder_.script("set " + *id_ + " VERSION number 0.21\n" + begin("GL_RGB32F_ARB_SUPPORTED") +
                   "hang\n");
    const pid_t process = folder_.start_ctl({"measure"});
    while (read_file(folder_.file("runs")).empty()) usleep(10000);
    usleep(300000);
    kill(process, SIGTERM);
    EXPECT_TRUE(finish(process).exited_with(128 + SIGTERM));
    EXPECT_EQ(folder_.records().at(*id_).at("GL_RGB32F_ARB_SUPPORTED"), "boolean 0");
}

TEST_F(Measure, is_not_disturbed_by_forget) {
    folder_.prepare(SCRIPTED_TOOL, "set " + *id_ + " VERSION number 0.21\nsync " + *id_ + "\n");
    {
        const TurnHolder holder(folder_.file("measuring.lock"));
        const Finished run = folder_.ctl({"forget", "--all", "--yes"});
        EXPECT_TRUE(run.exited_with(1));
        EXPECT_THAT(run.err, HasSubstr("process " + std::to_string(holder.process()) +
                                       " is measuring; try again when it has ended"));
        EXPECT_EQ(folder_.records().size(), 1u);
    }
    EXPECT_TRUE(folder_.ctl({"forget", "--all", "--yes"}).exited_with(0));
    EXPECT_TRUE(folder_.records().empty());
}

TEST_F(Measure, forgotten_leaves_no_mark) {
    folder_.script(1, opening() + begin("GL_RGB32F_ARB_SUPPORTED") + "raise 11\n");
    folder_.script(2, "exit 0\n");
    folder_.ctl({"measure"});
    EXPECT_EQ(folder_.records().size(), 2u);
    folder_.ctl({"forget", "--all", "--yes"});
    EXPECT_TRUE(folder_.records().empty());
}

TEST_F(Measure, tests_again_what_the_tool_of_a_killed_one_had_in_hand) {
    folder_.script(1, opening() + test("GL_RGB32F_ARB_SUPPORTED", "GL_RGB32F_ARB supported", true) +
                          begin("GL_RGB32F_ARB_RENDERABLE") + "hang\n");
    const pid_t process = folder_.start_ctl({"measure"});
    while (read_file(folder_.file("runs")).empty()) usleep(10000);
    usleep(700000);
    kill(process, SIGKILL);
    finish(process);
    // The tool hangs on, and nobody has the turn: the scripted one takes none.
    folder_.script(2, "exit 0\n");
    EXPECT_TRUE(folder_.ctl({"measure"}).exited_with(0));
    EXPECT_EQ(verdict(0, "supported"), "yes");
    EXPECT_EQ(verdict(0, "renderable"), "unmeasured");
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        std::error_code ignored;
        if (std::filesystem::read_symlink(entry.path() / "exe", ignored) == folder_.tool()) {
            kill(std::stoi(entry.path().filename()), SIGKILL);
        }
    }
}

/// Ten crashes and two hangs in transfer tests that a healthy run passes or fails.
struct Fault {
    std::size_t format;
    std::size_t capability;
    int signal;
};
constexpr Fault kFaults[] = {{0, 2, SIGSEGV}, {0, 3, SIGABRT},  {1, 4, SIGBUS},  {2, 5, SIGSEGV},
                             {4, 2, SIGSEGV}, {6, 3, 0},        {7, 4, SIGABRT}, {9, 5, SIGFPE},
                             {10, 2, SIGILL}, {12, 3, SIGSEGV}, {14, 4, 0},      {15, 5, SIGABRT}};

TEST(MeasureOnARealDriver, survives_ten_crashes_and_two_hangs) {
    const ToolFolder healthy(TOOL);
    ASSERT_TRUE(healthy.run().exited_with(0));
    const RecordSets undisturbed = healthy.records();
    const CtlFolder folder(CTL, FAILING_TOOL);
    std::string faults;
    for (const Fault& fault : kFaults) {
        faults += std::to_string(kFormats[fault.format].internalFormat) + ' ' +
                  std::to_string(fault.capability) + ' ' + std::to_string(fault.signal) + '\n';
    }
    write_file(folder.file("faults"), faults);
    const Finished run = folder.ctl({"measure", "--timeout", "5"});
    ASSERT_TRUE(run.exited_with(0)) << run.err << run.out;

    const RecordSets records = folder.records();
    for (const auto& [id, expected] : undisturbed) {
        auto disturbed = expected;
        for (const Fault& fault : kFaults) {
            disturbed[std::string(kFormats[fault.format].name) + '_' +
                      kCapabilities[fault.capability]] = "boolean 0";
        }
        EXPECT_EQ(records.at(id), disturbed) << id;
    }
    const json set = json::parse(folder.ctl({"export"}).out).at("record_sets").at(0);
    EXPECT_EQ(set.at("complete"), true);
    constexpr const char* kMembers[] = {"supported",    "renderable",   "upload_set",
                                        "upload_reset", "download_get", "download_read"};
    for (const Fault& fault : kFaults) {
        EXPECT_EQ(set.at("formats").at(fault.format).at(kMembers[fault.capability]),
                  fault.signal == 0 ? "hung" : "crashed")
            << kFormats[fault.format].name;
    }
    EXPECT_EQ(set.at("details").size(), std::size(kFaults));
    EXPECT_THAT(folder.ctl({"show"}).out,
                HasSubstr("GL_RGB8 upload reset: did not end within 5 s"));
}

TEST(MeasureOnARealDriver, loses_nothing_when_it_is_killed_itself) {
    const ToolFolder healthy(TOOL);
    ASSERT_TRUE(healthy.run().exited_with(0));
    const RecordSets undisturbed = healthy.records();
    for (const int milliseconds : {30, 80, 150, 250, 400, 600}) {
        const CtlFolder folder(CTL, TOOL);
        const pid_t process = folder.start_ctl({"measure"});
        std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
        kill(process, SIGKILL);
        finish(process);
        const Finished next = folder.ctl({"measure"});
        ASSERT_TRUE(next.exited_with(0)) << next.err;
        RecordSets records = folder.records();
        for (const auto& [id, expected] : undisturbed) {
            EXPECT_EQ(records[id], expected) << milliseconds;
        }
    }
}

}  // namespace
}  // namespace texprobe::tests
