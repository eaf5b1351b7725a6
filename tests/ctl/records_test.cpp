// list, show, compare, forget and doctor, on prepared records.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "ctl/ctl_folder.h"
#include "ctl/prepared_records.h"

namespace texprobe::tests {
namespace {

using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

const std::string kOld = kIDPrefix + "abcd1234.build-9";
const std::string kNew = kIDPrefix + "abcd1234.build-10";
const std::string kOther = kIDPrefix + "ff.build-10";

class Records : public testing::Test {
protected:
    /// Two builds of one renderer, that differ in two verdicts, and another renderer.
    void prepare_three() const {
        folder_.prepare(SCRIPTED_TOOL,
                        complete_set(kOld, "1.0", {{"GL_RGB8_UPLOAD_SET", false}}) +
                            complete_set(kNew, "2.0", {{"GL_RGBA8_DOWNLOAD_GET", false}}) +
                            complete_set(kOther, "3.0"));
    }

    CtlFolder folder_{CTL, SCRIPTED_TOOL};
};

TEST_F(Records, are_listed_one_line_each) {
    prepare_three();
    folder_.prepare(SCRIPTED_TOOL, mark(kNew, "RECORDED", "2026-11-21T19:56:43Z") + "set " +
                                       kOther + " GL_RENDERER text softpipe\nsync " + kOther +
                                       '\n');
    EXPECT_EQ(folder_.ctl({"list"}).out,
              " #  id                 renderer    driver  build     version  measured    state\n"
              " 1  abcd1234.build-10  a renderer  2.0     build-10  0.21     2026-11-21  complete\n"
              " 2  abcd1234.build-9   a renderer  1.0     build-9   0.21                 complete\n"
              " 3  ff                 softpipe    3.0     build-10  0.21                 complete, "
              "software\n");
}

TEST_F(Records, are_none_at_first) {
    const Finished run = folder_.ctl({"list"});
    EXPECT_TRUE(run.exited_with(0));
    EXPECT_EQ(run.out, "Nothing is recorded yet: `texprobectl measure` measures this machine.\n");
    EXPECT_FALSE(std::filesystem::exists(folder_.database()));
}

TEST_F(Records, are_shown_in_words_within_80_columns) {
    folder_.prepare(SCRIPTED_TOOL, "set " + kOld + " VERSION number 0.21\nset " + kOld +
                                       " GL_RGB32F_ARB_SUPPORTED false\nset " + kOld +
                                       " GL_RGBA32F_ARB_SUPPORTED true\nset " + kOld +
                                       " GL_RGBA32F_ARB_RENDERABLE false\nsync " + kOld + "\n");
    const Finished run = folder_.ctl({"show", "1"});
    EXPECT_TRUE(run.exited_with(0));
    EXPECT_THAT(
        run.out,
        HasSubstr(
            "                            create   render      set    reset      get     read\n"
            "GL_RGB32F_ARB                   no      n/a      n/a      n/a      n/a      n/a\n"
            "GL_RGBA32F_ARB                 yes       no untested untested      n/a      n/a\n"
            "GL_LUMINANCE32F_ARB       untested untested untested untested untested untested\n"));
    EXPECT_THAT(
        run.out,
        AllOf(HasSubstr("untested: not measured yet\n"),
              HasSubstr("n/a: not applicable, because a capability that it needs is a no\n"),
              Not(HasSubstr("\x1b"))));
    for (const std::string& line : lines_of(run.out)) EXPECT_LE(line.size(), 80u) << line;
}

TEST_F(Records, that_differ_are_compared_with_status_1) {
    prepare_three();
    const Finished run = folder_.ctl({"compare", "build-9", "abcd1234.build-10"});
    EXPECT_TRUE(run.exited_with(1));
    EXPECT_EQ(run.out, "A: " + kOld + "\n   a renderer, 1.0\nB: " + kNew +
                           "\n   a renderer, 2.0\n\n"
                           "                                                  A         B\n"
                           "GL_RGB8 upload set                               no       yes\n"
                           "GL_RGBA8 download get                           yes        no\n\n"
                           "1 worse, 1 better.\n");
    const std::string document =
        folder_.ctl({"compare", "build-9", "abcd1234.build-10", "--json"}).out;
    EXPECT_EQ(json::parse(document)["pairs"][0]["differences"], json::parse(R"([
        {"name": "GL_RGB8", "internal_format": 32849, "capability": "upload_set", "a": "no",
         "b": "yes"},
        {"name": "GL_RGBA8", "internal_format": 32856, "capability": "download_get", "a": "yes",
         "b": "no"}])"));
}

TEST_F(Records, of_the_same_driver_are_told_apart_by_build_and_date) {
    folder_.prepare(SCRIPTED_TOOL, complete_set(kOld, "1.0", {{"GL_RGB8_UPLOAD_SET", false}}) +
                                       complete_set(kNew, "1.0") +
                                       mark(kNew, "RECORDED", "2026-11-21T19:56:43Z"));
    EXPECT_THAT(folder_.ctl({"compare", "build-9", "build-10"}).out,
                AllOf(HasSubstr("A: " + kOld +
                                "\n   a renderer, 1.0\n   build build-9, version "
                                "0.21\nB: " +
                                kNew +
                                "\n   a renderer, 1.0\n   build build-10, measured 2026-11-21 "
                                "19:56 UTC, version 0.21\n\n"),
                      HasSubstr("\n0 worse, 1 better.\n")));
}

TEST_F(Records, of_an_exported_file_are_shown_with_their_date) {
    prepare_three();
    folder_.prepare(SCRIPTED_TOOL, mark(kNew, "RECORDED", "2026-11-21T19:56:43Z"));
    const std::string shown = folder_.ctl({"show", "1"}).out;
    EXPECT_THAT(shown, HasSubstr("\ncomplete; not of its machine's present build\n"
                                 "measured 2026-11-21 19:56 UTC, version 0.21\n\n"));
    write_file(folder_.file("a.json"), folder_.ctl({"export", "1"}).out);
    folder_.ctl({"forget", "--all", "--yes"});
    EXPECT_EQ(folder_.ctl({"show", folder_.file("a.json")}).out,
              shown.substr(0, shown.find("A no that was")));
    EXPECT_EQ(folder_.ctl({"show", folder_.file("a.json"), "--json"}).out,
              read_file(folder_.file("a.json")));
}

TEST_F(Records, of_all_renderers_are_one_table) {
    prepare_three();
    write_file(folder_.file("a.json"), folder_.ctl({"export"}).out);
    const Finished run = folder_.ctl({"show", "--all-renderers", folder_.file("a.json")});
    EXPECT_TRUE(run.exited_with(0));
    EXPECT_THAT(run.out, AllOf(HasSubstr(" 2  a renderer, 1.0\n      build build-9, complete\n"),
                               HasSubstr("\n                             1    2    3\n"),
                               HasSubstr("\nGL_RGB8                    yes  yes  yes  create, "
                                         "render, reset, get, read\n"
                                         "                           yes   no  yes  set\n"),
                               HasSubstr("\nGL_RGB16                   yes  yes  yes  all six\n")));
    for (const std::string& line : lines_of(run.out)) EXPECT_LE(line.size(), 80u) << line;
}

TEST_F(Records, are_tables_of_a_forge_in_which_strangers_have_no_markup) {
    folder_.prepare(SCRIPTED_TOOL,
                    complete_set(kOld, "1.0 `@user` <b>|*", {{"GL_RGB8_UPLOAD_SET", false}}));
    const std::string text = folder_.ctl({"show", "1", "--markdown"}).out;
    EXPECT_THAT(text, AllOf(HasSubstr("`a renderer, 1.0 '@user' <b>|*, build build-9, version "
                                      "0.21; complete`\n\n| format | create | render | set |"),
                            HasSubstr("| --- | --- | --- | --- | --- | --- | --- |\n"),
                            HasSubstr("| GL_RGB8 | yes | yes | no | yes | yes | yes |\n")));
    EXPECT_THAT(folder_.ctl({"show", "1", "--markdown", "--all-renderers"}).out,
                HasSubstr("\n| GL_RGB8 | set | no |\n"));
    folder_.prepare(SCRIPTED_TOOL, mark(kOld, "GL_RGB8_UPLOAD_SET", "signal SIGSEGV"));
    EXPECT_THAT(folder_.ctl({"show", "1", "--markdown"}).out,
                HasSubstr("|\n\n- GL_RGB8 upload set `ended by SIGSEGV`\n"));
}

TEST_F(Records, of_an_older_version_or_without_a_string_are_not_complete) {
    folder_.prepare(SCRIPTED_TOOL, complete_set(kOld, "1.0") + "set " + kOld +
                                       " VERSION number 0.20\nsync " + kOld + "\n" +
                                       complete_set(kOther, "1.0") + "removed " + kOther +
                                       " GL_RENDERER\nsync " + kOther + "\n");
    EXPECT_THAT(folder_.ctl({"list"}).out, HasSubstr("of an older version"));
    const json sets = json::parse(folder_.ctl({"export"}).out)["record_sets"];
    EXPECT_EQ(sets[0]["complete"], false);
    EXPECT_EQ(sets[1]["complete"], false);
    EXPECT_EQ(sets[1]["renderer"], nullptr);
}

TEST_F(Records, that_cannot_be_had_get_one_line_and_status_2) {
    prepare_three();
    const std::string commands =
        "expected one of measure, list, show, survey, compare, inspect, export, report, merge, "
        "time, forget, doctor; see `texprobectl --help`";
    const std::string ways = "forget expects record sets, --all or --outdated";
    const std::string notFound =
        "\"; expected an identifier, a part of one, or a number that `texprobectl list` shows";
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{"show", "build-10"},
         "\"build-10\" matches 2 record sets; expected a part that only one identifier has, or a "
         "number that `texprobectl list` shows"},
        {{"show", "nothing"}, "no record set matches \"nothing" + notFound},
        {{"forget", "4", "--yes"}, "no record set matches \"4" + notFound},
        {{"compare", "3", "/no/such/file"}, "/no/such/file: No such file or directory"},
        {{"report", "nofile.json", "-o", "page.html"}, "nofile.json: No such file or directory"},
        {{"forget", "--yes"}, ways},
        {{"forget", "3", "--all", "--yes"}, ways},
        {{"export", "--present"},
         "there is no record set of this machine's present build to export"},
        {{"export", "-o", "/no/such/folder/a.json"},
         "cannot write /no/such/folder/a.json: No such file or directory"},
        {{"export", "-o", "/dev/full"}, "cannot write /dev/full: No space left on device"},
        {{}, "a command is missing; " + commands},
        {{"frobnicate"}, "unknown argument: frobnicate; " + commands},
        {{"list", "--yes"},
         "unknown argument: --yes; expected --help, --json; see `texprobectl list --help`"},
        {{"measure", "--timeout", "soon"},
         "--timeout: expected a number from 1 to 86400, not \"soon\"; see `texprobectl measure "
         "--help`"}};
    for (const auto& [arguments, line] : cases) {
        const Finished run = folder_.ctl(arguments);
        EXPECT_TRUE(run.exited_with(2)) << line;
        EXPECT_EQ(run.err, "texprobectl: " + line + "\n");
        EXPECT_EQ(run.out, "");
    }
    EXPECT_TRUE(folder_.ctl({"compare", "3"}).exited_with(2));
    EXPECT_TRUE(folder_.ctl({"show"}).exited_with(2));
    EXPECT_EQ(folder_.records().size(), 3u);
}

