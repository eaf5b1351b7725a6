// The survey in documents: read back it is the same, and what is wrong is said with its place.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iostream>
#include <sstream>

#include "ctl/ctl_folder.h"
#include "ctl/prepared_records.h"
#include "documents/document.h"
#include "documents/write_json.h"
#include "records/compare.h"
#include "text/write_text.h"

namespace texprobe::tests {
namespace {

using testing::HasSubstr;

constexpr survey::Layout kBgra = {0x80E1, 0x1401};

/// A set with a survey: verdicts, texts, what is unmeasured, and a profile without a context.
ctl::RecordSet surveyed_set() {
    ctl::RecordSet set;
    set.rendererID = "abcd1234";
    set.systemBuild = "build-9";
    set.id = kIDPrefix + "abcd1234.build-9";
    ctl::SurveyedProfile core;
    core.profile = survey::Profile::kCore;
    core.glVersion = "4.6 \"core\"";
    const auto index = [](const char* name) {
        return static_cast<std::size_t>(survey::find_format(name) - survey::formats().data());
    };
    auto& uses = core.formats[index("GL_RGBA8")].uses;
    uses[survey::Use::kCreate] = {survey::Verdict::kYes, ""};
    uses[survey::Use::kFilter] = {survey::Verdict::kWrong, "expected (1, 0), came (0, 1)"};
    uses[survey::Use::kRender] = {survey::Verdict::kCrashed, "ended by SIGSEGV"};
    uses[{survey::Use::kUpload, kBgra}] = {survey::Verdict::kWrong, "red is blue"};
    uses[{survey::Use::kGet, kBgra}] = {survey::Verdict::kYes, ""};
    core.formats[index("GL_R8UI")].uses[survey::Use::kRender] = {survey::Verdict::kUnknown, "why"};
    ctl::SurveyedProfile es;
    es.profile = survey::Profile::kEs;
    es.lack = "not_offered";
    set.survey = {core, es};
    return set;
}

std::string surveyed_document() {
    std::ostringstream text;
    ctl::write_records_json({surveyed_set()}, text);
    return text.str();
}

/// Read as from standard input.
ctl::RecordSets read_surveyed(const std::string& text) {
    std::istringstream input(text);
    std::streambuf* const old = std::cin.rdbuf(input.rdbuf());
    try {
        ctl::RecordSets sets = ctl::read_documents({"-"});
        std::cin.rdbuf(old);
        return sets;
    } catch (...) {
        std::cin.rdbuf(old);
        throw;
    }
}

/// The complaint about the document with the first `old` replaced.
std::string complaint_of(const std::string& old, const std::string& now) {
    std::string text = surveyed_document();
    const std::size_t at = text.find(old, text.find("\"survey\""));
    if (at == std::string::npos) return "there is no " + old;
    try {
        read_surveyed(text.replace(at, old.size(), now));
    } catch (const ctl::DocumentError& error) {
        const std::string what = error.what();
        return what.substr(std::string("standard input: record_sets[0].survey").size());
    }
    return "none";
}

TEST(SurveyDocument, read_back_is_the_same) {
    const ctl::RecordSets sets = read_surveyed(surveyed_document());
    ASSERT_EQ(sets.size(), 1u);
    EXPECT_EQ(sets[0].survey, surveyed_set().survey);
    EXPECT_EQ(sets[0], surveyed_set());
}

TEST(SurveyDocument, without_layouts_leaves_them_unmeasured) {
    std::string text = surveyed_document();
    // Up to the end of each list of them.
    for (std::size_t at = 0; (at = text.find("\"layouts\":[{", at)) != std::string::npos; ++at) {
        text.replace(at, text.find("]}", at) + 1 - at, "\"layouts\":[]");
    }
    for (const char* detail : {"red is blue"}) {
        const std::size_t at = text.rfind('{', text.find(detail));
        text.erase(at, text.find('}', at) + 1 - at + 1);
    }
    ctl::RecordSet set = surveyed_set();
    for (survey::FormatRecord& record : set.survey[0].formats) {
        record.uses.erase({survey::Use::kUpload, kBgra});
        record.uses.erase({survey::Use::kGet, kBgra});
    }
    EXPECT_EQ(read_surveyed(text)[0].survey, set.survey);
}

TEST(SurveyDocument, has_a_key_for_each_use_of_a_format_and_no_other) {
    const std::string text = surveyed_document();
    EXPECT_THAT(text,
                HasSubstr(R"({"name":"GL_RGBA8","create":"yes","create_storage":"unmeasured",)"
                          R"("filter":"wrong","mipmap":"unmeasured","render":"crashed",)"
                          R"("blend":"unmeasured","layouts":[{"format":"GL_RGBA",)"));
    EXPECT_THAT(text, HasSubstr(R"({"name":"GL_R8UI","create":"unmeasured","create_storage":)"
                                R"("unmeasured","render":"unknown","layouts":[{)"));
    EXPECT_THAT(text, HasSubstr(R"({"format":"GL_BGRA","type":"GL_UNSIGNED_BYTE",)"
                                R"("upload":"wrong","upload_part":"unmeasured",)"
                                R"("upload_part_storage":"unmeasured","upload_buffer":)"
                                R"("unmeasured","define_buffer":"unmeasured","read":"unmeasured",)"
                                R"("read_part":"unmeasured","read_buffer":"unmeasured",)"
                                R"("get":"yes","get_buffer":"unmeasured"})"));
    EXPECT_THAT(text, HasSubstr(R"({"name":"GL_RGBA8","format":"GL_BGRA","type":)"
                                R"("GL_UNSIGNED_BYTE","use":"upload","text":"red is blue"})"));
    EXPECT_THAT(text, HasSubstr(R"({"name":"GL_RGBA8","use":"render","text":"ended by SIGSEGV"})"));
}

TEST(SurveyDocument, that_is_wrong_gets_its_place) {
    EXPECT_EQ(complaint_of("\"version\": 1", "\"version\": 2"),
              ".version: \"version\" must be a whole number from 1 to 1");
    EXPECT_EQ(complaint_of("\"survey\": {", "\"survey\": 3, \"x\": {"), ": expected an object");
    EXPECT_EQ(complaint_of("\"profile\": \"core\"", "\"profile\": \"gles\""),
              ".profiles[0].profile: \"gles\" is no profile; expected compatibility, core or es");
    EXPECT_EQ(complaint_of("\"profile\": \"es\"", "\"profile\": \"core\""),
              ".profiles[1].profile: expected compatibility, core and es in this order, each once "
              "at most");
    EXPECT_EQ(complaint_of("\"name\":\"GL_R8\"", "\"name\":\"GL_R9\\u001b\""),
              ".profiles[0].formats[0].name: \"GL_R9?\" is no format of the survey");
    EXPECT_EQ(complaint_of("\"filter\":\"wrong\"", "\"filter\":\"started\""),
              ".profiles[0].formats[3].filter: \"filter\" is \"started\"; expected yes, refused, "
              "wrong, not_offered, not_applicable, crashed, hung, unknown or unmeasured");
    EXPECT_EQ(complaint_of("\"blend\":\"unmeasured\",\"layouts\"", "\"layouts\""),
              ".profiles[0].formats[0]: \"blend\" is missing");
    EXPECT_EQ(complaint_of("\"render\":\"unknown\"", "\"render\":\"unknown\",\"filter\":\"yes\""),
              ".profiles[0].formats[16].filter: GL_R8UI has no use \"filter\"");
    const std::string firstLayout = ".profiles[0].formats[0].layouts[0]";
    EXPECT_EQ(complaint_of("\"format\":\"GL_RED\"", "\"format\":\"GL_PURPLE\""),
              firstLayout + ".format: \"GL_PURPLE\" and \"type\" are no layout of the survey");
    EXPECT_EQ(complaint_of("\"format\":\"GL_RED\"", "\"format\":\"GL_RG\""),
              firstLayout + ": this is no layout of GL_R8");
    EXPECT_EQ(complaint_of("\"format\":\"GL_RED\",", ""), firstLayout + ": \"format\" is missing");
    EXPECT_EQ(complaint_of("\"format\":\"GL_BGRA\",\"type\":\"GL_UNSIGNED_BYTE\"",
                           "\"format\":\"GL_RGBA\",\"type\":\"GL_UNSIGNED_BYTE\""),
              ".profiles[0].formats[3].layouts[1]: this layout is given twice");
    EXPECT_EQ(complaint_of("\"get\":\"unmeasured\",", ""), firstLayout + ": \"get\" is missing");
    EXPECT_EQ(complaint_of("\"upload\":\"wrong\"", "\"upload\":\"wrong\",\"blend\":\"yes\""),
              ".profiles[0].formats[3].layouts[1].blend: GL_RGBA8 has no use \"blend\"");
    EXPECT_EQ(
        complaint_of("GL_RGBA8\",\"create\":\"yes\"", "GL_R8UI\",\"create\":\"yes\"").substr(0, 34),
        ".profiles[0].formats[3].filter: GL");
    EXPECT_EQ(complaint_of("\"use\":\"filter\"", "\"use\":\"mipmap\""),
              ".profiles[0].details[0].use: \"mipmap\" is no use of GL_RGBA8 that has a verdict");
    EXPECT_EQ(complaint_of("\"use\":\"filter\"", "\"use\":\"render\""),
              ".profiles[0].details[1].text: \"text\" is given twice for this use");
    EXPECT_EQ(complaint_of("\"context\": \"not_offered\"", "\"context\": \"no\""),
              ".profiles[1].context: \"context\" must be not_offered, crashed or hung, and "
              "\"gl_version\" null");
    EXPECT_EQ(complaint_of("\"text\":\"why\"", "\"text\":null"),
              ".profiles[0].details[3].text: \"text\" must be a text");
}

// The surveys of two sets, and of many.

TEST(ComparedSurveys, differ_in_what_both_have_asked) {
    ctl::RecordSet other = surveyed_set();
    auto& uses = other.survey[0].formats[3].uses;
    ASSERT_STREQ(survey::formats()[3].name, "GL_RGBA8");
    uses[survey::Use::kFilter] = {survey::Verdict::kYes, ""};
    uses.erase(survey::Use::kRender);
    uses[survey::Use::kBlend] = {survey::Verdict::kWrong, "why"};
    other.survey[1].lack = "hung";
    const ctl::Comparison comparison = ctl::compare({surveyed_set()}, {other});
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
    EXPECT_TRUE(ctl::compare({surveyed_set()}, {other}).is_equal());
}

TEST(SurveyedTransfers, decide_whose_a_no_is) {
    const ctl::Cell cell = {11, kUploadSet};
    ctl::Flags flags;
    flags.recorded[cell.format][cell.capability] = false;
    const auto isOfTest = [&](ctl::Seen::Whose found, survey::Verdict judged, unsigned type) {
        flags.causes[cell.format][cell.capability] = ctl::Seen{found};
        ctl::SurveyedProfile profile;
        const auto format =
            static_cast<std::size_t>(survey::find_format("GL_RGBA16") - survey::formats().data());
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

/// What merge says of a set that was measured and one with a survey alone.
TEST(MergedSurveys, are_counted_and_make_no_machine_incomplete) {
    const CtlFolder folder(CTL, SCRIPTED_TOOL);
    ctl::RecordSet measured = surveyed_set();
    measured.version = 0.21;
    measured.renderer = "a renderer";
    measured.isComplete = true;
    measured.verdicts = {};
    ctl::RecordSet alone = surveyed_set();
    for (auto& format : alone.verdicts) format.fill(ctl::Verdict::kUnmeasured);
    const auto write = [&](const char* name, const ctl::RecordSet& set) {
        std::ostringstream document;
        ctl::write_records_json({set}, document);
        write_file(folder.file(name), document.str());
        return folder.file(name).string();
    };
    const std::string a = write("a.json", measured);
    const std::string b = write("b.json", alone);
    const std::string text = folder.ctl({"merge", a, b}).out;
    EXPECT_EQ(text.find("not complete"), std::string::npos) << text;
    EXPECT_THAT(text, HasSubstr("1 record set of 2 drivers, 1 complete."));
    EXPECT_THAT(text, HasSubstr("\nSurveyed: 2 sets. Broken promises:\n"
                                "  GL_RGBA8 filter wrong in core profile on 2: "));
    EXPECT_THAT(text, HasSubstr("  GL_RGBA8 render crashed in core profile on 2: "));
    const std::string merged = folder.ctl({"merge", "--json", a, b}).out;
    write_file(folder.file("merged.json"), merged);
    EXPECT_EQ(folder.ctl({"merge", "--json", folder.file("merged.json")}).out, merged);
    const int status = run_in_shell(std::string(VALIDATOR) + " " + SCHEMA + " '" +
                                    folder.file("merged.json").string() + "'");
    EXPECT_TRUE(status == 0 || status == 77);
    EXPECT_THAT(folder.ctl({"merge", b}).out, HasSubstr("0 record sets of 1 driver, 0 complete."));
}

}  // namespace
}  // namespace texprobe::tests
