// The parts of `time` without OpenGL: sizes, shares, rounds, statistics, the answer, its text and
// its document.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "documents/document.h"
#include "documents/times_document.h"
#include "documents/write_json.h"
#include "support/scratch_folder.h"
#include "support/text.h"
#include "support/tool_folder.h"
#include "text/write_text.h"
#include "time/rounds.h"

namespace texprobe::tests {
namespace {

using ctl::Quartiles;
using ctl::TimedState;
using ctl::TimedWay;
using ctl::Times;
using ctl::TransferTimes;
using ctl::WayRounds;
using testing::AllOf;
using testing::DoubleNear;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

constexpr std::size_t kRGBA8 = 7;
constexpr std::size_t kOneKept = 2;
constexpr std::size_t kThreeFresh = 6;

TEST(Quartiles, lie_between_values_in_proportion) {
    EXPECT_EQ(ctl::quartiles_of({}), (Quartiles{0, 0, 0}));
    EXPECT_EQ(ctl::quartiles_of({7}), (Quartiles{7, 7, 7}));
    EXPECT_EQ(ctl::quartiles_of({3, 1}), (Quartiles{1.5, 2, 2.5}));
    // The places are 0.75, 1.5 and 2.25, counted from 0.
    EXPECT_EQ(ctl::quartiles_of({40, 10, 30, 20}), (Quartiles{17.5, 25, 32.5}));
    EXPECT_EQ(ctl::quartiles_of({5, 4, 3, 2, 1}), (Quartiles{2, 3, 4}));
}

TEST(Quartiles, spread_to_the_farther_side) {
    EXPECT_DOUBLE_EQ((Quartiles{9, 10, 13}).spread(), 0.3);
    EXPECT_DOUBLE_EQ((Quartiles{6, 10, 11}).spread(), 0.4);
    EXPECT_DOUBLE_EQ((Quartiles{0, 0, 0}).spread(), 0.0);
}

TEST(Quantile, is_the_value_at_that_part) {
    EXPECT_DOUBLE_EQ(ctl::quantile({0, 10, 20, 30, 40}, 0.9), 36);
    EXPECT_DOUBLE_EQ(ctl::quantile({4, 2}, 0.0), 2);
    EXPECT_DOUBLE_EQ(ctl::quantile({4, 2}, 1.0), 4);
}

TEST(Size, has_a_name_or_is_the_side_of_a_square) {
    EXPECT_EQ(ctl::parse_size("128"), (ctl::ImageSize{128, 128}));
    EXPECT_EQ(ctl::parse_size("1080p"), (ctl::ImageSize{1920, 1080}));
    EXPECT_EQ(ctl::parse_size("2160p"), (ctl::ImageSize{3840, 2160}));
    EXPECT_EQ(ctl::parse_size("4"), (ctl::ImageSize{4, 4}));
    EXPECT_EQ(ctl::parse_size("4096"), (ctl::ImageSize{4096, 4096}));
    for (const char* wrong : {"", "0", "-4", "2", "130", "4100", "720p", "128x", "1080"}) {
        const bool isSquare = std::string(wrong) == "1080";
        EXPECT_EQ(ctl::parse_size(wrong).has_value(), isSquare) << wrong;
    }
    EXPECT_EQ((ctl::ImageSize{1920, 1080}).name(), "1080p");
    EXPECT_EQ((ctl::ImageSize{640, 640}).name(), "640");
}

TEST(TimedTransfer, comes_back_from_its_text) {
    const ctl::TimedTransfer what = {kRGBA8, kDownloadGet, {1920, 1080}};
    EXPECT_EQ(what.text(), "GL_RGBA8:download_get:1080p");
    EXPECT_EQ(ctl::parse_transfer(what.text()), what);
    for (const char* wrong : {"", "GL_RGBA8", "GL_RGBA8:download_get", "GL_RGBA9:download_get:128",
                              "GL_RGBA8:renderable:128", "GL_RGBA8:download_get:3"}) {
        EXPECT_FALSE(ctl::parse_transfer(wrong)) << wrong;
    }
}

TEST(Share, grows_with_the_root_of_the_bytes_and_a_megabyte) {
    // Weights 2000, 1000 and 3000.
    EXPECT_DOUBLE_EQ(ctl::share_of_first({3000000, 0, 8000000}), 2.0 / 6.0);
    EXPECT_DOUBLE_EQ(ctl::share_of_first({5}), 1.0);
    EXPECT_DOUBLE_EQ(ctl::share_of_first({}), 0.0);
}

/// A machine on which an image takes each way its own time.
class ScriptedClock {
public:
    explicit ScriptedClock(std::map<std::string, double> secondsOf)
        : secondsOf_(std::move(secondsOf)) {}

