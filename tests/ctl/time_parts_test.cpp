// The parts of `time` without OpenGL: sizes, rounds, statistics, the tables, their text and their
// document.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "documents/document.h"
#include "documents/write_json.h"
#include "page/sections.h"
#include "records/plain_text.h"
#include "support/scratch_folder.h"
#include "support/text.h"
#include "support/tool_folder.h"
#include "text/write_text.h"
#include "time/timed_child.h"

namespace texprobe::tests {
namespace {

using ctl::Quartiles;
using ctl::TimedState;
using ctl::TimedWay;
using ctl::Times;
using ctl::TransferTimes;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

constexpr std::size_t kLongestName = 3;
constexpr std::size_t kRGBA8 = 7;
enum TestedWay : std::size_t { kNone, kOne, kThree };

TEST(Quartiles, lie_between_values_in_proportion) {
    EXPECT_EQ(ctl::quartiles_of({}), (Quartiles{0, 0, 0}));
    EXPECT_EQ(ctl::quartiles_of({7}), (Quartiles{7, 7, 7}));
    EXPECT_EQ(ctl::quartiles_of({3, 1}), (Quartiles{1.5, 2, 2.5}));
    // The places are 0.75, 1.5 and 2.25, counted from 0.
    EXPECT_EQ(ctl::quartiles_of({40, 10, 30, 20}), (Quartiles{17.5, 25, 32.5}));
    EXPECT_EQ(ctl::quartiles_of({5, 4, 3, 2, 1}), (Quartiles{2, 3, 4}));
}

TEST(Size, has_a_name_or_is_the_side_of_a_square) {
    EXPECT_EQ(ctl::parse_size("128"), (ctl::ImageSize{128, 128}));
    EXPECT_EQ(ctl::parse_size("1080p"), (ctl::ImageSize{1920, 1080}));
    EXPECT_EQ(ctl::parse_size("2160p"), (ctl::ImageSize{3840, 2160}));
    EXPECT_EQ(ctl::parse_size("4"), (ctl::ImageSize{4, 4}));
    EXPECT_EQ(ctl::parse_size("1080"), (ctl::ImageSize{1080, 1080}));
    EXPECT_EQ(ctl::parse_size("4096"), (ctl::ImageSize{4096, 4096}));
    for (const char* wrong : {"", "0", "-4", "2", "130", "4100", "720p", "128x"}) {
        EXPECT_FALSE(ctl::parse_size(wrong)) << wrong;
    }
    EXPECT_EQ((ctl::ImageSize{1920, 1080}).name(), "1080p");
    EXPECT_EQ((ctl::ImageSize{640, 640}).name(), "640");
}

/// A machine on which an image takes each way its own time.
class ScriptedClock {
public:
    explicit ScriptedClock(std::array<double, 3> secondsOf) : secondsOf_(secondsOf) {}

