// `texprobectl inspect` of the survey's uses: with a scripted program that says what it compared,
// dies or hangs, and with the real one.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "ctl/inspect_fixture.h"

namespace texprobe::tests {
namespace {

using testing::HasSubstr;

class InspectUse : public testing::Test {
protected:
    static void SetUpTestSuite() {
        const CtlFolder folder(CTL, SCRIPTED_TOOL);
        const auto diagnosis = nlohmann::json::parse(folder.ctl({"doctor", "--json"}).out);
        id_ = std::string(diagnosis.at("renderers").at(0).at("renderer_id")) + '.' +
              std::string(diagnosis.at("system_build"));
    }
    void SetUp() override {
        const std::string survey = "org.texprobe.survey1." + id_;
        folder_.prepare(SCRIPTED_TOOL, "set " + survey +
                                           " core text 4.6 (Core Profile) a driver\n" + "set " +
                                           survey +
                                           " core.GL_RGBA8 text create yes%ncreate_storage yes%n"
                                           "mipmap wrong: level 1: expected, although it does%n\n"
                                           "sync " +
                                           survey + '\n');
        std::filesystem::copy_file(SCRIPTED_TOOL, folder_.file("texprobe-survey"));
    }

    Finished inspect(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {"inspect", "GL_RGBA8"});
        arguments.insert(arguments.end(), {"--profile", "core"});
        return folder_.ctl(arguments);
    }

    /// A right texel, one that is half red instead of a quarter, and one whose alpha is missing.
    static std::string three_texels() {
        return "out mipmap wrong: level 1: expected, although it does\n"
               "out texels 3 4\n"
               "out 0 1 0.5 0 1 1 0.498 0 1\n"
               "out 1 0.25 0 0 1 0.5 0 0 1\n"
               "out 1 0 0 1 1 0 0 1 nan\n";
    }

