// `time` on this machine's software renderer: what is timed and what is not, and what a crash and a
// hang cost. No test looks at how fast anything is.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "ctl/ctl_folder.h"
#include "ctl/prepared_records.h"
#include "ctl/present_id.h"
#include "ctl/terminal_run.h"

namespace texprobe::tests {
namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

Environment environment() {
    return {"GALLIUM_DRIVER=llvmpipe", "LIBGL_ALWAYS_SOFTWARE=1"};
}

class Time : public testing::Test {
protected:
    explicit Time(const char* program = CTL) : folder_(program, TOOL) {}

    /// Everything works but these.
    void prepare(const std::map<std::string, bool>& verdicts = {}) const {
        folder_.prepare(SCRIPTED_TOOL, complete_set(id_, "4.5 Mesa", verdicts));
    }
    Finished time(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), "time");
        return folder_.ctl(arguments, environment());
    }
    /// The transfers of a document, which must be valid, as far as there is a validator.
    json transfers(const Finished& finished) const {
        write_file(folder_.file("times.json"), finished.out);
        const Finished valid = tests::run({VALIDATOR, {SCHEMA, folder_.file("times.json")}});
        EXPECT_TRUE(valid.exited_with(0) || valid.exited_with(77)) << valid.err;
        return json::parse(finished.out).at("transfers");
    }
    static std::vector<std::string> states(const json& transfers) {
        std::vector<std::string> states;
        for (const json& transfer : transfers) {
            const std::string reason = transfer["reason"];
            states.push_back(transfer["state"].get<std::string>() +
                             (reason.empty() ? "" : ": " + reason));
        }
        return states;
    }
    static std::vector<std::string> ways_of(const json& transfer) {
        std::vector<std::string> ways;
        for (const json& way : transfer["ways"]) {
            ways.push_back(way["way"]);
            EXPECT_GE(way["rounds"], 1);
            EXPECT_GT(way["median_seconds"], 0.0);
            EXPECT_LE(way["lower_seconds"], way["median_seconds"]);
            EXPECT_LE(way["median_seconds"], way["upper_seconds"]);
            EXPECT_GT(way["megabytes_per_second"], 0.0);
            EXPECT_GT(way["images_per_second"], 0.0);
        }
        return ways;
    }

    CtlFolder folder_;
    const std::string id_ = present_id(CTL, TOOL, environment());
};

class TimeOnFailingDriver : public Time {
protected:
    TimeOnFailingDriver() : Time(FAILING_CTL) { prepare(); }
    void fail_in(const std::string& faults) const { write_file(folder_.file("faults"), faults); }
};

TEST_F(Time, has_numbers_for_every_verified_transfer_and_for_no_other) {
    prepare({{"GL_RGBA8_UPLOAD_RESET", false}, {"GL_RGBA8_DOWNLOAD_READ", false}});
    const auto before = folder_.records().at(id_);
    const Finished run = time({"rgba8", "--size", "128", "--within", "2", "--json"});
    ASSERT_TRUE(run.exited_with(0)) << run.err;
    EXPECT_EQ(run.err, "");
    const json all = transfers(run);
    ASSERT_EQ(all.size(), 4u);
    for (const json& transfer : all) {
        EXPECT_EQ(transfer["id"], id_);
        EXPECT_EQ(transfer["name"], "GL_RGBA8");
        EXPECT_EQ(transfer["width"], 128);
    }
    EXPECT_THAT(states(all), ElementsAre("timed", "not_verified: no", "timed", "not_verified: no"));
    EXPECT_EQ(all[0]["image_bytes"], 128 * 128 * 4);
    EXPECT_THAT(ways_of(all[0]), ElementsAre("no_buffer", "one_fresh", "three_kept"));
    EXPECT_THAT(all[1]["ways"], IsEmpty());
    EXPECT_EQ(all[2]["transfer"], "download_get");
    EXPECT_THAT(ways_of(all[2]), ElementsAre("no_buffer", "one_kept", "three_kept"));
    EXPECT_EQ(folder_.records().at(id_), before);
}

TEST_F(Time, can_time_all_formats_at_any_size_in_the_time_that_it_is_given) {
    prepare();
    const auto begin = std::chrono::steady_clock::now();
    const Finished run = time({"--size", "20", "--within", "3", "--json"});
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
    ASSERT_TRUE(run.exited_with(0)) << run.err;
    const json all = transfers(run);
    ASSERT_EQ(all.size(), 64u);
    EXPECT_EQ(all[0]["state"], "timed");
    // It did not end for want of work: so many rounds would be enough for anything but the time.
    EXPECT_GE(seconds.count(), 2.9);
}

