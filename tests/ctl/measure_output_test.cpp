// What texprobectl measure prints where there is no terminal: a line for each renderer, then the
// table of what changed.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <regex>

#include "ctl/prepared_records.h"
#include "ctl/scripted_measure.h"

namespace texprobe::tests {
namespace {

class MeasureOutput : public ScriptedMeasure {
protected:
    static std::string without_times(const std::string& text) {
        return std::regex_replace(text, std::regex("[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9:]{5}"), "TIME");
    }
    static std::string begin_renderer(const std::string& id) {
        return "say " + id + "[%p] testing renderer: 1\n";
    }
};

TEST_F(MeasureOutput, is_a_line_and_the_verdicts_that_have_changed) {
    folder_.prepare(SCRIPTED_TOOL, complete_set(*id_, "1.0", {{"GL_RGBA8_DOWNLOAD_READ", false}}) +
                                       removed("GL_RGB8_UPLOAD_SET"));
    folder_.script(begin_renderer(*id_) + test("GL_RGB8_UPLOAD_SET", "GL_RGB8 upload SET", false) +
                   test("GL_RGBA8_DOWNLOAD_READ", "GL_RGBA8 download READ", true));
    const Finished run = folder_.ctl({"measure"});
    EXPECT_TRUE(run.exited_with(0));
    EXPECT_EQ(run.err, renderer_id() + ": 96 of 96 verdicts\n");
    const std::string driver = "   a renderer, 1.0\n";
    // Of the same driver, each side has its build and its date.
    const std::string build = "   build " + id_->substr(id_->find('.', kIDPrefix.size()) + 1);
    EXPECT_EQ(without_times(run.out),
              "Before (A) and now (B):\n\nA: " + *id_ + "\n" + driver + build +
                  ", version 0.21\nB: " + *id_ + "\n" + driver + build +
                  ", measured TIME UTC, version 0.21\n"
                  "\n"
                  "                                                  A         B\n"
                  "GL_RGB8 upload set                         untested        no\n"
                  "GL_RGBA8 download read                           no       yes\n\n"
                  "0 worse, 1 better.\n\n");
}

TEST_F(MeasureOutput, is_a_line_for_each_renderer_in_the_order_of_the_run) {
    folder_.prepare(SCRIPTED_TOOL, complete_set(*id_, "1.0") + removed("GL_RGB8_UPLOAD_SET") +
                                       removed("GL_RGBA8_UPLOAD_SET"));
    // The first run dies in the test of the one renderer; the second run comes to the other.
    folder_.script(1, begin_renderer(*id_) + begin("GL_RGB8_UPLOAD_SET") + "raise 11\n");
    folder_.script(2, begin_renderer(*id_) +
                          test("GL_RGBA8_UPLOAD_SET", "GL_RGBA8 upload SET", true) +
                          begin_renderer(kIDPrefix + "7.other"));
    const Finished run = folder_.ctl({"measure"});
    EXPECT_TRUE(run.exited_with(0));
    EXPECT_EQ(run.err, renderer_id() +
                           ": 96 of 96 verdicts, the run died once\n"
                           "7: 0 of 96 verdicts\n");
}

TEST_F(MeasureOutput, names_the_software_where_hardware_is_required) {
    folder_.prepare(SCRIPTED_TOOL, complete_set(*id_, "1.0"));
    folder_.script("exit 0\n");
    const Finished run = folder_.ctl({"measure", "--require-hardware"});
    EXPECT_TRUE(run.exited_with(1));
    EXPECT_THAT(run.err, testing::HasSubstr(
                             "texprobectl: no hardware was measured, only software: a renderer\n"));
    EXPECT_TRUE(folder_.ctl({"measure"}).exited_with(0));
    EXPECT_THAT(folder_.ctl({"list"}).out, testing::HasSubstr("complete, present, software\n"));
}

/// The same renderer under another build.
class MeasureAfterAnUpdate : public MeasureOutput {
protected:
    static std::string old_id() {
        return id_->substr(0, id_->find('.', kIDPrefix.size()) + 1) + "build-1";
    }
    static std::string new_build(const std::string& version,
                                 const std::map<std::string, bool>& verdicts) {
        return begin_renderer(*id_) + complete_set(*id_, version, verdicts);
    }
};

TEST_F(MeasureAfterAnUpdate, prints_what_differs_from_the_build_before_and_counts_it) {
    folder_.prepare(SCRIPTED_TOOL, complete_set(old_id(), "1.0", {{"GL_RGB8_UPLOAD_SET", false}}));
    folder_.script(
        new_build("2.0", {{"GL_RGBA8_DOWNLOAD_GET", false}, {"GL_RGBA16_DOWNLOAD_GET", false}}));
    const Finished run = folder_.ctl({"measure"});
    EXPECT_TRUE(run.exited_with(0)) << run.err;
    EXPECT_EQ(run.out, "The build before (A) and the present one (B):\n\nA: " + old_id() +
                           "\n   a renderer, 1.0\nB: " + *id_ +
                           "\n   a renderer, 2.0\n\n"
                           "                                                  A         B\n"
                           "GL_RGB8 upload set                               no       yes\n"
                           "GL_RGBA8 download get                           yes        no\n"
                           "GL_RGBA16 download get                          yes        no\n\n"
                           "2 worse, 1 better.\n\n");
}

TEST_F(MeasureAfterAnUpdate, says_that_nothing_differs_of_all_or_of_what_is_measured_yet) {
    const struct {
        std::string missing;
        int status;
        const char* nothing;
    } rows[] = {{"", 0, "Nothing differs from the build before: "},
                {removed("GL_RGBA16F_ARB_DOWNLOAD_READ"), 1,
                 "Nothing measured yet differs from the build before: "}};
    for (const auto& row : rows) {
        const CtlFolder folder(CTL, SCRIPTED_TOOL);
        folder.prepare(SCRIPTED_TOOL, complete_set(old_id(), "1.0"));
        folder.script(new_build("2.0", {}) + row.missing);
        const Finished run = folder.ctl({"measure"});
        EXPECT_TRUE(run.exited_with(row.status)) << run.err;
        EXPECT_EQ(run.out, row.nothing + old_id() + "\n");
    }
}

}  // namespace
}  // namespace texprobe::tests
