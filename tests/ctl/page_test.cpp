// The page of `texprobectl report`, made of record sets that are written down here.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "page/page.h"

namespace texprobe::tests {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

ctl::RecordSet set_of_page(const std::string& rendererID, const std::string& build) {
    ctl::RecordSet set;
    set.rendererID = rendererID;
    set.systemBuild = build;
    set.id = "org.texprobe.texprobe2." + rendererID + '.' + build;
    set.version = 0.21;
    set.vendor = "Vendor";
    set.glVersion = "4.5 Driver";
    set.renderer = "Card " + rendererID;
    set.isComplete = true;
    return set;
}

std::string page_of(const ctl::RecordSets& sets,
                    const std::vector<ctl::PicturedNoes>& pictured = {}) {
    std::ostringstream page;
    ctl::write_page(sets, pictured, {}, page);
    return page.str();
}

std::size_t times_in(const std::string& page, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = 0; (at = page.find(part, at)) != std::string::npos; ++at) ++count;
    return count;
}

TEST(Page, says_date_system_and_version_of_the_one_set) {
    ctl::RecordSet set = set_of_page("a1", "6.1");
    set.measured = "2026-11-21T19:56:43Z";
    EXPECT_THAT(page_of({set}), HasSubstr("<p class=\"quiet\">4.5 Driver, system 6.1, measured "
                                          "2026-11-21 19:56 UTC, version 0.21</p>"));
}

TEST(Page, tells_first_what_to_rely_on) {
    ctl::RecordSet set = set_of_page("a1", "6.1");
    set.verdicts[6][kDownloadGet] = ctl::Verdict::kNo;
    set.verdicts[8].fill(ctl::Verdict::kNo);
    // The test's own no is not the driver's.
    set.verdicts[11][kUploadSet] = ctl::Verdict::kNo;
    set.details = {{{11, kUploadSet}, ctl::Seen{ctl::Seen::Whose::kTest}}};
    ctl::RecordSet other = set_of_page("b2", "6.1");
    other.verdicts[6][kDownloadRead] = ctl::Verdict::kNo;
    const std::string page = page_of({set, other});
    EXPECT_THAT(page, AllOf(HasSubstr("<li>GL_RGB8: all but get, read</li>"),
                            HasSubstr("<li>GL_LUMINANCE16: nothing</li>"),
                            HasSubstr("GL_RGB16, GL_RGBA16*, GL_LUMINANCE16F_ARB, ")));
    EXPECT_LT(page.find("What to rely on</h2>"), page.find("<table>"));
}

/// `survey`, of this format in the core profile: all that is asked is a yes.
ctl::RecordSet with_survey_of_page(ctl::RecordSet set) {
    ctl::SurveyedProfile core;
    core.profile = survey::Profile::kCore;
    core.glVersion = "4.5 (Core Profile)";
    for (std::size_t i = 0; i < core.formats.size(); ++i) {
        for (const survey::Question& question :
             survey::questions_of(survey::formats()[i], core.profile)) {
            core.formats[i].uses[question] = {survey::Verdict::kYes, ""};
        }
    }
    set.survey = {core};
    return set;
}

TEST(Page, tells_what_to_rely_on_in_each_context_and_layout) {
    ctl::RecordSet set = with_survey_of_page(set_of_page("a1", "6.1"));
    auto& uses = set.survey[0].formats[0].uses;
    ASSERT_STREQ(survey::formats()[0].name, "GL_R8");
    const survey::Layout bytes = survey::find_layout("GL_RED", "GL_UNSIGNED_BYTE").value();
    uses[survey::Use::kBlend] = {survey::Verdict::kRefused, "not blended"};
    uses[{survey::Use::kRead, bytes}] = {survey::Verdict::kWrong, "other pixels"};
    uses[{survey::Use::kReadPart, bytes}] = {survey::Verdict::kWrong, "other pixels"};
    const std::string page = page_of({set});
    EXPECT_THAT(page, HasSubstr("<h3>The survey: core profile</h3>\n<ul>\n"
                                "<li>everything: all 103 formats but the following</li>\n"
                                "<li>GL_R8: all but blend, read, read_part"));
    // Each no in its cell, and where it leads.
    EXPECT_THAT(page, AllOf(HasSubstr("\"crashed\"><a href=\"#why1\">refused: blend</a>"),
                            HasSubstr("\"#why2\">wrong: read, read_<wbr>part</a>"),
                            HasSubstr("id=\"why1\">refused: not blended</p>\n<ul>\n"
                                      "<li>GL_R8: blend; core profile</li>"),
                            HasSubstr("id=\"why2\">wrong: other pixels</p>\n<ul>\n"
                                      "<li>GL_R8: read, read_part in GL_RED GL_UNSIGNED_BYTE; "
                                      "core profile</li>")));
    EXPECT_THAT(page, HasSubstr("Of 102 formats, all that the survey asks holds"));
}