    ctl::Rounds rounds() {
        return {[this](const ctl::Way& way, int images) {
                    now_ += secondsOf_.at(way.name) * images;
                    steps_.push_back(way.name + ('*' + std::to_string(images)));
                },
                [this] { return now_; }, [this] { now_ += 1000.0 * isSlowBetween_; }};
    }
    void be_slow_between() { isSlowBetween_ = true; }
    const std::vector<std::string>& steps() const { return steps_; }

private:
    const std::map<std::string, double> secondsOf_;
    double now_ = 0.0;
    bool isSlowBetween_ = false;
    std::vector<std::string> steps_;
};

TEST(Rounds, take_each_way_in_turn_and_begin_with_another) {
    ScriptedClock clock({{"copy", 0.5}, {"no_buffer", 1.0}, {"one_kept", 2.0}});
    // The step that decides takes 3 s and a round 10.5, so the second ends behind 14 s.
    const auto times = ctl::time_ways({0, 1, 2}, 14.0, clock.rounds());
    EXPECT_THAT(clock.steps(), ElementsAre("no_buffer*3", "copy*3", "no_buffer*3", "one_kept*3",
                                           "no_buffer*3", "one_kept*3", "copy*3"));
    EXPECT_THAT(times,
                ElementsAre(WayRounds{0, {0.5, 0.5}}, WayRounds{1, {1, 1}}, WayRounds{2, {2, 2}}));
}

TEST(Rounds, are_one_where_there_is_no_time_and_five_at_most) {
    ScriptedClock slow({{"copy", 1.0}});
    EXPECT_EQ(ctl::time_ways({0}, 0.1, slow.rounds())[0].seconds.size(), 1u);
    ScriptedClock fast({{"copy", 1.0}});
    EXPECT_EQ(ctl::time_ways({0}, 1e9, fast.rounds())[0].seconds.size(), 5u);
}

TEST(Rounds, have_steps_of_two_milliseconds_in_whole_laps) {
    // A lap without a buffer takes 0.3 ms, so that seven are needed.
    ScriptedClock clock({{"copy", 0.000001}, {"no_buffer", 0.0001}});
    ctl::time_ways({0, 1}, 0.0, clock.rounds());
    EXPECT_THAT(clock.steps(), ElementsAre("no_buffer*3", "copy*21", "no_buffer*21"));
    ScriptedClock endless({{"copy", 0.0}});
    ctl::time_ways({0}, 0.0, endless.rounds());
    EXPECT_EQ(endless.steps().back(), "copy*300");
}

TEST(Rounds, do_not_count_what_is_between_steps) {
    ScriptedClock clock({{"copy", 1.0}});
    clock.be_slow_between();
    EXPECT_THAT(ctl::time_ways({0}, 1.0, clock.rounds()), ElementsAre(WayRounds{0, {1}}));
}

TransferTimes timed(Capability transfer, std::vector<TimedWay> ways) {
    TransferTimes times;
    times.what = {kRGBA8, transfer, {1920, 1080}};
    times.state = TimedState::kTimed;
    times.bytes = 8294400;
    times.ways = std::move(ways);
    return times;
}

TransferTimes lacking(Capability transfer, TimedState state, const std::string& reason) {
    TransferTimes times;
    times.what = {kRGBA8, transfer, {1920, 1080}};
    times.state = state;
    times.reason = reason;
    return times;
}

/// A copy takes 1 ms, the sub-image without a buffer 8 and with the better buffers 4; redefinition
/// 5; one download crashed, the other is not verified.
Times example() {
    return {"org.texprobe.texprobe2.ab.build",
            "a renderer",
            "4.5 driver",
            {timed(kUploadSet, {{ctl::kCopy, 3, {0.001, 0.001, 0.001}},
                                {ctl::kNoBuffer, 3, {0.008, 0.008, 0.008}},
                                {kOneKept, 3, {0.005, 0.005, 0.006}},
                                {kThreeFresh, 3, {0.003, 0.004, 0.0044}}}),
             timed(kUploadReset, {{ctl::kCopy, 2, {0.001, 0.001, 0.001}},
                                  {ctl::kNoBuffer, 2, {0.004, 0.004, 0.004}},
                                  {kOneKept, 2, {0.005, 0.005, 0.005}}}),
             lacking(kDownloadGet, TimedState::kFailed, "the process was ended by SIGSEGV"),
             lacking(kDownloadRead, TimedState::kNotVerified, "no")}};
}

TEST(Answer, is_the_fastest_way_with_a_buffer_of_both_transfers) {
    const Times times = example();
    const TransferTimes* best = ctl::fastest_transfer(times, kRGBA8, {1920, 1080}, /*isIn=*/true);
    ASSERT_NE(best, nullptr);
    EXPECT_EQ(best->what.transfer, kUploadSet);
    EXPECT_EQ(best->fastest()->way, kThreeFresh);
    EXPECT_EQ(ctl::fastest_transfer(times, kRGBA8, {1920, 1080}, false), nullptr);
    EXPECT_EQ(ctl::fastest_transfer(times, kRGBA8, {128, 128}, true), nullptr);
    EXPECT_EQ(ctl::fastest_transfer(times, 0, {1920, 1080}, true), nullptr);
    // 8,294,400 bytes in 4 ms.
    EXPECT_THAT(best->megabytes_per_second(*best->fastest()), DoubleNear(2073.6, 1e-9));
    EXPECT_DOUBLE_EQ(ctl::images_per_second(*best->fastest()), 250.0);
}

TEST(Answer, has_an_equal_where_the_middle_halves_meet) {
    TransferTimes transfer = example().transfers[0];
    EXPECT_FALSE(transfer.hasEqual());
    transfer.ways[2].seconds.lower = 0.0044;
    EXPECT_TRUE(transfer.hasEqual());
    // Without a buffer, it is no other way to choose.
    transfer.ways[2].seconds.lower = 0.005;
    transfer.ways[1].seconds.lower = 0.001;
    EXPECT_FALSE(transfer.hasEqual());
}

TEST(Spread, is_of_ways_with_three_rounds) {
    // Of the first transfer: 0, 0, 0.2 and 0.25.
    const auto spread = ctl::spread_of(example());
    ASSERT_TRUE(spread);
    EXPECT_DOUBLE_EQ(spread->middle, 0.1);
    EXPECT_DOUBLE_EQ(spread->high, 0.235);
    EXPECT_FALSE(ctl::spread_of({}));
}

TEST(TimesText, leads_with_the_answer) {
    std::ostringstream stream;
    ctl::write_times_text(example(), {}, stream);
    EXPECT_EQ(stream.str(),
              R"(a renderer
4.5 driver
org.texprobe.texprobe2.ab.build

The fastest verified ways for images of 1920 x 1080
                              way               MB/s images/s  no buf  memcpy
GL_RGBA8                  in  set, 3 fresh      2074      250   2.00x   0.25x
                          out not timed, see below

GL_RGBA8                       one buffer         three buffers
MB/s         memcpy no buf   kept  fresh  range   kept  fresh  range images/s
1080p set      8294   1037   1659      -      -      -   2074*     -      250
1080p reset    8294   2074   1659*     -      -      -      -      -      200?
1080p get    failed: the process was ended by SIGSEGV
1080p read   not verified

in, out: to and from the renderer. set, reset, get, read: as `show` has them.
1, 3: so many pixel buffer objects in turn. kept: mapped as it is; fresh: after
glBufferData without data; range: by glMapBufferRange, invalidated.
no buf, memcpy: how often as fast as without a buffer, and as a copy in memory.
*: the fastest with a buffer, whose images/s are shown. MB: 10^6 bytes.
?: fewer than three rounds, so its spread is not known; --within gives more.
~: another way is as fast within its spread. Half of a way's rounds lay within
10 % of its median, in every tenth way beyond 24 %; smaller
differences, and those that a second run does not repeat, mean nothing.
)");
}

class TimesDocument : public testing::Test {
protected:
    std::vector<Times> read(const std::string& text) const {
        write_file(file_, text);
        return ctl::read_times(file_);
    }
    static std::string written() {
        std::ostringstream stream;
        ctl::write_times_json(example(), stream);
        return stream.str();
    }
    /// What reading says when `from` is replaced in the example.
    std::string trouble_with(const std::string& from, const std::string& to) const {
        std::string text = written();
        const std::size_t at = text.find(from);
        EXPECT_NE(at, std::string::npos) << from;
        try {
            read(text.replace(at, from.size(), to));
        } catch (const ctl::DocumentError& error) {
            return error.what();
        }
        return "";
    }

