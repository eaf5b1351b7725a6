// Timing as its child dies, hangs and talks: the child is a script.

#include "time/time_run.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>

#include "process/private_folder.h"
#include "support/tool_folder.h"

namespace texprobe::tests {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class TimeRun : public testing::Test {
protected:
    TimeRun() {
        set_.id = "org.texprobe.texprobe2.ab.build";
        set_.rendererID = "ab";
        for (auto& format : set_.verdicts) format.fill(ctl::Verdict::kYes);
        options_.formats = {7};
        options_.size = {128, 128};
        options_.within = std::chrono::seconds(100);
        options_.watch = [this](const ctl::Cell& cell, double) {
            watched_.push_back(words_of(cell));
        };
    }

    /// Runs a child that does what `script` says, with the numbers of the cells as its arguments:
    /// 44 is GL_RGBA8's set. All its arguments are noted, run by run.
    ctl::Times run(const std::string& script) {
        const auto file = folder_.path() / "program";
        write_file(file,
                   "#!/bin/sh\necho \"$*\" >>" + noted().string() + "\nshift 5\n" + script + '\n');
        std::filesystem::permissions(file, std::filesystem::perms::owner_all);
        options_.self = file;
        return ctl::time_transfers(set_, options_);
    }
    std::filesystem::path noted() const { return folder_.file("noted"); }

    /// "set timed" for each transfer, with the reason if there is one.
    static std::vector<std::string> states(const ctl::Times& times) {
        std::vector<std::string> states;
        for (const ctl::TransferTimes& transfer : times.transfers) {
            states.push_back(std::string(ctl::kCapabilities[transfer.what.cell.capability].column) +
                             ' ' + name_of(transfer.state) +
                             (transfer.reason.empty() ? "" : ": " + transfer.reason));
        }
        return states;
    }