TEST_F(Records, are_compared_with_exported_files_of_several_sets) {
    prepare_three();
    write_file(folder_.file("all.json"), folder_.ctl({"export"}).out);
    EXPECT_TRUE(folder_.ctl({"compare", folder_.file("all.json"), folder_.file("all.json")})
                    .exited_with(0));
    const Finished run = folder_.ctl({"compare", folder_.file("all.json"), "3", "--json"});
    EXPECT_TRUE(run.exited_with(1));
    const json document = json::parse(run.out);
    EXPECT_EQ(document["pairs"].size(), 1u);
    EXPECT_EQ(document["only_a"].size(), 2u);
    EXPECT_TRUE(document["only_b"].empty());
}

TEST_F(Records, are_forgotten_only_when_told_so) {
    prepare_three();
    const Finished refused = folder_.ctl({"forget", "3"});
    EXPECT_TRUE(refused.exited_with(2));
    EXPECT_EQ(refused.err,
              kOther +
                  ": a renderer, 3.0\ntexprobectl: there is no terminal to ask on; --yes "
                  "removes these record sets\n");
    EXPECT_EQ(folder_.records().size(), 3u);
    EXPECT_TRUE(folder_.ctl({"forget", "3", "--yes"}).exited_with(0));
    EXPECT_EQ(folder_.records().count(kOther), 0u);
    EXPECT_EQ(folder_.records().size(), 2u);
}

