// Whose a no is: what `measure` finds out of it, remembers beside its causes, and shows.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <set>

#include "ctl/inspect_fixture.h"

namespace texprobe::tests {
namespace {

using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

/// The noes of every correct driver, by README.md: "GL_RGBA16 upload_set".
const std::set<std::string> kNoesOfTheTest = {"GL_LUMINANCE_ALPHA32F_ARB download_get",
                                              "GL_LUMINANCE_ALPHA32F_ARB download_read",
                                              "GL_LUMINANCE8_ALPHA8 download_get",
                                              "GL_LUMINANCE8_ALPHA8 download_read",
                                              "GL_LUMINANCE16_ALPHA16 download_get",
                                              "GL_LUMINANCE16_ALPHA16 download_read",
                                              "GL_LUMINANCE_ALPHA16F_ARB download_get",
                                              "GL_LUMINANCE_ALPHA16F_ARB download_read",
                                              "GL_RGBA16 upload_set",
                                              "GL_RGBA16 upload_reset"};

const std::string kToolDomain = "org.texprobe.texprobe2";

class WhoseNoes : public testing::Test {
protected:
    void measure() const {
        const Finished run = folder_.ctl({"measure"});
        EXPECT_TRUE(run.exited_with(0)) << run.err;
    }
    json first_set() const {
        return json::parse(folder_.ctl({"export"}).out).at("record_sets").at(0);
    }
    /// Those that are said to be the test's own.
    std::set<std::string> marked() const {
        std::set<std::string> cells;
        const json set = first_set();
        for (const json& detail : set.at("details")) {
            if (!detail.value("of_test", false)) continue;
            cells.insert(detail.at("name").get<std::string>() + ' ' +
                         detail.at("capability").get<std::string>());
        }
        return cells;
    }

    CtlFolder folder_{FAILING_CTL, FAILING_TOOL};
};

TEST_F(WhoseNoes, are_the_tests_where_the_driver_is_right) {
    measure();
    EXPECT_EQ(marked(), kNoesOfTheTest);
    const std::string shown = folder_.ctl({"show"}).out;
    EXPECT_THAT(shown,
                AllOf(HasSubstr("\nGL_RGBA16                      yes      yes      no*      no*"
                                "      yes      yes\n"),
                      HasSubstr("\n\nno*: the driver is right; this no comes from the test itself "
                                "(see `inspect`)\n"),
                      Not(HasSubstr("a no of the test itself"))));
    // The tool's own records are those of a run of the tool alone.
    const CtlFolder alone(FAILING_CTL, FAILING_TOOL);
    alone.run();
    const std::string id = first_set().at("id");
    EXPECT_EQ(folder_.records().at(id), alone.records().at(id));
}

TEST_F(WhoseNoes, are_the_drivers_where_it_is_wrong) {
    fail(folder_, "GL_RGBA16", kSet, "exchanged");
    measure();
    std::set<std::string> expected = kNoesOfTheTest;
    expected.erase("GL_RGBA16 upload_set");
    EXPECT_EQ(marked(), expected);
    EXPECT_THAT(folder_.ctl({"show"}).out,
                HasSubstr("\nGL_RGBA16                      yes      yes       no      no*"));
    write_file(folder_.file("a.json"), folder_.ctl({"export"}).out);
    const std::string merged = folder_.ctl({"merge", folder_.file("a.json")}).out;
    EXPECT_THAT(merged, HasSubstr("\nGL_RGBA16                      all      all     none    none*"
                                  "      all      all\n"));
    EXPECT_THAT(merged, HasSubstr(" 1 set:\n  GL_RGBA16                  set\n"));
    EXPECT_EQ(merged.find("GL_LUMINANCE", merged.find("Does not work on")), std::string::npos);
}

TEST_F(WhoseNoes, are_found_out_behind_a_test_that_crashes) {
    fail(folder_, "GL_RGB8", kSet, "11");
    measure();
    EXPECT_EQ(first_set().at("formats").at(6).at("upload_set"), "crashed");
    EXPECT_EQ(marked(), kNoesOfTheTest);
}

TEST_F(WhoseNoes, cost_no_verdict_where_the_driver_dies_and_are_asked_once) {
    // The tool gets through, and dies only when its tests are repeated.
    const CtlFolder dying(FAILING_CTL, TOOL);
    fail(dying, "GL_RGB8", kSet, "11");
    const Finished first = dying.ctl({"measure"});
    EXPECT_TRUE(first.exited_with(0)) << first.err;
    const json set = json::parse(dying.ctl({"export"}).out).at("record_sets").at(0);
    EXPECT_EQ(set.at("complete"), true);
    // Those before it.
    EXPECT_EQ(set.at("details").size(), 4u) << set.at("details");
    const RecordSets before = dying.records();
    std::filesystem::remove(dying.file("faults"));
    EXPECT_EQ(dying.ctl({"measure"}).out, "Nothing has changed.\n");
    const std::string causes =
        "org.texprobe.texprobectl" + set.at("id").get<std::string>().substr(kToolDomain.size());
    auto now = dying.records().at(causes);
    now["MEASURED"] = before.at(causes).at("MEASURED");
    EXPECT_EQ(now, before.at(causes));
}

TEST_F(WhoseNoes, that_others_recorded_are_not_marked) {
    folder_.run();
    measure();
    EXPECT_TRUE(marked().empty());
    EXPECT_THAT(folder_.ctl({"show"}).out, HasSubstr("may have been a crash"));
}

TEST_F(WhoseNoes, are_equal_to_compare_and_marked_where_they_differ) {
    measure();
    using nlohmann::ordered_json;
    ordered_json document = ordered_json::parse(folder_.ctl({"export"}).out);
    document["record_sets"][0]["details"] = ordered_json::array();
    write_file(folder_.file("a.json"), document.dump());
    EXPECT_TRUE(folder_.ctl({"compare", folder_.file("a.json"), "1"}).exited_with(0));
    document["record_sets"][0]["formats"][11]["upload_set"] = "yes";
    write_file(folder_.file("a.json"), document.dump());
    EXPECT_THAT(folder_.ctl({"compare", folder_.file("a.json"), "1"}).out,
                AllOf(HasSubstr("GL_RGBA16 upload set                            yes       no*\n"),
                      HasSubstr("\n1 worse, 0 better.\nno*: the driver is right; ")));
}

TEST_F(WhoseNoes, are_explained_on_the_page) {
    measure();
    folder_.ctl({"report", "-o", folder_.file("page.html")});
    const std::string page = read_file(folder_.file("page.html"));
    EXPECT_THAT(page, AllOf(HasSubstr("<a href=\"#why1\">no*</a>"),
                            HasSubstr("id=\"why1\">no*: the driver is right; this no comes from")));
}

}  // namespace
}  // namespace texprobe::tests
