// Timing as its child dies, hangs and talks: the child is a script.

#include "time/time_run.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <filesystem>
#include <sstream>

#include "process/private_folder.h"
#include "process/stop_signals.h"
#include "support/tool_folder.h"

namespace texprobe::tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class TimeRun : public testing::Test, private ctl::TimeWatcher {
protected:
    TimeRun() {
        set_.id = "org.texprobe.texprobe2.ab.build";
        set_.rendererID = "ab";
        for (auto& format : set_.verdicts) format.fill(ctl::Verdict::kYes);
    }

    /// Runs a child that does what `script` says. Its arguments are noted, run by run.
    ctl::Times run(const std::string& script) {
        const auto file = folder_.path() / "program";
        write_file(file, "#!/bin/sh\necho \"$*\" >>" + noted().string() + '\n' + script + '\n');
        std::filesystem::permissions(file, std::filesystem::perms::owner_all);
        options_.self = file;
        return ctl::time_transfers(set_, options_, *this);
    }
    std::filesystem::path noted() const { return folder_.file("noted"); }

    /// "set 128 timed" for each transfer, with the reason if there is one.
    static std::vector<std::string> states(const ctl::Times& times) {
        std::vector<std::string> states;
        for (const ctl::TransferTimes& transfer : times.transfers) {
            states.push_back(std::string(ctl::kCapabilities[transfer.what.transfer].column) + ' ' +
                             transfer.what.size.name() + ' ' + name_of(transfer.state) +
                             (transfer.reason.empty() ? "" : ": " + transfer.reason));
        }
        return states;
    }

    void begun(const ctl::TimedTransfer& what, std::size_t done, std::size_t all) override {
        watched_.push_back("begun " + what.text() + ' ' + std::to_string(done) + '/' +
                           std::to_string(all));
        if (isStopped_ && done == 1) raise(SIGTERM);
    }
    void failed(const ctl::TransferTimes& transfer) override {
        watched_.push_back("failed " + transfer.what.text() + ": " + transfer.reason);
    }

    ctl::RecordSet set_;
    ctl::TimeOptions options_{{}, {7}, {{128, 128}, {512, 512}}, 100, 60};
    ctl::PrivateFolder folder_;
    std::vector<std::string> watched_;
    bool isStopped_ = false;
};

// Times all that it is given.
constexpr const char* kTimesAll = R"(
shift 4
for what; do
    echo "begin $what"; echo step; echo "way one_kept 0.1 0.4"; echo done
done)";

TEST_F(TimeRun, has_what_the_child_says) {
    set_.verdicts[7][kUploadReset] = ctl::Verdict::kCrashed;
    set_.verdicts[7][kDownloadRead] = ctl::Verdict::kNotApplicable;
    options_.sizes = {{128, 128}};
    const ctl::Times times = run(kTimesAll);
    EXPECT_THAT(states(times),
                ElementsAre("set 128 timed", "reset 128 not_verified: crashed", "get 128 timed",
                            "read 128 not_verified: not_applicable"));
    EXPECT_EQ(times.transfers[0].bytes, 65536u);
    // Of three visits: 0.1, 0.1, 0.1, 0.4, 0.4, 0.4.
    ASSERT_EQ(times.transfers[0].ways.size(), 1u);
    EXPECT_EQ(times.transfers[0].ways[0].way, 2u);
    EXPECT_EQ(times.transfers[0].ways[0].rounds, 6);
    EXPECT_EQ(times.transfers[0].ways[0].seconds, (ctl::Quartiles{0.1, 0.25, 0.4}));
    EXPECT_THAT(times.transfers[1].ways, IsEmpty());
    EXPECT_THAT(
        watched_,
        ElementsAre("begun GL_RGBA8:upload_set:128 0/6", "begun GL_RGBA8:download_get:128 1/6",
                    "begun GL_RGBA8:upload_set:128 2/6", "begun GL_RGBA8:download_get:128 3/6",
                    "begun GL_RGBA8:upload_set:128 4/6", "begun GL_RGBA8:download_get:128 5/6"));
    const std::string words = read_file(noted());
    EXPECT_THAT(words, HasSubstr("--as-child time ab "));
    EXPECT_THAT(
        words,
        HasSubstr(" GL_RGBA8:upload_set:128 GL_RGBA8:download_get:128 GL_RGBA8:upload_set:128 "));
}

TEST_F(TimeRun, starts_no_child_where_nothing_is_verified) {
    set_.verdicts[7].fill(ctl::Verdict::kNo);
    EXPECT_THAT(states(run("exit 3")), testing::Each(HasSubstr("not_verified: no")));
    EXPECT_FALSE(std::filesystem::exists(noted()));
}