    const ScratchFolder folder_;
    const std::filesystem::path file_ = folder_.path() / "times";
};

TEST_F(TimesDocument, comes_back_as_it_was) {
    EXPECT_THAT(read(written()), ElementsAre(example()));
}

TEST_F(TimesDocument, is_refused_where_it_cannot_be_understood) {
    EXPECT_THAT(trouble_with("texprobe-times", "texprobe-records"),
                HasSubstr(": schema: \"schema\" must be \"texprobe-times\""));
    EXPECT_THAT(trouble_with("three_fresh", "seven"),
                HasSubstr("\"way\" is \"seven\", which is not known"));
    EXPECT_THAT(trouble_with("upload_set", "renderable"), HasSubstr("which is not known"));
    EXPECT_THAT(trouble_with("\"median_seconds\":0.001", "\"median_seconds\":-1"),
                HasSubstr("\"median_seconds\" must be a number of seconds"));
    EXPECT_THAT(trouble_with("\"width\":1920", "\"width\":0"), HasSubstr("\"width\" must be"));
    EXPECT_THAT(trouble_with("\"ways\":", "\"weighs\":"), HasSubstr("\"ways\" is missing"));
}

// Half a bar would be no number, and a whole one infinite.
TEST_F(TimesDocument, of_no_time_or_no_bytes_is_refused_at_its_place) {
    const std::string place = file_.string() + ": transfers[0]";
    for (const char* none : {"0", "0.0", "-0.0", "1e-13", "5e-324", "1e9", "null"}) {
        for (const char* member : {"lower_seconds", "median_seconds", "upper_seconds"}) {
            const std::string name = '"' + std::string(member) + '"';
            EXPECT_THAT(trouble_with(name + ":0.001", name + ":" + none),
                        AllOf(StartsWith(place), HasSubstr(name + " must be a number of seconds")));
        }
    }
    EXPECT_THAT(trouble_with("\"image_bytes\":8294400", "\"image_bytes\":0"),
                AllOf(StartsWith(place), HasSubstr("is 0, and an image was timed")));
    EXPECT_THAT(trouble_with("\"upper_seconds\":0.001", "\"upper_seconds\":0.0005"),
                AllOf(StartsWith(place), HasSubstr("must be in this order")));
}

TEST(TimesText, has_no_control_characters_of_the_driver) {
    Times times = example();
    times.renderer = "a\x1b[2Jrenderer\u2028";
    times.glVersion = "4.5\nfake";
    times.id = "an\x1b]0;id";
    times.transfers[2].reason = "ended\adly";
    times.transfers[3].reason = "blue\r";
    std::ostringstream stream;
    ctl::write_times_text(times, {}, stream);
    EXPECT_THAT(stream.str(), HasSubstr("a?[2Jrenderer?\n4.5?fake\nan?]0;id\n"));
    EXPECT_THAT(stream.str(), HasSubstr("failed: ended?dly\n"));
    EXPECT_THAT(stream.str(), HasSubstr("not verified: blue?\n"));
}

}  // namespace
}  // namespace texprobe::tests
