// texprobectl survey with a scripted program that crashes, hangs, stops and records, and once with
// the real one.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <nlohmann/json.hpp>

#include "ctl/ctl_folder.h"
#include "ctl/prepared_records.h"
#include "ctl/present_id.h"
#include "ctl/terminal_run.h"

namespace texprobe::tests {
namespace {

using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

const std::vector<std::string> kSurveyR8ui = {"survey",  "--profile", "core", "--format",
                                              "GL_R8UI", "--timeout", "1"};

class SurveyCommand : public testing::Test {
protected:
    static void SetUpTestSuite() {
        own_ = present_id(CTL, SCRIPTED_TOOL).substr(kIDPrefix.size());
        renderer_ = own_.substr(0, own_.find('.'));
    }
    void SetUp() override {
        std::filesystem::copy_file(SCRIPTED_TOOL, folder_.file("texprobe-survey"));
    }

    static std::string survey_id() { return "org.texprobe.survey1." + own_; }
    /// The script of a record that is durable.
    static std::string record(const std::string& key, const std::string& text) {
        return "set " + survey_id() + ' ' + key + " text " + text + "\nsync " + survey_id() + '\n';
    }
    static std::string offered() { return record("core", "4.6 (Core Profile) a driver"); }
    static std::string said(const std::string& text) {
        return "say " + survey_id() + "[%p] " + text + '\n';
    }
    /// What the records have of the transfers; as stored, if `end` is a line feed.
    static std::string transfers(const std::string& end = "%n", const char* lastVerdict = "yes") {
        std::string lines;
        for (const char* use : {"upload", "upload_part", "upload_part_storage", "upload_buffer",
                                "define_buffer", "read", "read_part", "read_buffer", "get"}) {
            lines += std::string(use) + " GL_RED_INTEGER GL_UNSIGNED_BYTE yes" + end;
        }
        return lines + "get_buffer GL_RED_INTEGER GL_UNSIGNED_BYTE " + lastVerdict + end;
    }
    /// A whole survey of one integer format in one profile.
    static std::string complete_survey() {
        return offered() +
               record("core.GL_R8UI",
                      "create yes%ncreate_storage yes%nrender yes%n" + transfers()) +
               said("core GL_R8UI: create yes, create_storage yes, render yes");
    }
    tests::Records records() const {
        const RecordSets sets = folder_.records();
        const auto found = sets.find(survey_id());
        return found == sets.end() ? tests::Records() : found->second;
    }
    Finished survey() const { return folder_.ctl(kSurveyR8ui); }