TEST(Page, tells_each_sentence_once) {
    ctl::RecordSet set = set_of_page("a1", "6.1");
    for (const std::size_t format : {6u, 7u}) {
        for (const Capability capability : {kUploadSet, kUploadReset}) {
            set.verdicts[format][capability] = ctl::Verdict::kCrashed;
            set.details.push_back({{format, capability}, ctl::Crashed{"SIGSEGV"}});
        }
    }
    const std::string page = page_of({set});
    EXPECT_EQ(times_in(page, "The test was ended by SIGSEGV."), 1u);
    EXPECT_EQ(times_in(page, "<a href=\"#why1\">crashed</a>"), 4u);
    EXPECT_THAT(page, HasSubstr("<li>GL_RGB8, GL_RGBA8: upload set, upload reset</li>"));
}

TEST(Page, shows_the_same_pictures_once) {
    ctl::RecordSet set = set_of_page("a1", "6.1");
    ctl::PicturedNoes pictured;
    for (const Capability capability : {kUploadSet, kUploadReset, kDownloadGet}) {
        set.verdicts[6][capability] = ctl::Verdict::kNo;
        const ctl::Pictures pictures = {"sent", capability == kDownloadGet ? "c" : "b", "d", 1.0};
        pictured.noes[6][capability] = {"Nothing arrived.", pictures};
    }
    const std::string page = page_of({set}, {pictured});
    EXPECT_EQ(times_in(page, "Nothing arrived."), 1u);
    EXPECT_EQ(times_in(page, "<figure>"), 2u);
    EXPECT_EQ(times_in(page, "data:image/png;base64,Yg=="), 1u);
    EXPECT_EQ(times_in(page, "data:image/png;base64,Yw=="), 1u);
}

TEST(Page, lists_what_differs_between_builds_of_one_driver) {
    ctl::RecordSet before = set_of_page("a1", "6.1");
    before.measured = "2026-10-01T10:00:00Z";
    before.verdicts[6][kUploadSet] = ctl::Verdict::kNo;
    ctl::RecordSet now = set_of_page("a1", "6.2");
    now.measured = "2026-11-01T10:00:00Z";
    now.verdicts[7][kDownloadGet] = ctl::Verdict::kHung;
    now.details = {{{7, kDownloadGet}, ctl::Hung{60}}};
    const std::string page = page_of({before, now});
    EXPECT_THAT(page, HasSubstr("Against 4.5 Driver, system 6.1, measured 2026-10-01 10:00 UTC"));
    EXPECT_THAT(page, HasSubstr("<th scope=\"col\">6.1</th><th scope=\"col\">6.2</th>"));
    EXPECT_THAT(page, HasSubstr("1 worse, 1 better."));
    // The one with tables is the latest, and the driver's name is no link.
    EXPECT_EQ(times_in(page, "<table>"), 2u);
    EXPECT_EQ(times_in(page, "Card a1"), 2u);
    EXPECT_THAT(page, HasSubstr("<li>GL_RGB8: upload set; on 6.1</li>"));
    EXPECT_THAT(page, HasSubstr("<li>GL_RGBA8: download get</li>"));
}

TEST(Page, puts_renderers_together_that_say_the_same) {
    ctl::RecordSets sets;
    for (const char* id : {"a1", "b2", "c3", "d4"}) {
        sets.push_back(with_survey_of_page(set_of_page(id, "6.1")));
    }
    sets[2].verdicts[6][kUploadSet] = ctl::Verdict::kNo;
    const std::string page = page_of(sets);
    EXPECT_THAT(page, AllOf(HasSubstr(">1. Card a1, and 2 more</h2>"),
                            HasSubstr("<p>The same verdicts:</p>\n<ul>\n<li>Card b2, "),
                            HasSubstr(">2. Card c3</h2>"),
                            HasSubstr("<p>The survey says the same as of 1.</p>"),
                            HasSubstr("<li>GL_RGB8: upload set; on 2</li>")));
    // The sum, and the sixteen formats of two.
    EXPECT_EQ(times_in(page, "<table>"), 3u);
}

TEST(Page, keeps_text_of_strangers_text) {
    const std::string evil = "</p><script>\"'&\x1b[2J";
    ctl::RecordSet set = with_survey_of_page(set_of_page("a1", evil));
    for (auto* text : {&set.vendor, &set.glVersion, &set.renderer}) *text = evil;
    set.id += evil;
    set.verdicts[6][kUploadSet] = ctl::Verdict::kCrashed;
    set.verdicts[7][kUploadSet] = ctl::Verdict::kNo;
    set.details = {{{6, kUploadSet}, ctl::Crashed{evil}}};
    set.survey[0].formats[0].uses[survey::Use::kBlend] = {survey::Verdict::kWrong, evil};
    set.survey[0].glVersion = evil;
    ctl::PicturedNoes pictured = {evil, {}};
    pictured.noes[7][kUploadSet] = {evil, {}};
    ctl::RecordSet other = set;
    other.systemBuild = "1" + evil;
    other.verdicts[8][kUploadSet] = ctl::Verdict::kNo;
    for (const std::string& page :
         {page_of({set}, {pictured}), page_of({set, other}, {pictured, pictured})}) {
        EXPECT_THAT(page, AllOf(Not(HasSubstr("<script")), Not(HasSubstr("\x1b")),
                                HasSubstr("&lt;/p&gt;&lt;script&gt;&quot;'&amp;?[2J")));
    }
}

}  // namespace
}  // namespace texprobe::tests