TEST_F(Records, of_other_builds_and_renderers_are_outdated) {
    prepare_three();
    EXPECT_TRUE(folder_.ctl({"forget", "--outdated", "--yes"}).exited_with(0));
    EXPECT_TRUE(folder_.records().empty());
    EXPECT_EQ(folder_.ctl({"forget", "--all", "--yes"}).err, "There is nothing to forget.\n");
}

TEST_F(Records, that_are_foreign_are_left_alone) {
    folder_.prepare(SCRIPTED_TOOL, complete_set(kOld, "1.0") +
                                       complete_set(kIDPrefix + "NOID.x", "1.0") +
                                       "set org.example.other KEY text value\n"
                                       "sync org.example.other\n");
    EXPECT_EQ(lines_of(folder_.ctl({"list"}).out).size(), 2u);
    folder_.ctl({"forget", "--all", "--yes"});
    EXPECT_EQ(folder_.records().size(), 2u);
}

TEST_F(Records, doctor_names_no_user_and_no_host) {
    prepare_three();
    char host[256] = {};
    gethostname(host, sizeof host - 1);
    const Finished run = folder_.ctl(
        {"doctor", "--json"},
        {"HOME=" + folder_.path().string(), "MESA_DEBUG=" + std::string(host), "SECRET=1"});
    EXPECT_TRUE(run.exited_with(0)) << run.err;
    const json document = json::parse(run.out);
    EXPECT_EQ(document["store"]["place"], "~/records/records.sqlite3");
    EXPECT_EQ(document["store"]["folder_mode"], "0700");
    EXPECT_EQ(document["store"]["file_mode"], "0600");
    EXPECT_EQ(document["store"]["health"], "good");
    EXPECT_EQ(document["record_sets"], 3);
    EXPECT_EQ(document["variables"], json::parse(R"([{"name": "MESA_DEBUG", "value": "HOST"}])"));
    EXPECT_FALSE(document["renderers"].empty());
}

