// texprobectl measure: a scripted tool that crashes, hangs, waits and fails, and a real driver that
// crashes in ten tests and hangs in two.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <nlohmann/json.hpp>
#include <thread>

#include "ctl/scripted_measure.h"
#include "support/formats.h"

namespace texprobe::tests {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

class Measure : public ScriptedMeasure {};

TEST_F(Measure, remembers_the_signal_of_a_crash) {
    folder_.script(1, opening() + test("GL_RGB32F_ARB_SUPPORTED", "GL_RGB32F_ARB supported", true) +
                          begin("GL_RGB32F_ARB_RENDERABLE") + "raise 6\n");
    folder_.script(2, rest({{"GL_RGB32F_ARB_RENDERABLE", false}}));
    const Finished run = folder_.ctl({"measure"});
    EXPECT_TRUE(run.exited_with(0)) << run.err;
    EXPECT_EQ(folder_.runs(), 2);
    EXPECT_EQ(verdict(0, "supported"), "yes");
    EXPECT_EQ(verdict(0, "renderable"), "crashed");
    EXPECT_EQ(first_set().at("details"), json::parse(R"([{"name": "GL_RGB32F_ARB",
        "capability": "renderable", "signal": "SIGABRT"}])"));
    EXPECT_THAT(run.out, HasSubstr("GL_RGB32F_ARB render: ended by SIGABRT"));
}

TEST_F(Measure, gives_each_end_of_a_run_its_verdict) {
    const std::string key = "GL_RGB32F_ARB_SUPPORTED";
    const std::string inHand = opening() + begin(key);
    const std::string saidYes = "say " + line("GL_RGB32F_ARB supported: 1");
    const std::string ofOthers = waiting() + "set " + *id_ + " VERSION number 0.21\n" + begin(key);
    const std::string rest = ScriptedMeasure::rest({{key, false}});
    const std::string nothing = "exit 0\n";
    const struct {
        const char* what;
        std::vector<std::string> runs;
        const char* verdict;
        /// What the document adds to the verdict.
        const char* detail;
    } rows[] = {{"a hang", {inHand + "hang\n", rest}, "hung", R"("seconds":2)"},
                {"the driver exits", {inHand + "exit 3\n", rest}, "crashed", R"("exit_status":3)"},
                {"with status 0", {inHand + "exit 0\n", rest}, "crashed", R"("exit_status":0)"},
                {"a kill from outside", {inHand + "raise 9\n", nothing}, "unmeasured", ""},
                {"a second one in the same test",
                 {inHand + "raise 9\n", inHand + "raise 9\n", rest},
                 "crashed",
                 R"("signal":"SIGKILL")"},
                {"said to be yes and not on disk yet",
                 {inHand + saidYes + "raise 9\n", nothing},
                 "unmeasured",
                 ""},
                // What is false then may be somebody's no, or the test that he is in.
                {"a tool that waits is killed", {ofOthers + "raise 9\n", rest}, "no", ""},
                {"a tool that waits crashes", {ofOthers + "raise 11\n", rest}, "no", ""}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        const CtlFolder folder(CTL, SCRIPTED_TOOL);
        for (std::size_t i = 0; i < row.runs.size(); ++i) {
            folder.script(static_cast<int>(i) + 1, row.runs[i]);
        }
        const Finished run = folder.ctl({"measure", "--timeout", "2"});
        const bool isComplete = row.runs.back() == rest;
        EXPECT_TRUE(run.exited_with(isComplete ? 0 : 1)) << run.err;
        EXPECT_EQ(folder.runs(), static_cast<int>(row.runs.size()));
        const json set = json::parse(folder.ctl({"export"}).out).at("record_sets").at(0);
        EXPECT_EQ(set.at("complete"), isComplete);
        EXPECT_EQ(set.at("formats").at(0).at("supported"), row.verdict);
        EXPECT_EQ(set.at("details").empty(), row.detail == std::string());
        EXPECT_THAT(set.at("details").dump(), HasSubstr(row.detail));
    }
}

TEST_F(Measure, does_not_take_slow_tests_for_a_hang) {
    std::string script = opening();
    for (std::size_t i = 0; i < 4; ++i) {
        script += "sleep 600\n" + test(std::string(kFormats[i].name) + "_SUPPORTED",
                                       std::string(kFormats[i].name) + " supported", true);
    }
    folder_.script(script + rest());
    const Finished run = folder_.ctl({"measure", "--timeout", "2"});
    EXPECT_TRUE(run.exited_with(0)) << run.err;
    EXPECT_EQ(folder_.runs(), 1);
}