    /// The steps, as "way*images"; what they reported is in `reported`.
    std::vector<std::string> time(double seconds) {
        std::vector<std::string> steps;
        ctl::time_ways(seconds,
                       {[&](std::size_t way, std::size_t images) {
                            now_ += secondsOf_[way] * static_cast<double>(images);
                            steps.push_back(std::to_string(way) + '*' + std::to_string(images));
                        },
                        [&] { return now_; },
                        [&](std::size_t way, double each) {
                            reported[way].push_back(each);
                            now_ += secondsBetween;
                        }});
        return steps;
    }
    double secondsBetween = 0.0;
    std::array<std::vector<double>, 3> reported;

private:
    const std::array<double, 3> secondsOf_;
    double now_ = 0.0;
};

TEST(Rounds, take_each_way_in_turn_and_begin_with_another) {
    ScriptedClock clock({0.5, 1.0, 2.0});
    // The step that decides takes 1.5 s and a round 10.5, so that two fill the time.
    EXPECT_THAT(clock.time(22.5), ElementsAre("0*3", "0*3", "1*3", "2*3", "1*3", "2*3", "0*3"));
    EXPECT_THAT(clock.reported,
                ElementsAre(ElementsAre(0.5, 0.5), ElementsAre(1, 1), ElementsAre(2, 2)));
}

TEST(Rounds, have_steps_of_two_milliseconds_in_whole_laps) {
    // A lap without a buffer takes 0.3 ms, so that seven are needed. Without time there is a round.
    ScriptedClock clock({0.0001, 0.000001, 0.01});
    EXPECT_THAT(clock.time(0.0), ElementsAre("0*3", "0*21", "1*21", "2*21"));
    ScriptedClock endless({0.0, 0.0, 0.0});
    endless.secondsBetween = 1.0;
    EXPECT_EQ(endless.time(0.0).back(), "2*300");
}

TEST(Rounds, do_not_count_what_is_between_steps) {
    ScriptedClock clock({1.0, 1.0, 1.0});
    clock.secondsBetween = 1000.0;
    clock.time(1.0);
    EXPECT_THAT(clock.reported[1], ElementsAre(1));
}

TransferTimes timed(Capability transfer, std::vector<TimedWay> ways) {
    return {{{kRGBA8, transfer}, {1920, 1080}}, TimedState::kTimed, "", 8294400, std::move(ways)};
}

TransferTimes lacking(Capability transfer, TimedState state, const std::string& reason) {
    return {{{kRGBA8, transfer}, {1920, 1080}}, state, reason, 0, {}};
}

/// Setting takes 8 ms without a buffer, with one 5, with three 4; redefinition without a buffer 3.
Times example() {
    return {"org.texprobe.texprobe2.ab.build",
            "a renderer",
            "4.5 driver",
            {timed(kUploadSet, {{kNone, 3, {0.008, 0.008, 0.008}},
                                {kOne, 3, {0.005, 0.005, 0.006}},
                                {kThree, 3, {0.003, 0.004, 0.0044}}}),
             timed(kUploadReset, {{kNone, 3, {0.003, 0.003, 0.0031}},
                                  {kOne, 3, {0.005, 0.005, 0.005}},
                                  {kThree, 3, {0.0032, 0.004, 0.004}}}),
             lacking(kDownloadGet, TimedState::kFailed, "the process was ended by SIGSEGV"),
             lacking(kDownloadRead, TimedState::kNotVerified, "no")}};
}

TEST(TimesText, marks_the_fastest_in_80_columns_without_control_characters) {
    Times times = example();
    for (TransferTimes& transfer : times.transfers) transfer.what.cell.format = kLongestName;
    times.renderer = "a\x1b[2Jrenderer\u2028";
    times.glVersion = "4.5\ndriver";
    times.id = "an\x1b]0;id";
    times.transfers[2].reason = "ended\adly";
    times.transfers[3].reason = "blue\r";
    times.transfers.push_back(lacking(kDownloadRead, TimedState::kNotVerified, "no"));
    std::ostringstream stream;
    ctl::write_times_text(times, {}, stream);
    // The fastest takes 3.1 ms at the most: as fast is the one that takes 3.
    EXPECT_EQ(stream.str(), R"(a?[2Jrenderer?
4.5?driver
an?]0;id

Images of 1920 x 1080 per second
                                 no buffer      one    three  buffer gains  60/s
GL_LUMINANCE_ALPHA32F_ARB  set         125      200     250~          2.0x  yes
                           reset      333*      200      250       nothing  yes
                           get   failed: ended?dly
                           read  not verified: blue?
GL_RGBA8                   read  not verified

set, reset: in, by a sub-image or a redefinition. get, read: out, from a texture
or the framebuffer. one, three: so many pixel buffer objects in turn.
*: the fastest of all ways in, or out. ~: in doubt, because the middle halves of
the rounds overlap. ?: fewer than three rounds; --within gives more.
buffer gains: how often as fast as without one the better way with a buffer is.
60/s: whether the fastest way of the line moves 60 images a second.
)");
}

/// The columns behind the ways, where setting takes so long without a buffer and with one.
std::string decided(const Quartiles& direct, const Quartiles& buffered, int rounds = 3) {
    const Times times = {
        "", "", "", {timed(kUploadSet, {{kNone, rounds, direct}, {kOne, rounds, buffered}})}};
    return ctl::joined(ctl::tables_of(times).at(0).rows.at(0).cells, " ");
}

TEST(TimesTable, says_what_a_buffer_gains_and_whether_60_images_a_second_fit) {
    EXPECT_EQ(decided({0.02, 0.02, 0.02}, {0.01, 0.01, 0.01}), "50 100* - 2.0x yes");
    EXPECT_EQ(decided({0.01, 0.01, 0.01}, {0.02, 0.02, 0.02}), "100* 50 - nothing yes");
    // A buffer that is faster by 4 %, and one that is faster in doubt.
    EXPECT_EQ(decided({0.0104, 0.0104, 0.0104}, {0.01, 0.01, 0.01}), "96 100* - nothing yes");
    EXPECT_EQ(decided({0.01, 0.02, 0.02}, {0.01, 0.01, 0.01}), "50~ 100* - 2.0x~ yes");
    // 60 a second are 16.7 ms for each.
    EXPECT_EQ(decided({0.017, 0.017, 0.017}, {0.02, 0.02, 0.02}), "59* 50 - nothing no");
    EXPECT_EQ(decided({0.016, 0.0163, 0.017}, {0.02, 0.02, 0.02}), "61* 50 - nothing ~");
    EXPECT_EQ(decided({0.02, 0.02, 0.02}, {0.01, 0.01, 0.01}, 2), "50? 100? - 2.0x? yes?");
}

TEST(TimesSection, is_the_table_of_the_text_with_its_marks) {
    Times times = example();
    times.renderer = "<b>";
    times.transfers[2].reason = "<i>";
    const std::string page = ctl::times_section(times, 1).html();
    EXPECT_THAT(page, HasSubstr("<h2 id=\"times1\">How fast: &lt;b&gt;</h2>"));
    EXPECT_THAT(page, HasSubstr("<caption>Images of 1920 x 1080 per second</caption>"));
    EXPECT_THAT(page,
                HasSubstr("<tr><th scope=\"row\">GL_<wbr>RGBA8 set</th><td>125</td><td>200</td>"
                          "<td>250~</td><td>2.0x</td><td>yes</td></tr>"));
    EXPECT_THAT(page, HasSubstr("<tr><th scope=\"row\">GL_<wbr>RGBA8 reset</th><td>333*</td>"));
    EXPECT_THAT(page, HasSubstr("<td class=\"quiet\" colspan=\"5\">failed: &lt;i&gt;</td>"));
    EXPECT_THAT(page, HasSubstr("<p>set, reset: in, by a sub-image or a redefinition. "));
}

class TimesDocument : public testing::Test {
protected:
    std::vector<Times> read(const std::string& text) const {
        write_file(file_, text);
        std::vector<Times> all;
        ctl::read_times(file_, &all);
        return all;
    }
    /// The example with the first `from` replaced.
    static std::string written(const std::string& from = "", const std::string& to = "") {
        std::ostringstream stream;
        ctl::write_times_json(example(), stream);
        const std::size_t at = stream.str().find(from);
        EXPECT_NE(at, std::string::npos) << from;
        return stream.str().replace(at, from.size(), to);
    }
    /// What reading says of it.
    std::string trouble_with(const std::string& from, const std::string& to) const {
        try {
            read(written(from, to));
        } catch (const ctl::DocumentError& error) {
            return error.what();
        }
        return "";
    }