TEST_F(Records, every_command_has_help) {
    for (const char* command : {"measure", "list", "show", "compare", "export", "report", "merge",
                                "time", "forget", "doctor"}) {
        const Finished run = folder_.ctl({command, "--help"});
        EXPECT_TRUE(run.exited_with(0)) << command;
        EXPECT_THAT(run.out, HasSubstr("Usage: texprobectl " + std::string(command)));
        for (const std::string& line : lines_of(run.out)) EXPECT_LE(line.size(), 80u) << line;
        EXPECT_THAT(run.out, Not(HasSubstr("texprobectl COMMAND --help")));
        EXPECT_EQ(folder_.ctl({"help", command}).out, run.out);
    }
    const std::string all = folder_.ctl({"--help"}).out;
    EXPECT_THAT(all, HasSubstr("`texprobectl COMMAND --help` says more of each"));
    EXPECT_EQ(folder_.ctl({"help"}).out, all);
    EXPECT_EQ(folder_.ctl({"--version"}).out, "texprobectl " VERSION "\n");
}

TEST_F(Records, the_link_that_a_file_is_named_by_stays) {
    prepare_three();
    std::filesystem::create_symlink(folder_.file("real.json"), folder_.file("link.json"));
    folder_.ctl({"export", "-o", folder_.file("link.json")});
    EXPECT_TRUE(std::filesystem::is_symlink(folder_.file("link.json")));
    EXPECT_TRUE(std::filesystem::is_regular_file(folder_.file("real.json")));
}

}  // namespace
}  // namespace texprobe::tests