TEST_F(TimeRun, loses_one_transfer_to_a_crash) {
    const ctl::Times times = run(R"(
shift 4
for what; do
    echo "begin $what"; echo "way one_kept 0.1"
    [ "$what" = GL_RGBA8:upload_reset:128 ] && kill -SEGV $$
    echo done
done)");
    EXPECT_THAT(
        states(times),
        ElementsAre("set 128 timed", "set 512 timed",
                    "reset 128 failed: the process was ended by SIGSEGV",
                    "reset 512 failed: not tried, because at 128 the process was ended by SIGSEGV",
                    "get 128 timed", "get 512 timed", "read 128 timed", "read 512 timed"));
    EXPECT_THAT(times.transfers[2].ways, IsEmpty());
    // Behind the beginnings of set and reset at 128.
    EXPECT_EQ(watched_[2], "failed GL_RGBA8:upload_reset:128: the process was ended by SIGSEGV");
    EXPECT_EQ(lines_of(read_file(noted())).size(), 2u);
}

TEST_F(TimeRun, loses_one_transfer_to_a_hang) {
    options_.limit = 5;
    options_.sizes = {{128, 128}};
    const ctl::Times times = run(R"(
shift 4
for what; do
    echo "begin $what"
    [ "$what" = GL_RGBA8:download_get:128 ] && sleep 60
    echo done
done)");
    EXPECT_THAT(states(times), ElementsAre("set 128 timed", "reset 128 timed",
                                           "get 128 failed: the process did not end within 5 s",
                                           "read 128 timed"));
    // Its own seconds are not taken from the others' time.
    const auto secondsOf = [&](std::size_t run) {
        std::istringstream stream(lines_of(read_file(noted())).at(run));
        std::string word;
        double seconds = 0.0;
        stream >> word >> word >> word >> seconds;
        return seconds;
    };
    EXPECT_LT(secondsOf(0) - secondsOf(1), 4.5);
}

TEST_F(TimeRun, knows_what_failed_and_what_had_no_time) {
    options_.sizes = {{128, 128}};
    const ctl::Times times = run(R"(
echo chatter of a driver; echo done; echo begin nonsense; echo begin GL_RGB8:upload_set:128
shift 4
for what; do
    echo "begin $what"
    case $what in
        *:upload_set:*) echo "failed OpenGL reported 0x0505" ;;
        *:upload_reset:*) echo late ;;
        *:download_get:*) echo way nonsense 1; echo way one_kept; echo done ;;
        *) exit 0 ;;
    esac
done)");
    EXPECT_THAT(states(times),
                ElementsAre("set 128 failed: OpenGL reported 0x0505", "reset 128 no_time",
                            "get 128 timed", "read 128 failed: the process ended too early"));
    EXPECT_THAT(times.transfers[2].ways, IsEmpty());
}

TEST_F(TimeRun, is_timed_where_only_a_later_visit_had_no_time) {
    options_.sizes = {{128, 128}};
    const ctl::Times times = run(R"(
shift 4
for what in "$1" "$2" "$3" "$4"; do echo "begin $what"; echo "way one_kept 0.1"; echo done; done
shift 4
for what; do echo "begin $what"; echo late; done)");
    EXPECT_THAT(states(times),
                ElementsAre("set 128 timed", "reset 128 timed", "get 128 timed", "read 128 timed"));
    EXPECT_EQ(times.transfers[3].ways.at(0).rounds, 1);
}

TEST_F(TimeRun, has_no_numbers_where_a_later_visit_failed) {
    options_.sizes = {{128, 128}};
    const ctl::Times times = run(R"(
shift 4
echo "begin $1"; echo "way one_kept 0.1"; echo done
echo "begin $1"; kill -SEGV $$)");
    EXPECT_EQ(states(times).at(0), "set 128 failed: the process was ended by SIGSEGV");
    EXPECT_THAT(times.transfers[0].ways, IsEmpty());
}

TEST_F(TimeRun, has_what_was_timed_where_the_renderer_cannot_be_opened_again) {
    options_.sizes = {{128, 128}};
    const ctl::Times times = run("[ $(wc -l <" + noted().string() + R"() = 1 ] || {
    echo '*** no context' >&2
    exit 1
}
shift 4
echo "begin $1"; echo "way one_kept 0.1"; echo done
echo "begin $2"; kill -SEGV $$)");
    EXPECT_THAT(states(times),
                ElementsAre("set 128 timed", "reset 128 failed: the process was ended by SIGSEGV",
                            "get 128 failed: the renderer cannot be opened: no context",
                            "read 128 failed: the renderer cannot be opened: no context"));
}

TEST_F(TimeRun, says_why_the_renderer_cannot_be_opened) {
    const auto troubleOf = [&](const std::string& script) -> std::string {
        try {
            run(script);
        } catch (const ctl::TimeError& error) {
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

TEST_F(TimeRun, that_is_stopped_has_what_was_timed) {
    const ctl::StopSignals stopSignals;
    options_.sizes = {{128, 128}};
    isStopped_ = true;
    const ctl::Times times = run(R"(
shift 4
echo "begin $1"; echo "way one_kept 0.1"; echo done
echo "begin $2"; echo "way one_kept 0.1"; exec sleep 30)");
    EXPECT_THAT(states(times), ElementsAre("set 128 timed", "reset 128 interrupted",
                                           "get 128 interrupted", "read 128 interrupted"));
    EXPECT_EQ(times.transfers[0].ways.size(), 1u);
    EXPECT_THAT(times.transfers[1].ways, IsEmpty());
}

}  // namespace
}  // namespace texprobe::tests