    const ScratchFolder folder_;
    const std::filesystem::path file_ = folder_.path() / "times";
};

TEST_F(TimesDocument, comes_back_as_it_was_and_together_with_another_of_its_set) {
    std::vector<Times> all = read(written());
    EXPECT_THAT(all, ElementsAre(example()));
    EXPECT_EQ(ctl::read_times(file_, &all), 4u);
    ASSERT_EQ(all.size(), 1u);
    EXPECT_EQ(all[0].transfers.size(), 8u);
}

TEST_F(TimesDocument, of_an_older_version_is_read_for_the_ways_that_are_timed_today) {
    for (const char* older : {"copy", "one_kept", "one_range", "three_fresh", "three_range"}) {
        const TransferTimes set = read(written("no_buffer", older)).at(0).transfers.at(0);
        ASSERT_EQ(set.ways.size(), 2u) << older;
        EXPECT_EQ(set.ways[0].way, kOne);
    }
}

TEST_F(TimesDocument, of_several_sizes_has_a_table_of_each_the_smallest_first) {
    const auto tables = ctl::tables_of(read(written("\"width\":1920", "\"width\":128")).at(0));
    ASSERT_EQ(tables.size(), 2u);
    EXPECT_EQ(tables[0].caption, "Images of 128 x 1080 per second");
    EXPECT_EQ(tables[0].rows.size(), 1u);
}

TEST_F(TimesDocument, is_refused_where_it_cannot_be_understood) {
    EXPECT_THAT(trouble_with("texprobe-times", "texprobe-records"),
                HasSubstr(": schema: \"schema\" must be \"texprobe-times\""));
    EXPECT_THAT(trouble_with("three_kept", "seven"),
                HasSubstr("\"way\" is \"seven\", which is not known"));
    EXPECT_THAT(trouble_with("upload_set", "renderable"), HasSubstr("which is not known"));
    EXPECT_THAT(trouble_with("\"median_seconds\":0.008", "\"median_seconds\":-1"),
                HasSubstr("\"median_seconds\" must be a number of seconds"));
    EXPECT_THAT(trouble_with("\"width\":1920", "\"width\":0"), HasSubstr("\"width\" must be"));
    EXPECT_THAT(trouble_with("\"ways\":", "\"weighs\":"), HasSubstr("\"ways\" is missing"));
}

// Its speed would be no number, or infinite.
TEST_F(TimesDocument, of_no_time_or_no_bytes_is_refused_at_its_place) {
    const std::string place = file_.string() + ": transfers[0]";
    for (const char* none : {"0", "0.0", "-0.0", "1e-13", "5e-324", "1e9", "null"}) {
        for (const char* member : {"lower_seconds", "median_seconds", "upper_seconds"}) {
            const std::string name = '"' + std::string(member) + '"';
            EXPECT_THAT(trouble_with(name + ":0.008", name + ":" + none),
                        AllOf(StartsWith(place), HasSubstr(name + " must be a number of seconds")));
        }
    }
    EXPECT_THAT(trouble_with("\"image_bytes\":8294400", "\"image_bytes\":0"),
                AllOf(StartsWith(place), HasSubstr("is 0, and an image was timed")));
    EXPECT_THAT(trouble_with("\"upper_seconds\":0.008", "\"upper_seconds\":0.0005"),
                AllOf(StartsWith(place), HasSubstr("must be in this order")));
}

}  // namespace
}  // namespace texprobe::tests