TEST_F(TimeOnFailingDriver, a_crash_and_a_hang_cost_one_transfer_each) {
    // GL_RGBA8's upload set ends by SIGABRT, and its upload reset hangs.
    fail_in("32856 2 6\n32856 3 0\n");
    const Finished run =
        time({"GL_RGBA8", "--size", "64", "--within", "3", "--timeout", "5", "--json"});
    ASSERT_TRUE(run.exited_with(0)) << run.err;
    EXPECT_EQ(run.err, "");
    EXPECT_THAT(states(transfers(run)),
                ElementsAre("failed: the process was ended by SIGABRT",
                            "failed: the process did not end within 5 s", "timed", "timed"));
}

TEST_F(Time, status_1_says_that_nothing_was_timed) {
    prepare({{"GL_RGBA8_SUPPORTED", false}});
    const Finished run = time({"GL_RGBA8", "--size", "64"});
    EXPECT_TRUE(run.exited_with(1)) << run.err;
    EXPECT_THAT(run.out, HasSubstr("\nImages of 64 x 64 per second\n"));
    EXPECT_THAT(run.out, HasSubstr("\nGL_RGBA8                   set   not verified: "));
}

TEST_F(TimeOnFailingDriver, an_interruption_leaves_what_was_timed) {
    fail_in("32856 3 0\n");
    const pid_t process =
        folder_.start_ctl({"time", "GL_RGBA8", "--size", "64", "--json"}, environment());
    for (int i = 0; i < 6000 && !std::filesystem::exists(folder_.file("hangs")); ++i) usleep(10000);
    kill(process, SIGINT);
    Finished run = finish(process);
    EXPECT_TRUE(run.exited_with(130));
    run.out = read_file(folder_.file("ctl.out"));
    EXPECT_EQ(read_file(folder_.file("ctl.err")), "texprobectl: interrupted\n");
    const json all = transfers(run);
    EXPECT_THAT(states(all), ElementsAre("timed", "interrupted", "interrupted", "interrupted"));
    EXPECT_FALSE(all[0]["ways"].empty());
}

TEST_F(Time, shows_on_a_terminal_how_far_it_is) {
    prepare();
    TerminalRun run(folder_.file("texprobectl"),
                    {"time", "GL_RGBA8", "--size", "64", "--within", "2"}, environment());
    const Finished finished = run.finish();
    EXPECT_TRUE(finished.exited_with(0)) << run.shown();
    EXPECT_THAT(frames(run.shown()),
                testing::Contains("[....................] 0/2 s  GL_RGBA8 upload reset"));
    EXPECT_THAT(screen(run.shown()), Not(testing::Contains(HasSubstr("0/2 s"))));
}

TEST_F(Time, says_what_is_wrong_with_its_arguments) {
    prepare();
    const auto complaint = [&](const std::vector<std::string>& arguments) {
        const Finished run = time(arguments);
        EXPECT_TRUE(run.exited_with(2)) << run.out;
        EXPECT_EQ(run.out, "");
        return run.err;
    };
    EXPECT_EQ(complaint({"--size", "130"}),
              "texprobectl: --size expects 1080p, 2160p, or the side of a square, a multiple "
              "of 4 from 4 to 4096, not \"130\"\n");
    EXPECT_THAT(complaint({"GL_RGBA9"}), HasSubstr("there is no format \"GL_RGBA9\""));
    EXPECT_THAT(complaint({"--within", "0"}), HasSubstr("expected a number from 1 to 86400"));
    EXPECT_THAT(complaint({"--set", "nowhere"}), HasSubstr("no record set matches \"nowhere\""));
}

TEST_F(Time, needs_a_record_set_of_this_machine) {
    EXPECT_EQ(time({}).err,
              "texprobectl: nothing is recorded for this machine's present build; "
              "`texprobectl measure` measures it\n");
    const std::string other = kIDPrefix + "ab.other";
    folder_.prepare(SCRIPTED_TOOL, complete_set(other, "4.5 Mesa"));
    const Finished run = time({"--set", "ab"});
    EXPECT_TRUE(run.exited_with(2));
    EXPECT_EQ(run.err, "texprobectl: " + other +
                           " is not of this machine's present build, so its renderer cannot be "
                           "timed here\n");
}

TEST_F(Time, is_a_table_of_the_report) {
    prepare();
    const auto document = folder_.file("times.json");
    write_file(document, time({"GL_RGBA8", "--size", "64", "--within", "1", "--json"}).out);
    const auto report = [&] {
        return folder_.ctl({"report", "--times", document, id_, "-o", folder_.file("page.html")},
                           environment());
    };
    const Finished run = report();
    ASSERT_TRUE(run.exited_with(0)) << run.err;
    const std::string page = read_file(folder_.file("page.html"));
    EXPECT_THAT(page, HasSubstr("<caption>Images of 64 x 64 per second</caption>"));

    write_file(document, "{}");
    const Finished refused = report();
    EXPECT_TRUE(refused.exited_with(2));
    EXPECT_THAT(refused.err, HasSubstr("no document of texprobectl"));
    EXPECT_EQ(read_file(folder_.file("page.html")), page);
}

}  // namespace
}  // namespace texprobe::tests