TEST_F(Measure, tells_a_no_from_a_crash) {
    folder_.script(opening() + test("GL_RGB32F_ARB_SUPPORTED", "GL_RGB32F_ARB supported", false) +
                   rest({{"GL_RGB32F_ARB_SUPPORTED", false}}));
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

TEST_F(Measure, is_complete_when_all_is_recorded_however_the_last_run_ended) {
    folder_.script(rest() + opening() + "raise 11\n");
    const Finished run = folder_.ctl({"measure"});
    EXPECT_TRUE(run.exited_with(0)) << run.err;
    EXPECT_EQ(folder_.runs(), 1);
    EXPECT_TRUE(first_set().at("details").empty());
}

TEST_F(Measure, is_not_complete_without_the_names_that_applications_look_for) {
    folder_.script(rest() + removed("GL_RENDERER") + opening());
    const Finished run = folder_.ctl({"measure"});
    EXPECT_TRUE(run.exited_with(1));
    EXPECT_THAT(run.err, HasSubstr("are not recorded, which applications look for"));
}

TEST_F(Measure, takes_the_names_from_an_outdated_set_before_its_tool_begins) {
    for (const char* version : {"0.20", "0.21"}) {
        folder_.prepare(SCRIPTED_TOOL, rest() + "set " + *id_ + " VERSION number " + version +
                                           "\nsync " + *id_ + "\n");
        folder_.ctl({"measure", "--tool", "/bin/true"});
        const bool isOutdated = version == std::string("0.20");
        for (const char* name : {"vendor", "gl_version", "renderer"}) {
            EXPECT_EQ(first_set().at(name).is_null(), isOutdated) << version << name;
        }
    }
}

TEST_F(Measure, is_not_complete_when_the_tool_records_nothing) {
    const Finished run = folder_.ctl({"measure", "--tool", "/bin/true"});
    EXPECT_TRUE(run.exited_with(1));
    EXPECT_THAT(run.err, HasSubstr("not complete: two runs in a row recorded nothing: texprobe "
                                   "ended with status 0; nothing is recorded of "));
}

/// A run says what it has measured, whether or not it could record it.
void expect_not_complete(const CtlFolder& folder, const std::string& error) {
    const Finished run = folder.ctl({"measure"});
    EXPECT_TRUE(run.exited_with(1)) << run.err;
    EXPECT_THAT(run.err, HasSubstr("texprobectl: not complete: "));
    EXPECT_THAT(run.err, HasSubstr("(*** texprobe records: cannot use " + folder.path().string() +
                                   "/records" + error + ")"));
    EXPECT_THAT(run.err, Not(HasSubstr(": 96 of 96 verdicts")));
}

TEST(MeasureWithoutAStore, is_not_complete_and_says_which_file_and_which_error) {
    const CtlFolder folder(CTL, TOOL);
    write_file(folder.file("records"), "");
    expect_not_complete(folder, ": it is not a directory");
}

TEST(MeasureWithoutAStore, is_not_complete_on_a_full_disk) {
    const CtlFolder folder(CTL, TOOL);
    const auto records = folder.file("records");
    std::filesystem::create_directory(records);
    const pid_t child = start([&] {
        if (unshare(CLONE_NEWNS) != 0 ||
            mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            mount("none", records.c_str(), "tmpfs", 0, "mode=700,size=8k") != 0) {
            return 77;
        }
        expect_not_complete(folder, "/records.sqlite3: No space left on device");
        return testing::Test::HasFailure() ? 1 : 0;
    });
    const int status = status_of(child);
    if (WIFEXITED(status) && WEXITSTATUS(status) == 77)
        GTEST_SKIP() << "no disks of one's own here";
    EXPECT_EQ(status, 0);
}

TEST_F(Measure, ends_after_two_runs_that_record_nothing) {
    folder_.script("said *** cannot create OpenGL context\nexit 1\n");
    const Finished run = folder_.ctl({"measure"});
    EXPECT_TRUE(run.exited_with(1));
    EXPECT_EQ(folder_.runs(), 2);
    EXPECT_THAT(run.err, HasSubstr("texprobectl: not complete: two runs in a row recorded nothing: "
                                   "texprobe ended with status 1 (*** cannot create OpenGL "
                                   "context); nothing is recorded of "));
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

TEST_F(Measure, forgets_a_crash_that_is_measured_again) {
    folder_.script(1, opening() + begin("GL_RGB32F_ARB_SUPPORTED") + "raise 11\n");
    folder_.script(2, rest({{"GL_RGB32F_ARB_SUPPORTED", false}}));
    folder_.ctl({"measure"});
    EXPECT_EQ(verdict(0, "supported"), "crashed");
    folder_.script(3, removed("GL_RGB32F_ARB_SUPPORTED") + opening() +
                          test("GL_RGB32F_ARB_SUPPORTED", "GL_RGB32F_ARB supported", false));
    folder_.ctl({"measure"});
    EXPECT_EQ(verdict(0, "supported"), "no");
    EXPECT_TRUE(first_set().at("details").empty());
}

TEST_F(Measure, takes_no_mark_for_a_record_that_is_true) {
    folder_.script(1, opening() + begin("GL_RGB32F_ARB_SUPPORTED") + "raise 11\n");
    folder_.script(2, rest({{"GL_RGB32F_ARB_SUPPORTED", false}}));
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
    await_run(1);
    usleep(700000);
    kill(process, SIGINT);
    EXPECT_TRUE(finish(process).exited_with(130));
    EXPECT_THAT(read_file(folder_.file("ctl.err")),
                HasSubstr("`texprobectl measure` continues with the"));
    // The test in hand was not the driver's fault: it is not recorded.
    EXPECT_EQ(verdict(0, "renderable"), "unmeasured");
}

TEST_F(Measure, prints_one_line_for_each_renderer_where_there_is_no_terminal) {
    folder_.script(opening() + test("GL_RGB32F_ARB_SUPPORTED", "GL_RGB32F_ARB supported", true));
    const Finished run = folder_.ctl({"measure"});
    EXPECT_EQ(lines_of(run.err).size(), 2u) << run.err;
    EXPECT_THAT(run.err, HasSubstr(": 1 of 96 verdicts\ntexprobectl: not complete: "));
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
    const Finished run = folder.ctl({"measure", "--timeout", "3"});
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
    const json& details = set.at("details");
    EXPECT_EQ(std::count_if(details.begin(), details.end(),
                            [](const json& detail) { return !detail.contains("of_test"); }),
              std::size(kFaults));
    EXPECT_THAT(folder.ctl({"show"}).out,
                HasSubstr("GL_RGB8 upload reset: did not end within 3 s"));
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
