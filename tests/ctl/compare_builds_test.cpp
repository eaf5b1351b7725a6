// texprobectl compare without names: what the last update of the driver or of the system changed.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "ctl/ctl_folder.h"
#include "ctl/prepared_records.h"
#include "ctl/present_id.h"

namespace texprobe::tests {
namespace {

using nlohmann::json;
using testing::HasSubstr;

class CompareBuilds : public testing::Test {
protected:
    static void SetUpTestSuite() { present_ = new std::string(present_id(CTL, TOOL)); }

    static const std::string& present() { return *present_; }
    /// The same renderer under another build.
    static std::string under(const std::string& build) {
        return present().substr(0, present().find('.', kIDPrefix.size()) + 1) + build;
    }
    /// What `measure` remembers of when it completed a set.
    static std::string measured(const std::string& id, const std::string& time) {
        const std::string marks = "org.texprobe.texprobectl." + id.substr(kIDPrefix.size());
        return "set " + marks + " MEASURED text " + time + "\nsync " + marks + "\n";
    }
    void prepare(const std::string& script) const { folder_.prepare(SCRIPTED_TOOL, script); }

    static std::string* present_;
    CtlFolder folder_{CTL, SCRIPTED_TOOL};
};
std::string* CompareBuilds::present_ = nullptr;

TEST_F(CompareBuilds, prints_what_the_update_changed_with_status_1) {
    prepare(complete_set(under("build-1"), "1.0", {{"GL_RGB8_UPLOAD_SET", false}}) +
            complete_set(present(), "2.0", {{"GL_RGBA8_DOWNLOAD_GET", false}}));
    const Finished run = folder_.ctl({"compare"});
    EXPECT_TRUE(run.exited_with(1));
    EXPECT_EQ(run.out, "A: " + under("build-1") + "\n   a renderer, 1.0\nB: " + present() +
                           "\n   a renderer, 2.0\n\n"
                           "                                                  A         B\n"
                           "GL_RGB8 upload set                               no       yes\n"
                           "GL_RGBA8 download get                           yes        no\n\n"
                           "1 worse, 1 better.\n");
    EXPECT_EQ(run.err, "");
}

TEST_F(CompareBuilds, is_silent_with_status_0_when_the_update_changed_no_verdict) {
    prepare(complete_set(under("build-1"), "1.0", {{"GL_RGB8_UPLOAD_SET", false}}) +
            complete_set(present(), "2.0", {{"GL_RGB8_UPLOAD_SET", false}}));
    const Finished run = folder_.ctl({"compare"});
    EXPECT_TRUE(run.exited_with(0));
    EXPECT_EQ(run.out + run.err, "");
}

TEST_F(CompareBuilds, has_status_2_when_this_renderer_has_no_other_build) {
    // Another renderer's builds are not its own.
    prepare(complete_set(present(), "2.0") + complete_set(kIDPrefix + "1.build-1", "1.0") +
            complete_set(kIDPrefix + "1.build-2", "1.0"));
    const Finished run = folder_.ctl({"compare"});
    EXPECT_TRUE(run.exited_with(2));
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err,
              "texprobectl: there is no earlier build to compare with; expected two record sets or "
              "exported files\n");
}

TEST_F(CompareBuilds, has_status_2_when_the_present_build_is_not_measured) {
    prepare(complete_set(under("build-1"), "1.0") + complete_set(under("build-2"), "1.0"));
    EXPECT_TRUE(folder_.ctl({"compare"}).exited_with(2));
}

TEST_F(CompareBuilds, takes_the_latest_of_the_earlier_builds_by_number) {
    prepare(complete_set(under("6.1.9"), "1.0") + complete_set(under("6.1.10"), "1.1") +
            complete_set(under("6.1.2"), "1.2") +
            complete_set(present(), "2.0", {{"GL_RGB8_UPLOAD_SET", false}}));
    EXPECT_THAT(folder_.ctl({"compare"}).out, HasSubstr("A: " + under("6.1.10") + "\n"));
}

TEST_F(CompareBuilds, takes_the_build_that_was_measured_last_where_that_is_known) {
    prepare(complete_set(under("6.1.9"), "1.0") + measured(under("6.1.9"), "2026-11-20T10:00:00Z") +
            complete_set(under("6.1.10"), "1.1") +
            measured(under("6.1.10"), "2026-11-19T10:00:00Z") +
            complete_set(under("6.1.11"), "1.2") +
            complete_set(present(), "2.0", {{"GL_RGB8_UPLOAD_SET", false}}));
    EXPECT_THAT(folder_.ctl({"compare"}).out, HasSubstr("A: " + under("6.1.9") + "\n"));
}

TEST_F(CompareBuilds, is_a_document_for_programs) {
    prepare(complete_set(under("build-1"), "1.0") +
            complete_set(present(), "2.0", {{"GL_RGB8_UPLOAD_SET", false}}));
    const Finished run = folder_.ctl({"compare", "--json"});
    EXPECT_TRUE(run.exited_with(1));
    const json document = json::parse(run.out);
    ASSERT_EQ(document.at("pairs").size(), 1u);
    EXPECT_EQ(document.at("pairs").at(0).at("differences").size(), 1u);
    EXPECT_TRUE(document.at("only_a").empty());
    EXPECT_TRUE(document.at("only_b").empty());
}

}  // namespace
}  // namespace texprobe::tests
