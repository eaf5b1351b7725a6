// texprobectl compare without names: what the last update of the driver or of the system changed.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ctl/ctl_folder.h"
#include "ctl/prepared_records.h"
#include "ctl/present_id.h"

namespace texprobe::tests {
namespace {

using testing::StartsWith;

class CompareBuilds : public testing::Test {
protected:
    static void SetUpTestSuite() { present_ = new std::string(present_id(CTL, TOOL)); }

    static const std::string& present() { return *present_; }
    /// The same renderer under another build.
    static std::string under(const std::string& build) {
        return present().substr(0, present().find('.', kIDPrefix.size()) + 1) + build;
    }
    void prepare(const std::string& script) const { folder_.prepare(SCRIPTED_TOOL, script); }

    static std::string* present_;
    CtlFolder folder_{CTL, SCRIPTED_TOOL};
};
std::string* CompareBuilds::present_ = nullptr;

TEST_F(CompareBuilds, prints_what_the_update_changed_with_status_1) {
    prepare(complete_set(under("build-1"), "1.0", {{"GL_RGB8_UPLOAD_SET", false}}) +
            complete_set(present(), "2.0"));
    const Finished run = folder_.ctl({"compare"});
    EXPECT_TRUE(run.exited_with(1));
    EXPECT_EQ(run.out, folder_.ctl({"compare", under("build-1"), present()}).out);
    EXPECT_THAT(run.out, StartsWith("A: " + under("build-1") + "\n"));
    EXPECT_EQ(run.err, "");
    EXPECT_EQ(folder_.ctl({"compare", "--json"}).out,
              folder_.ctl({"compare", "--json", under("build-1"), present()}).out);
}

TEST_F(CompareBuilds, is_silent_with_status_0_when_the_update_changed_no_verdict) {
    prepare(complete_set(under("build-1"), "1.0", {{"GL_RGB8_UPLOAD_SET", false}}) +
            complete_set(present(), "2.0", {{"GL_RGB8_UPLOAD_SET", false}}));
    const Finished run = folder_.ctl({"compare"});
    EXPECT_TRUE(run.exited_with(0));
    EXPECT_EQ(run.out + run.err, "");
}

TEST_F(CompareBuilds, has_status_2_when_there_is_no_other_build_of_what_is_present) {
    // Another renderer's builds are not its own, and the present one must be measured.
    const std::string cases[] = {
        complete_set(present(), "2.0") + complete_set(kIDPrefix + "1.build-1", "1.0") +
            complete_set(kIDPrefix + "1.build-2", "1.0"),
        complete_set(under("build-1"), "1.0") + complete_set(under("build-2"), "1.0")};
    for (const std::string& script : cases) {
        const CtlFolder folder(CTL, SCRIPTED_TOOL);
        folder.prepare(SCRIPTED_TOOL, script);
        const Finished run = folder.ctl({"compare"});
        EXPECT_TRUE(run.exited_with(2));
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(run.err,
                  "texprobectl: there is no earlier build to compare with; expected two record "
                  "sets or exported files\n");
    }
}

TEST_F(CompareBuilds, takes_the_latest_by_number_and_where_it_is_known_by_time) {
    prepare(complete_set(under("6.1.9"), "1.0") + complete_set(under("6.1.10"), "1.1") +
            complete_set(under("6.1.2"), "1.2") +
            complete_set(present(), "2.0", {{"GL_RGB8_UPLOAD_SET", false}}));
    EXPECT_THAT(folder_.ctl({"compare"}).out, StartsWith("A: " + under("6.1.10") + "\n"));
    prepare(mark(under("6.1.9"), "MEASURED", "2026-11-20T10:00:00Z") +
            mark(under("6.1.2"), "MEASURED", "2026-11-19T10:00:00Z"));
    EXPECT_THAT(folder_.ctl({"compare"}).out, StartsWith("A: " + under("6.1.9") + "\n"));
}

}  // namespace
}  // namespace texprobe::tests