    static inline std::string renderer_;
    static inline std::string own_;
    CtlFolder folder_{CTL, SCRIPTED_TOOL};
};

TEST_F(SurveyCommand, names_the_use_in_which_the_program_dies) {
    folder_.script(1, offered() + record("core.GL_R8UI", "measuring%n") + "raise 11\n");
    folder_.script(2, record("core.GL_R8UI", "create yes%ncreate_storage yes%nrender yes%n" +
                                                 transfers("%n", "started")) +
                          "raise 11\n");
    const Finished run = survey();
    EXPECT_TRUE(run.exited_with(0)) << run.err;
    EXPECT_EQ(folder_.runs(), 2);
    EXPECT_EQ(records().at("core.GL_R8UI"), "string create yes\ncreate_storage yes\nrender yes\n" +
                                                transfers("\n", "crashed: ended by SIGSEGV"));
    EXPECT_THAT(run.out,
                HasSubstr("\nGL_R8UI in core profile: get_buffer GL_RED_INTEGER GL_UNSIGNED_BYTE "
                          "has\n  crashed, ended by SIGSEGV\n"));
    EXPECT_THAT(run.out,
                HasSubstr("transfers:\n  get_buffer crashed; otherwise yes in each layout: "
                          "GL_R8UI\n"));
}

TEST_F(SurveyCommand, names_the_software_where_hardware_is_required) {
    folder_.script(complete_survey());
    std::vector<std::string> words = kSurveyR8ui;
    words.push_back("--require-hardware");
    const Finished run = folder_.ctl(words);
    EXPECT_TRUE(run.exited_with(1)) << run.out;
    EXPECT_THAT(run.err, HasSubstr("texprobectl: no hardware was measured, only software: "));
    EXPECT_TRUE(survey().exited_with(0));
}

TEST_F(SurveyCommand, ends_a_program_that_hangs_and_names_the_use) {
    folder_.script(1, offered() + record("core.GL_R8UI", "measuring%n") + "hang\n");
    folder_.script(2, record("core.GL_R8UI", "create started%n") + "hang\n");
    folder_.script(3, record("core.GL_R8UI",
                             "create hung: did not end within 1 s%ncreate_storage yes%nrender "
                             "not_applicable%n" +
                                 transfers()));
    const Finished run = survey();
    EXPECT_TRUE(run.exited_with(0)) << run.err;
    EXPECT_EQ(folder_.runs(), 3);
    EXPECT_THAT(run.out, HasSubstr("GL_R8UI in core profile: create has hung, did not end within "
                                   "1 s\n"));
}

TEST_F(SurveyCommand, does_not_take_many_formats_for_a_hang) {
    std::string script = offered();
    for (const char* name : {"GL_R8", "GL_RG8", "GL_RGB8"}) {
        script += "sleep 400\n" + said(std::string("core ") + name + ": create yes");
    }
    folder_.script(script + complete_survey());
    EXPECT_TRUE(survey().exited_with(0));
    EXPECT_EQ(folder_.runs(), 1);
}

TEST_F(SurveyCommand, leaves_what_was_under_way_unmeasured_when_it_is_interrupted) {
    folder_.script(offered() + record("core.GL_R8UI", "create yes%nrender started%n") + "turn " +
                   folder_.file("ready").string() + "\nhang\n");
    const pid_t survey = folder_.start_ctl({"survey", "--profile", "core"});
    while (!std::filesystem::exists(folder_.file("ready"))) usleep(10000);
    kill(survey, SIGINT);
    EXPECT_TRUE(finish(survey).exited_with(128 + SIGINT));
    EXPECT_EQ(read_file(folder_.file("ctl.err")),
              "Interrupted; nothing is lost. `texprobectl survey` goes on from here.\n");
    EXPECT_EQ(read_file(folder_.file("ctl.out")), "");
    EXPECT_EQ(records().at("core.GL_R8UI"), "string create yes\n");
}

TEST_F(SurveyCommand, is_not_complete_when_something_is_not_recorded_and_says_why) {
    const std::string complaint = "*** texprobe records: /a/file: the disk is full";
    const std::string vain =
        "texprobectl: not complete: two runs in a row recorded nothing: texprobe-survey ended with "
        "status ";
    const std::pair<std::string, std::string> rows[] = {
        {"say " + complaint + "\nexit 1\n",
         "1 (" + complaint + "); the context of core profile of " + renderer_},
        {offered(), "0; GL_R8UI in core profile of " + renderer_}};
    for (const auto& [script, lack] : rows) {
        folder_.script(script);
        const Finished run = survey();
        EXPECT_TRUE(run.exited_with(1));
        EXPECT_EQ(run.err, vain + lack + " is not recorded\n");
        // What was chosen is shown as far as anything is recorded.
        EXPECT_EQ(run.out.find("GL_R8UI") != std::string::npos, script == offered());
    }
}

TEST_F(SurveyCommand, says_once_what_is_not_offered) {
    std::string script;
    for (const char* profile : {"compatibility", "core"}) script += record(profile, "not_offered");
    folder_.script(script + record("es", "hung"));
    const Finished run = folder_.ctl({"survey"});
    EXPECT_TRUE(run.exited_with(0)) << run.err;
    EXPECT_THAT(run.out, HasSubstr("There is no context of core profile: the driver does not offer "
                                   "it.\nThere is no context of OpenGL ES: opening one has "
                                   "hung.\n"));
    EXPECT_THAT(run.out, Not(HasSubstr("GL_")));
    EXPECT_THAT(run.out, Not(HasSubstr("No promise is broken")));
}

TEST_F(SurveyCommand, needs_its_program_and_known_names) {
    std::filesystem::remove(folder_.file("texprobe-survey"));
    const Finished none = survey();
    EXPECT_TRUE(none.exited_with(1));
    EXPECT_THAT(none.err, HasSubstr("texprobe-survey was not found beside texprobectl"));
    EXPECT_EQ(folder_.ctl({"survey", "--profile", "gles"}).err,
              "texprobectl: --profile expects compatibility, core or es, not \"gles\"\n");
    EXPECT_EQ(folder_.ctl({"survey", "--format", "GL_NONE"}).err,
              "texprobectl: \"GL_NONE\" is no format of the survey\n");
}

TEST_F(SurveyCommand, shows_nothing_of_a_stranger_raw) {
    folder_.script(
        offered() + record("core", "4.6 \x1b[31m") +
        record("core.GL_R8UI",
               "create yes%ncreate_storage yes%nrender wrong: \x1b[2J at 0, 0%n" + transfers()));
    const Finished run = survey();
    EXPECT_TRUE(run.exited_with(0)) << run.err;
    EXPECT_THAT(run.out, HasSubstr("core profile: 4.6 ?[31m\n"));
    EXPECT_THAT(run.out, HasSubstr("render is wrong, ?[2J at 0, 0\n"));
}

TEST_F(SurveyCommand, shows_compressed_formats_in_a_table_of_their_own) {
    const std::string name = "GL_COMPRESSED_SRGB8_PUNCHTHROUGH_ALPHA1_ETC2";
    folder_.script(offered() + record("core." + name,
                                      "create yes%ncreate_storage not_offered: no%nfilter yes%n"
                                      "upload yes%nupload_part wrong: why%nupload_buffer yes%n"));
    const Finished run =
        folder_.ctl({"survey", "--profile", "core", "--format", name, "--timeout", "1"});
    EXPECT_TRUE(run.exited_with(0)) << run.err;
    EXPECT_THAT(run.out,
                HasSubstr('\n' + name + " in core profile: upload_part is\n  wrong, why\n"));
    EXPECT_THAT(
        run.out,
        HasSubstr(
            "core profile: 4.6 (Core Profile) a driver\n"
            "GL_COMPRESSED_...           create  storage   filter   upload     part   buffer\n"
            "SRGB8_PUNCHTHROUGH_ALPHA1_ETC2 yes       no      yes      yes    wrong      yes\n"
            "\n"));
}

TEST_F(SurveyCommand, is_listed_and_forgotten_with_the_set_that_was_measured_or_alone) {
    const struct {
        std::string measured;
        const char* state;
        const char* forgotten;
    } rows[] = {{complete_set(kIDPrefix + own_, "1.0"), "  complete, present",
                 ": a renderer, 1.0; and its survey"},
                {"", "  not measured, present", ": its survey"}};
    for (const auto& row : rows) {
        folder_.prepare(SCRIPTED_TOOL, row.measured + complete_survey());
        EXPECT_THAT(folder_.ctl({"list"}).out,
                    AllOf(HasSubstr(row.state), HasSubstr(", partly surveyed\n")));
        EXPECT_EQ(folder_.ctl({"show"}).exited_with(0), !row.measured.empty());
        const Finished forgotten = folder_.ctl({"forget", "1", "--yes"});
        EXPECT_TRUE(forgotten.exited_with(0));
        EXPECT_EQ(forgotten.err, kIDPrefix + own_ + row.forgotten + "\n1 record set removed.\n");
        EXPECT_EQ(folder_.records().count(survey_id()), 0u);
    }
}

TEST_F(SurveyCommand, of_the_real_program_is_shown_from_the_records_and_from_a_document) {
    std::filesystem::copy_file(SURVEY, folder_.file("real"));
    const Finished run =
        folder_.ctl({"survey", "--format", "GL_R8UI", "--tool", folder_.file("real")});
    EXPECT_TRUE(run.exited_with(0)) << run.err;
    EXPECT_THAT(run.out, HasSubstr("\nNo promise is broken.\n\n"));
    for (const char* profile :
         {"compatibility profile: 4.", "core profile: 4.", "OpenGL ES: OpenGL ES 3."}) {
        EXPECT_THAT(run.out, HasSubstr(profile));
    }
    EXPECT_THAT(run.out, HasSubstr("\nGL_R8UI                        yes      yes"
                                   "                        yes\n"));
    const std::string compressed = "GL_COMPRESSED_RGBA_ASTC_4x4_KHR";
    EXPECT_TRUE(folder_.ctl({"survey", "--format", compressed, "--tool", folder_.file("real")})
                    .exited_with(0));
    const std::string file = folder_.file("export.json");
    EXPECT_TRUE(folder_.ctl({"export", "-o", file}).exited_with(0));
    const Finished shown = folder_.ctl({"survey", file, "--format", "GL_R8UI"});
    EXPECT_TRUE(shown.exited_with(0)) << shown.err;
    EXPECT_EQ(shown.out.substr(shown.out.find("No promise")),
              run.out.substr(run.out.find("No promise")));
    EXPECT_EQ(
        folder_.ctl({"survey", "--format", "GL_R8UI", "--tool", folder_.file("real"), "--json"})
            .out,
        read_file(file));
    const json set = json::parse(read_file(file)).at("record_sets").at(0);
    EXPECT_EQ(set.at("complete"), false);
    EXPECT_EQ(set.at("survey").at("profiles").at(1).at("formats").at(16),
              json::parse(R"({"name": "GL_R8UI", "create": "yes", "create_storage": "yes",
                              "render": "yes", "layouts": [
                  {"format": "GL_RED_INTEGER", "type": "GL_UNSIGNED_BYTE", "upload": "yes",
                   "upload_part": "yes", "upload_part_storage": "yes", "upload_buffer": "yes",
                   "define_buffer": "yes", "read": "yes", "read_part": "yes",
                   "read_buffer": "yes", "get": "yes", "get_buffer": "yes"}]})"));
    EXPECT_EQ(set.at("survey").at("profiles").at(1).at("formats").at(97),
              json::parse(R"({"name": "GL_COMPRESSED_RGBA_ASTC_4x4_KHR", "create": "yes",
                              "create_storage": "yes", "filter": "yes", "upload": "yes",
                              "upload_part": "yes", "upload_buffer": "yes", "layouts": []})"));
    EXPECT_THAT(run.out, HasSubstr("\ntransfers:\n  yes in each layout: GL_R8UI\n"));
}

TEST_F(SurveyCommand, shows_on_a_terminal_which_format_is_in_hand) {
    folder_.script(offered() + said("core: 4.6") + "sleep 300\n" + complete_survey());
    TerminalRun run(folder_.file("texprobectl"), kSurveyR8ui, {"LC_ALL=C.UTF-8", "TERM=xterm"});
    EXPECT_TRUE(run.finish().exited_with(0)) << run.shown();
    EXPECT_THAT(run.shown(), HasSubstr("] 0/1  " + renderer_ + " core GL_R8UI"));
}

TEST_F(SurveyCommand, counts_the_formats_of_a_context_that_is_not_offered) {
    // Nothing is recorded: only the line tells.
    folder_.script(offered() + said("core: not_offered") + "sleep 300\n");
    TerminalRun run(folder_.file("texprobectl"), kSurveyR8ui, {"LC_ALL=C.UTF-8", "TERM=xterm"});
    EXPECT_TRUE(run.finish().exited_with(1)) << run.shown();
    EXPECT_THAT(run.shown(), HasSubstr("] 1/1"));
}

}  // namespace
}  // namespace texprobe::tests