    static inline std::string id_;
    CtlFolder folder_{CTL, SCRIPTED_TOOL};
};

TEST_F(InspectUse, says_what_came_and_where) {
    folder_.script(1, three_texels());
    const Finished run = inspect({"mipmap"});
    EXPECT_TRUE(run.exited_with(0)) << run.err;
    EXPECT_EQ(
        run.out.substr(run.out.find('\n') + 1),
        "org.texprobe.texprobe2." + id_ +
            "\n\n"
            "level 1: expected, although it does.\n\n"
            "recorded       wrong\n"
            "this run       wrong; they agree\n"
            "compared       3 x 1 texels, of which 2 are wrong, the first at 1, 0\n"
            "\n"
            "component    expected there      came there   largest error  texels that differ\n"
            "red                    0.25             0.5            0.25                   1\n"
            "green                     0               0               0                   0\n"
            "blue                      0               0               0                   0\n"
            "alpha                     1               1             inf                   1\n");
    EXPECT_EQ(run.out.substr(0, run.out.find(" on ")), "GL_RGBA8 mipmap in core profile");
}

TEST_F(InspectUse, draws_what_was_expected_what_came_and_what_is_wrong) {
    folder_.script(1, three_texels());
    EXPECT_TRUE(inspect({"mipmap", "-o", folder_.file("pictures")}).exited_with(0));
    const auto pixels = [&](const char* name) {
        return read_png(folder_.file("pictures") / name, 3, 1);
    };
    using Pixels = std::vector<Pixel>;
    EXPECT_EQ(pixels("expected.png"),
              (Pixels{{255, 128, 0, 255}, {64, 0, 0, 255}, {0, 0, 255, 255}}));
    EXPECT_EQ(pixels("came.png"), (Pixels{{255, 127, 0, 255}, {128, 0, 0, 255}, {0, 0, 255, 255}}));
    // The first texel is as near as is allowed.
    EXPECT_EQ(pixels("difference.png"),
              (Pixels{{0, 0, 0, 255}, {255, 0, 0, 255}, {255, 255, 255, 255}}));
    EXPECT_THAT(read_file(folder_.file("pictures/texels.txt")),
                HasSubstr("\n1 0, 1, 0.25 0 0 1, 0.5 0 0 1\n"));
}

TEST_F(InspectUse, is_a_document_for_programs) {
    folder_.script(1, three_texels());
    const nlohmann::json found = inspection_in(folder_, inspect({"mipmap", "--json"}).out);
    const auto judged = nlohmann::json::parse(
        R"({"verdict": "wrong", "text": "level 1: expected, although it does"})");
    EXPECT_EQ(found.at("recorded"), judged);
    EXPECT_EQ(found.at("this_run"), judged);
    EXPECT_EQ(found.at("texels").at("wrong"), 2);
    EXPECT_EQ(found.at("texels").at("first"),
              nlohmann::json::parse(
                  R"({"x": 1, "y": 0, "expected": [0.25, 0, 0, 1], "came": [0.5, 0, 0, 1]})"));
}

TEST_F(InspectUse, says_that_this_run_and_the_record_do_not_agree) {
    folder_.script(1, "out create refused: glTexImage2D gives GL_INVALID_ENUM, although it does\n");
    EXPECT_THAT(inspect({"create"}).out,
                HasSubstr("glTexImage2D gives GL_INVALID_ENUM, although it does.\n\n"
                          "recorded       yes\n"
                          "this run       refused; they do not agree\n"));
    folder_.script(2, "out filter yes\n");
    EXPECT_THAT(inspect({"filter"}).out, HasSubstr("It holds.\n\n"
                                                   "recorded       not measured\n"
                                                   "this run       yes\n"));
}

TEST_F(InspectUse, of_a_driver_that_dies_or_hangs_changes_no_record) {
    const auto before = folder_.records();
    folder_.script(1, "raise 11\n");
    const Finished died = inspect({"mipmap"});
    EXPECT_TRUE(died.exited_with(1));
    EXPECT_THAT(died.out,
                HasSubstr("\ntexprobe-survey was ended by SIGSEGV. No record has changed.\n\n"
                          "recorded       wrong: level 1: expected, although it does\n"
                          "this run       none\n"));
    folder_.script(2, "hang\n");
    EXPECT_THAT(inspect({"mipmap", "--timeout", "1"}).out,
                HasSubstr("\ntexprobe-survey did not end within 1 s. No record has changed.\n\n"));
    EXPECT_EQ(folder_.records(), before);
}

TEST_F(InspectUse, of_all_that_is_told_repeats_each) {
    folder_.script(1, three_texels());
    const Finished run = folder_.ctl({"inspect", "--all", "--profile", "core"});
    EXPECT_TRUE(run.exited_with(0)) << run.err;
    EXPECT_THAT(run.out, HasSubstr("GL_RGBA8 mipmap in core profile on "));
    EXPECT_EQ(folder_.runs(), 1);
}

TEST_F(InspectUse, refuses_what_the_survey_does_not_ask) {
    const Finished run = inspect({"upload", "GL_RED", "GL_FLOAT"});
    EXPECT_TRUE(run.exited_with(2));
    EXPECT_EQ(run.err,
              "texprobectl: the survey does not ask \"upload GL_RED GL_FLOAT\" of GL_RGBA8 in this "
              "profile; `texprobectl survey --format GL_RGBA8` lists what it asks\n");
    const std::vector<std::string> mixed[] = {{"mipmap", "--profile", "core", "--calls"},
                                              {"mipmap", "--profile", "core", "--alone"},
                                              {"set", "--tool", "texprobe-survey"}};
    for (std::vector<std::string> words : mixed) {
        words.insert(words.begin(), {"inspect", "GL_RGBA8"});
        EXPECT_EQ(folder_.ctl(words).err,
                  "texprobectl: --alone and --calls are of the tool's tests, --tool is of the "
                  "survey, which is inspected with --profile\n");
    }
}

TEST_F(InspectUse, of_the_real_program_compares_texels) {
    std::filesystem::copy_file(SURVEY, folder_.file("real"));
    const auto before = folder_.records();
    const std::string tool = folder_.file("real");
    EXPECT_THAT(inspect({"read", "GL_BGRA", "GL_UNSIGNED_BYTE", "--tool", tool}).out,
                HasSubstr("this run       yes\n"
                          "compared       61 x 37 texels, all of them right\n"));
    EXPECT_THAT(inspect({"upload_part", "GL_BGRA", "GL_UNSIGNED_BYTE", "--tool", tool}).out,
                HasSubstr("compared       61 x 37 texels, all of them right\n"));
    EXPECT_THAT(inspect({"render", "--tool", tool}).out,
                HasSubstr("compared       64 x 64 texels, all of them right\n"));
    EXPECT_EQ(folder_.records(), before);
}

}  // namespace
}  // namespace texprobe::tests
