// What texprobectl measure prints where there is no terminal: a line for each renderer, then the
// table of what changed.

#include <gtest/gtest.h>

#include "ctl/ctl_folder.h"
#include "ctl/prepared_records.h"
#include "ctl/present_id.h"

namespace texprobe::tests {
namespace {

class MeasureOutput : public testing::Test {
protected:
    static void SetUpTestSuite() { id_ = new std::string(present_id(CTL, TOOL)); }

    static std::string renderer_id() {
        const std::string rest = id_->substr(kIDPrefix.size());
        return rest.substr(0, rest.find('.'));
    }
    static std::string begin_renderer(const std::string& id) {
        return "say " + id + "[%p] testing renderer: 1\n";
    }
    /// One test that comes back.
    static std::string test(const std::string& key, const std::string& label, bool verdict) {
        return "set " + *id_ + " " + key + " false\nsync " + *id_ + "\nset " + *id_ + " " + key +
               (verdict ? " true" : " false") + "\nsync " + *id_ + "\nsay " + *id_ + "[%p] " +
               label + (verdict ? ": 1\n" : ": 0\n");
    }
    static std::string remove(const std::string& key) {
        return "removed " + *id_ + " " + key + "\nsync " + *id_ + "\n";
    }

    static std::string* id_;
    CtlFolder folder_{CTL, SCRIPTED_TOOL};
};
std::string* MeasureOutput::id_ = nullptr;

TEST_F(MeasureOutput, is_a_line_and_the_verdicts_that_have_changed) {
    folder_.prepare(SCRIPTED_TOOL, complete_set(*id_, "1.0", {{"GL_RGBA8_DOWNLOAD_READ", false}}) +
                                       remove("GL_RGB8_UPLOAD_SET"));
    folder_.script(begin_renderer(*id_) + test("GL_RGB8_UPLOAD_SET", "GL_RGB8 upload SET", false) +
                   test("GL_RGBA8_DOWNLOAD_READ", "GL_RGBA8 download READ", true));
    const Finished run = folder_.ctl({"measure"});
    EXPECT_TRUE(run.exited_with(0));
    EXPECT_EQ(run.err, renderer_id() + ": 96 of 96 verdicts\n");
    const std::string driver = "   a renderer, 1.0\n";
    EXPECT_EQ(run.out, "Before (A) and now (B):\n\nA: " + *id_ + "\n" + driver + "B: " + *id_ +
                           "\n" + driver +
                           "\n"
                           "                                                  A         B\n"
                           "GL_RGB8 upload set                         untested        no\n"
                           "GL_RGBA8 download read                           no       yes\n\n");
}

TEST_F(MeasureOutput, is_a_line_for_each_renderer_in_the_order_of_the_run) {
    folder_.prepare(SCRIPTED_TOOL, complete_set(*id_, "1.0") + remove("GL_RGB8_UPLOAD_SET"));
    // The first run dies in the test of the one renderer; the second run comes to the other.
    const std::string inHand =
        "set " + *id_ + " GL_RGB8_UPLOAD_SET false\nsync " + *id_ + "\nraise 11\n";
    folder_.script(1, begin_renderer(*id_) + inHand);
    folder_.script(2, begin_renderer(*id_) + begin_renderer(kIDPrefix + "7.other"));
    const Finished run = folder_.ctl({"measure"});
    EXPECT_TRUE(run.exited_with(0));
    EXPECT_EQ(run.err, renderer_id() +
                           ": 96 of 96 verdicts, the run died once\n"
                           "7: 0 of 96 verdicts\n");
}

}  // namespace
}  // namespace texprobe::tests