    ctl::RecordSet set_;
    ctl::TimeOptions options_;
    ctl::PrivateFolder folder_;
    std::vector<std::string> watched_;
};

TEST_F(TimeRun, has_what_the_child_says) {
    set_.verdicts[7][kUploadReset] = ctl::Verdict::kCrashed;
    set_.verdicts[7][kDownloadRead] = ctl::Verdict::kNotApplicable;
    const ctl::Times times = run(R"(
for what in "$@" "$@"; do
    echo "begin $what"; echo "way 1 0.1"; echo "way 1 0.4"; echo done
done)");
    EXPECT_THAT(states(times), ElementsAre("set timed", "reset not_verified: crashed", "get timed",
                                           "read not_verified: not_applicable"));
    EXPECT_EQ(times.transfers[0].bytes, 65536u);
    // Of two visits: 0.1, 0.1, 0.4, 0.4.
    ASSERT_EQ(times.transfers[0].ways.size(), 1u);
    EXPECT_EQ(times.transfers[0].ways[0].way, 1u);
    EXPECT_EQ(times.transfers[0].ways[0].rounds, 4);
    EXPECT_EQ(times.transfers[0].ways[0].seconds, (ctl::Quartiles{0.1, 0.25, 0.4}));
    EXPECT_THAT(times.transfers[1].ways, IsEmpty());
    EXPECT_THAT(watched_, ElementsAre("GL_RGBA8 upload set", "GL_RGBA8 download get",
                                      "GL_RGBA8 upload set", "GL_RGBA8 download get"));
    const std::string words = read_file(noted());
    EXPECT_THAT(words, StartsWith("--as-child time ab 128 99.9"));
    EXPECT_THAT(words, EndsWith(" 44 46\n"));
}

TEST_F(TimeRun, starts_no_child_where_nothing_is_verified) {
    set_.verdicts[7].fill(ctl::Verdict::kNo);
    EXPECT_THAT(states(run("exit 3")), testing::Each(HasSubstr("not_verified: no")));
    EXPECT_FALSE(std::filesystem::exists(noted()));
}

TEST_F(TimeRun, counts_neither_the_opening_nor_a_crash) {
    run(R"(
[ $# = 4 ] && sleep 2
for what; do
    echo "begin $what"
    [ "$what" = 44 ] && { sleep 2; kill -SEGV $$; }
    echo done
done)");
    const auto runs = lines_of(read_file(noted()));
    ASSERT_EQ(runs.size(), 2u);
    double left = 0.0;
    ASSERT_EQ(std::sscanf(runs[1].c_str(), "--as-child time ab 128 %lf", &left), 1) << runs[1];
    EXPECT_GT(left, 98.1);
}

TEST_F(TimeRun, loses_one_transfer_to_a_crash_and_one_to_a_hang) {
    options_.limit = std::chrono::seconds(1);
    const ctl::Times times = run(R"(
for what; do
    echo "begin $what"; echo "way 1 0.1"
    [ "$what" = 45 ] && kill -SEGV $$
    [ "$what" = 46 ] && sleep 60
    echo done
done)");
    EXPECT_THAT(states(times),
                ElementsAre("set timed", "reset failed: the process was ended by SIGSEGV",
                            "get failed: the process did not end within 1 s", "read timed"));
    EXPECT_THAT(times.transfers[1].ways, IsEmpty());
    EXPECT_THAT(lines_of(read_file(noted())),
                ElementsAre(EndsWith(" 44 45 46 47"), EndsWith(" 44 46 47"), EndsWith(" 44 47")));
    // Set, of all runs.
    EXPECT_EQ(times.transfers[0].ways.at(0).rounds, 3);
}

TEST_F(TimeRun, knows_what_failed_and_what_had_no_time) {
    const ctl::Times times = run(R"(
echo chatter of a driver; echo done; echo begin nonsense; echo begin 43; echo way 1 0.1
echo begin 44; echo "failed OpenGL reported 0x0505"
echo begin 46; echo way nonsense 1; echo way 3 0.1; echo way 1; echo way 2 0.1; echo done
echo begin 47; echo way 1 0.1
exit 0)");
    EXPECT_THAT(states(times),
                ElementsAre("set failed: OpenGL reported 0x0505", "reset no_time", "get timed",
                            "read failed: the process ended too early"));
    ASSERT_EQ(times.transfers[2].ways.size(), 1u);
    EXPECT_EQ(times.transfers[2].ways[0].way, 2u);
    EXPECT_THAT(states(run("echo begin 44; echo way 1 0.1; echo done")),
                ElementsAre("set timed", "reset no_time", "get no_time", "read no_time"));
}

TEST_F(TimeRun, has_no_numbers_where_a_later_visit_failed) {
    const ctl::Times times = run(R"(
echo "begin 44"; echo "way 1 0.1"; echo done
echo "begin 44"; kill -SEGV $$)");
    EXPECT_EQ(states(times).at(0), "set failed: the process was ended by SIGSEGV");
    EXPECT_THAT(times.transfers[0].ways, IsEmpty());
}

TEST_F(TimeRun, has_what_was_timed_where_the_renderer_cannot_be_opened_again) {
    const ctl::Times times = run("[ $(wc -l <" + noted().string() + R"() = 1 ] || {
    echo '*** no context' >&2
    exit 1
}
echo "begin 44"; echo "way 1 0.1"; echo done
echo "begin 45"; kill -SEGV $$)");
    EXPECT_THAT(states(times),
                ElementsAre("set timed", "reset failed: the process was ended by SIGSEGV",
                            "get failed: the renderer cannot be opened: no context",
                            "read failed: the renderer cannot be opened: no context"));
}

TEST_F(TimeRun, says_why_the_renderer_cannot_be_opened) {
    const auto troubleOf = [&](const std::string& script) -> std::string {
        try {
            run(script);
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return "none";
    };
    EXPECT_EQ(troubleOf("printf '*** cannot create OpenGL context' >&2; exit 1"),
              "the renderer cannot be opened: cannot create OpenGL context");
    EXPECT_EQ(troubleOf("kill -ABRT $$"),
              "the renderer cannot be opened: the process was ended by SIGABRT");
    EXPECT_EQ(troubleOf("exit 0"), "the renderer cannot be opened: the process has timed nothing");
}

}  // namespace
}  // namespace texprobe::tests
