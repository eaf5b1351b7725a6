// The survey in documents: read back it is the same, and what is wrong is said with its place. And
// what the surveys of sets decide.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ctl/written_sets.h"
#include "records/compare.h"
#include "records/survey_store.h"
#include "table/record_keys.h"
#include "text/write_text.h"

namespace texprobe::tests {
namespace {

using testing::AllOf;
using testing::HasSubstr;

TEST(SurveyDocument, has_a_key_for_each_use_of_a_format_and_no_other) {
    EXPECT_THAT(full_document(),
                AllOf(HasSubstr(R"({"name":"GL_RGBA8","create":"yes",)"
                                R"("create_storage":"unmeasured","filter":"wrong",)"
                                R"("mipmap":"unmeasured","render":"crashed",)"
                                R"("blend":"unmeasured","layouts":[{"format":"GL_RGBA",)"),
                      HasSubstr(R"({"name":"GL_R8UI","create":"unmeasured","create_storage":)"
                                R"("unmeasured","render":"unknown","layouts":[{)"),
                      HasSubstr(R"({"format":"GL_BGRA","type":"GL_UNSIGNED_BYTE",)"
                                R"("upload":"wrong","upload_part":"unmeasured",)"
                                R"("upload_part_storage":"unmeasured","upload_buffer":)"
                                R"("unmeasured","define_buffer":"unmeasured","read":"unmeasured",)"
                                R"("read_part":"unmeasured","read_buffer":"unmeasured",)"
                                R"("get":"yes","get_buffer":"unmeasured"})"),
                      HasSubstr(R"({"name":"GL_RGBA8","format":"GL_BGRA","type":)"
                                R"("GL_UNSIGNED_BYTE","use":"upload","text":"red is blue"})")));
}

TEST(SurveyDocument, in_which_everything_fails_is_read_back) {
    ctl::RecordSet set = working_set();
    set.survey = {ctl::SurveyedProfile()};
    for (std::size_t i = 0; i < survey::formats().size(); ++i) {
        for (const auto& question :
             survey::questions_of(survey::formats()[i], set.survey[0].profile)) {
            set.survey[0].formats[i].uses[question] = {survey::Verdict::kWrong, "why"};
        }
    }
    EXPECT_EQ(read_text(document_of({set})), ctl::RecordSets{set});
}

TEST(SurveyDocument, without_layouts_leaves_them_unmeasured) {
    std::string text = full_document();
    // Up to the end of each list of them.
    for (std::size_t at = 0; (at = text.find("\"layouts\":[{", at)) != std::string::npos; ++at) {
        text.replace(at, text.find("]}", at) + 1 - at, "\"layouts\":[]");
    }
    const std::size_t detail = text.rfind('{', text.find("red is blue"));
    text.erase(detail, text.find('}', detail) + 1 - detail + 1);
    ctl::Survey expected = written_survey();
    for (survey::FormatRecord& record : expected[0].formats) {
        record.uses.erase({survey::Use::kUpload, kBgraBytes});
        record.uses.erase({survey::Use::kGet, kBgraBytes});
    }
    EXPECT_EQ(read_text(text)[0].survey, expected);
}

TEST(SurveyDocument, that_is_wrong_gets_its_place) {
    const struct {
        const char* old;
        const char* now;
        const char* complaint;
    } kCases[] = {
        {"\"version\": 1", "\"version\": 2",
         ".version: \"version\" must be a whole number from 1 to 1"},
        {"\"survey\": {", "\"survey\": 3, \"x\": {", ": expected an object"},
        {"\"profile\": \"core\"", "\"profile\": \"gles\"",
         ".profiles[0].profile: \"gles\" is no profile; expected compatibility, core or es"},
        {"\"profile\": \"es\"", "\"profile\": \"core\"",
         ".profiles[1].profile: expected compatibility, core and es in this order, each once at "
         "most"},
        {"\"name\":\"GL_R8\"", "\"name\":\"GL_R9\\u001b\"",
         ".profiles[0].formats[0].name: \"GL_R9?\" is no format of the survey"},
        {"\"filter\":\"wrong\"", "\"filter\":\"started\"",
         ".profiles[0].formats[3].filter: \"filter\" is \"started\"; expected yes, refused, wrong, "
         "not_offered, not_applicable, crashed, hung, unknown or unmeasured"},
        {"\"blend\":\"unmeasured\",\"layouts\"", "\"layouts\"",
         ".profiles[0].formats[0]: \"blend\" is missing"},
        {"\"render\":\"unknown\"", "\"render\":\"unknown\",\"filter\":\"yes\"",
         ".profiles[0].formats[16].filter: GL_R8UI has no use \"filter\""},
        {"\"format\":\"GL_RED\"", "\"format\":\"GL_PURPLE\"",
         ".profiles[0].formats[0].layouts[0].format: \"GL_PURPLE\" and \"type\" are no layout of "
         "the survey"},
        {"\"format\":\"GL_RED\"", "\"format\":\"GL_RG\"",
         ".profiles[0].formats[0].layouts[0]: this is no layout of GL_R8"},
        {"\"format\":\"GL_RED\",", "", ".profiles[0].formats[0].layouts[0]: \"format\" is missing"},
        {"\"format\":\"GL_BGRA\",\"type\":\"GL_UNSIGNED_BYTE\"",
         "\"format\":\"GL_RGBA\",\"type\":\"GL_UNSIGNED_BYTE\"",
         ".profiles[0].formats[3].layouts[1]: this layout is given twice"},
        {"\"use\":\"filter\"", "\"use\":\"mipmap\"",
         ".profiles[0].details[0].use: \"mipmap\" is no use of GL_RGBA8 that has a verdict"},
        {"\"use\":\"filter\"", "\"use\":\"render\"",
         ".profiles[0].details[1].text: \"text\" is given twice for this use"},
        {"\"context\": \"not_offered\"", "\"context\": \"no\"",
         ".profiles[1].context: \"context\" must be not_offered, crashed or hung, and "
         "\"gl_version\" null"},
        {"\"text\":\"why\"", "\"text\":null",
         ".profiles[0].details[3].text: \"text\" must be a text"}};
    for (const auto& [old, now, expected] : kCases) {
        EXPECT_EQ(complaint(changed(old, now, "\"survey\"")),
                  ": record_sets[0].survey" + std::string(expected));
    }
}

TEST(RecordedSurvey, of_a_context_that_is_being_opened_is_missing) {
    const auto missing = [](const std::string& record) {
        const ctl::Survey survey =
            ctl::parse_survey({{survey::key_of(survey::Profile::kCore), record}});
        return ctl::describe_missing(survey, {survey::Profile::kCore}, "ff");
    };
    const std::string context = "the context of core profile of ff is not recorded";
    EXPECT_EQ(missing(survey::kOpening), context);
    EXPECT_EQ(missing(survey::kOpeningAgain), context);
    EXPECT_EQ(missing("4.6 Driver"), "GL_R8 in core profile of ff is not recorded");
    EXPECT_EQ(missing(survey::kContextNotOffered), "");
}

TEST(ComparedSurveys, differ_in_what_both_have_asked) {
    ctl::RecordSet other = full_set();
    auto& uses = other.survey[0].formats[survey_format("GL_RGBA8")].uses;
    uses[survey::Use::kFilter] = {survey::Verdict::kYes, ""};
    uses.erase(survey::Use::kRender);
    uses[survey::Use::kBlend] = {survey::Verdict::kWrong, "why"};
    other.survey[1].lack = "hung";
    const ctl::Comparison comparison = ctl::compare({full_set()}, {other});
    EXPECT_FALSE(comparison.is_equal());
    std::ostringstream text;
    ctl::write_comparison_text(comparison, {}, text);
    EXPECT_THAT(text.str(), HasSubstr("\n\nGL_RGBA8 filter in core profile: A wrong, B yes\n"
                                      "context in OpenGL ES: A not_offered, B hung\n"
                                      "\n1 worse, 1 better.\n"));
    std::ostringstream document;
    ctl::write_comparison_json(comparison, document);
    EXPECT_NE(document.str().find("\"use\": \"filter\""), std::string::npos);
    other.survey.clear();
    EXPECT_TRUE(ctl::compare({full_set()}, {other}).is_equal());
}

TEST(SurveyedTransfers, decide_whose_a_no_is) {
    const ctl::Cell cell = {11, kUploadSet};
    ctl::Flags flags;
    flags.recorded[cell] = false;
    const auto isOfTest = [&](ctl::Seen::Whose found, survey::Verdict judged, unsigned type) {
        flags.causes[cell] = ctl::Seen{found};
        ctl::SurveyedProfile profile;
        const std::size_t format = survey_format("GL_RGBA16");
        // The tool's layout is GL_BGRA with GL_UNSIGNED_SHORT.
        profile.formats[format].uses[{survey::Use::kUploadBuffer, {0x80E1, type}}] = {judged, ""};
        return !ctl::decide_verdicts(flags, {profile}).details.empty();
    };
    using Whose = ctl::Seen::Whose;
    EXPECT_TRUE(isOfTest(Whose::kOther, survey::Verdict::kYes, 0x1403));
    EXPECT_FALSE(isOfTest(Whose::kTest, survey::Verdict::kWrong, 0x1403));
    EXPECT_FALSE(isOfTest(Whose::kTest, survey::Verdict::kRefused, 0x1403));
    // It says nothing, or is about another layout: what `measure` has found stays.
    EXPECT_TRUE(isOfTest(Whose::kTest, survey::Verdict::kUnknown, 0x1403));
    EXPECT_TRUE(isOfTest(Whose::kTest, survey::Verdict::kWrong, 0x1401));
    EXPECT_FALSE(isOfTest(Whose::kOther, survey::Verdict::kYes, 0x1401));
}

}  // namespace
}  // namespace texprobe::tests
