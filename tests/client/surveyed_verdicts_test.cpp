// What TexProbeVerdicts answers from the survey: in contexts of the core profile and of OpenGL ES,
// and about uses in every context.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <string>
#include <thread>

#include "scripted_verdicts.h"

namespace texprobe::tests {
namespace {

using survey::Profile;
using survey::Use;
using survey::Verdict;
using testing::HasSubstr;
using testing::Not;

constexpr unsigned kRGBA32UI = 0x8D70;
constexpr unsigned kRGB8 = 0x8051;
constexpr unsigned kBGRA = 0x80E1;
constexpr unsigned kRGBA = 0x1908;
constexpr unsigned kUnsignedByte = 0x1401;
constexpr int kCompatibilityBit = 2;

class SurveyedVerdicts : public ScriptedSurvey {
protected:
    SurveyedVerdicts() { tool_ = "/no/such/texprobe"; }

    static void be_in_old_context_with_framebuffers() {
        be_in("2.1 Version", kCompatibilityBit);
        machine().extensions = {"GL_EXT_framebuffer_object"};
    }
    texprobe_answer use(unsigned format, texprobe_use use, unsigned layoutFormat = 0,
                        unsigned layoutType = 0) const {
        return verdicts_->use(format, use, layoutFormat, layoutType);
    }
};

TEST_F(SurveyedVerdicts, are_the_survey_s_in_a_core_context) {
    constexpr unsigned kPackedReversed = 0x8367;
    const survey::Layout packed = {kBGRA, kPackedReversed};
    record(core_survey({{"GL_RGBA8", Use::kUploadBuffer, Verdict::kWrong, packed},
                        {"GL_RGBA8", Use::kGetBuffer, Verdict::kCrashed, packed},
                        {"GL_RGB8", Use::kRender, Verdict::kNotOffered}}));
    ASSERT_EQ(measure(), TEXPROBE_READY) << reason_;
    EXPECT_EQ(reason_, "");
    EXPECT_EQ(answers(kRGBA8), "yynyny");
    EXPECT_EQ(answers(kRGB8), "ynyyyy");
    EXPECT_EQ(verdicts_->detail(kRGBA8, TEXPROBE_UPLOAD_SET), TEXPROBE_WRONG);
    EXPECT_EQ(verdicts_->detail(kRGBA8, TEXPROBE_DOWNLOAD_GET), TEXPROBE_CRASHED);
    EXPECT_EQ(verdicts_->detail(kRGB8, TEXPROBE_RENDERABLE), TEXPROBE_NOT_OFFERED);
    EXPECT_EQ(verdicts_->detail(kRGBA8, TEXPROBE_SUPPORTED), TEXPROBE_NO_DETAIL);
    EXPECT_THAT(answers_of(*verdicts_), Not(HasSubstr("?"))) << "of the tool's formats";
}

TEST_F(SurveyedVerdicts, are_no_where_opengl_es_has_no_such_call_or_layout) {
    be_in("OpenGL ES 3.0 Driver 1.2");
    record(survey_of(Profile::kEs, "OpenGL ES 3.2 Driver 1.2"));
    ASSERT_EQ(measure(), TEXPROBE_READY) << reason_;
    for (const Format& format : kFormats) {
        EXPECT_EQ(answer(format.internalFormat, TEXPROBE_DOWNLOAD_GET), TEXPROBE_NO) << format.name;
    }
    EXPECT_EQ(verdicts_->detail(kRGBA8, TEXPROBE_DOWNLOAD_GET), TEXPROBE_NOT_OFFERED);
    EXPECT_EQ(answer(kRGB8, TEXPROBE_UPLOAD_SET), TEXPROBE_NO) << "there is no GL_BGR";
    EXPECT_EQ(answer(kRGBA8, TEXPROBE_SUPPORTED), TEXPROBE_YES);
    EXPECT_EQ(use(kRGBA8, TEXPROBE_UPLOAD_BUFFER, kRGBA, kUnsignedByte), TEXPROBE_YES);
    EXPECT_EQ(use(kRGBA8, TEXPROBE_GET, kRGBA, kUnsignedByte), TEXPROBE_NO);
}

TEST_F(SurveyedVerdicts, are_of_the_context_s_vendor_renderer_driver_and_kind) {
    record(core_survey());
    const struct {
        const char* version;
        int profile;
        texprobe_state state;
        const char* vendor = "Vendor";
        const char* renderer = "Renderer";
    } rows[] = {
        {"3.3 (Core Profile) Driver 1.2", 1, TEXPROBE_READY},
        {"4.1.0 Driver 1.2", 1, TEXPROBE_READY},
        {"3.3 Driver", 1, TEXPROBE_FAILED},
        {"3.3 (Core Profile) Driver 1.2", 1, TEXPROBE_FAILED, "Another"},
        {"3.3 (Core Profile) Driver 1.2", 1, TEXPROBE_FAILED, "Vendor", "Another"},
        {"OpenGL ES 3.2 Driver 1.2", 0, TEXPROBE_FAILED},
        {"4.6 (Compatibility Profile) Driver 1.2", 2, TEXPROBE_FAILED},
        {"3.3 (Core Profile) Driver 1.3", 1, TEXPROBE_FAILED},
    };
    for (const auto& row : rows) {
        be_in(row.version, row.profile, row.vendor, row.renderer);
        EXPECT_EQ(measure_as_wished(TEXPROBE_MEASURE_NOTHING), row.state) << row.version << reason_;
    }
    EXPECT_EQ(reason_,
              "no core context of this machine's renderers is the context's, \"Renderer\" of "
              "\"Vendor\", driver \"Driver 1.3\"; surveyed: \"Renderer\" of \"Vendor\", driver "
              "\"Driver 1.2\", nothing");
}

TEST_F(SurveyedVerdicts, are_no_for_calls_that_an_older_context_does_not_have) {
    record(core_survey());
    be_in("3.3 (Core Profile) Driver 1.2", 1);
    ASSERT_EQ(measure(), TEXPROBE_READY) << reason_;
    EXPECT_EQ(use(kRGBA32UI, TEXPROBE_CREATE_STORAGE), TEXPROBE_NO);
    EXPECT_EQ(verdicts_->use_detail(kRGBA32UI, TEXPROBE_CREATE_STORAGE), TEXPROBE_NOT_OFFERED);
    EXPECT_EQ(use(kRGBA8, TEXPROBE_UPLOAD_PART_STORAGE, kRGBA, kUnsignedByte), TEXPROBE_NO);
    EXPECT_EQ(use(kRGBA32UI, TEXPROBE_CREATE), TEXPROBE_YES);
    EXPECT_EQ(use(kRGBA32UI, TEXPROBE_RENDER), TEXPROBE_YES);
    EXPECT_EQ(answer(kRGBA8, TEXPROBE_UPLOAD_SET), TEXPROBE_YES);
    machine().extensions = {"GL_ARB_texture_view", "GL_ARB_texture_storage"};
    ASSERT_EQ(measure(), TEXPROBE_READY);
    EXPECT_EQ(use(kRGBA32UI, TEXPROBE_CREATE_STORAGE), TEXPROBE_YES);

    record(survey_of(Profile::kEs, "OpenGL ES 3.2 Driver 1.2"));
    be_in("OpenGL ES 2.0 Driver 1.2");
    ASSERT_EQ(measure(), TEXPROBE_READY) << reason_;
    EXPECT_EQ(answer(kRGBA8, TEXPROBE_SUPPORTED), TEXPROBE_NO) << "it has no sized formats";
    EXPECT_EQ(use(kRGBA8, TEXPROBE_READ, kRGBA, kUnsignedByte), TEXPROBE_NO);
}

TEST_F(SurveyedVerdicts, explain_the_tool_s_noes_in_a_compatibility_context) {
    be_in_old_context_with_framebuffers();
    record(complete_set(no("GL_RGBA8_UPLOAD_SET") + no("GL_RGBA8_UPLOAD_RESET") +
                        no("GL_RGB8_RENDERABLE")));
    ASSERT_EQ(measure(), TEXPROBE_READY) << reason_;
    EXPECT_EQ(verdicts_->detail(kRGBA8, TEXPROBE_UPLOAD_SET), TEXPROBE_NO_DETAIL);
    EXPECT_EQ(use(kRGBA8, TEXPROBE_CREATE), TEXPROBE_UNKNOWN);

    record(compatibility_survey({{"GL_RGBA8", Use::kUploadBuffer, Verdict::kHung},
                                 {"GL_RGBA8", Use::kRender, Verdict::kRefused}}));
    ASSERT_EQ(measure(), TEXPROBE_READY) << reason_;
    EXPECT_EQ(reason_, "");
    EXPECT_EQ(answer(kRGBA8, TEXPROBE_RENDERABLE), TEXPROBE_YES) << "the tool says so";
    EXPECT_EQ(use(kRGBA8, TEXPROBE_RENDER), TEXPROBE_NO);
    EXPECT_EQ(verdicts_->use_detail(kRGBA8, TEXPROBE_RENDER), TEXPROBE_REFUSED);
    EXPECT_EQ(verdicts_->detail(kRGBA8, TEXPROBE_RENDERABLE), TEXPROBE_NO_DETAIL);
    EXPECT_EQ(verdicts_->detail(kRGBA8, TEXPROBE_UPLOAD_SET), TEXPROBE_HUNG);
    EXPECT_EQ(verdicts_->detail(kRGBA8, TEXPROBE_UPLOAD_RESET), TEXPROBE_TOOL_RULE);
    EXPECT_EQ(verdicts_->detail(kRGB8, TEXPROBE_RENDERABLE), TEXPROBE_TOOL_RULE);
}

TEST_F(SurveyedVerdicts, are_unknown_only_where_the_survey_cannot_tell_or_does_not_ask) {
    record(core_survey({{"GL_RGBA32UI", Use::kRender, Verdict::kUnknown}}));
    ASSERT_EQ(measure(), TEXPROBE_READY) << reason_;
    EXPECT_EQ(use(kRGBA32UI, TEXPROBE_RENDER), TEXPROBE_UNKNOWN);
    EXPECT_EQ(verdicts_->use_detail(kRGBA32UI, TEXPROBE_RENDER), TEXPROBE_NO_DETAIL);
    EXPECT_EQ(use(kRGBA32UI, TEXPROBE_FILTER), TEXPROBE_NO) << "integers have no filter";
    constexpr unsigned kFloat = 0x1406;
    EXPECT_EQ(use(kRGBA8, TEXPROBE_UPLOAD, kRGBA, kFloat), TEXPROBE_UNKNOWN);
    EXPECT_EQ(use(kRGBA8, TEXPROBE_UPLOAD), TEXPROBE_UNKNOWN) << "without its layout";
    EXPECT_EQ(use(kRGBA, TEXPROBE_CREATE), TEXPROBE_UNKNOWN) << "no sized format";
    const volatile int past = 16;
    EXPECT_EQ(use(kRGBA8, static_cast<texprobe_use>(past)), TEXPROBE_UNKNOWN);
}

TEST_F(SurveyedVerdicts, are_unknown_where_two_renderers_differ) {
    record(core_survey() + core_survey({{nullptr, Use::kRender, Verdict::kWrong}}, kSecondSurvey));
    ASSERT_EQ(measure(), TEXPROBE_READY);
    EXPECT_EQ(answers(), "y?yyyy");
    EXPECT_THAT(reason_, HasSubstr("unknown where two renderers of this machine differ, both "
                                   "\"Renderer\": "));
}

TEST_F(SurveyedVerdicts, are_there_only_when_every_question_has_a_verdict) {
    const std::string first = "create yes%n";
    std::string whole;
    for (const auto& question : questions_of(*survey::find_format("GL_R8"), Profile::kCore)) {
        whole += name_of(question) + " yes%n";
    }
    const std::string rest = whole.substr(first.size());
    const struct {
        std::string text;
        texprobe_state state;
    } rows[] = {{whole, TEXPROBE_READY},
                {"create wrong: it had started: and yes%n" + rest, TEXPROBE_READY},
                {whole + "stretch yes%n", TEXPROBE_READY},
                {rest, TEXPROBE_FAILED},
                {"measuring%n" + whole, TEXPROBE_FAILED},
                {"create started%n" + rest, TEXPROBE_FAILED},
                {"create started: again%n" + rest, TEXPROBE_FAILED},
                {"", TEXPROBE_FAILED}};
    record(core_survey());
    for (const auto& row : rows) {
        record(format_record(row.text));
        EXPECT_EQ(measure_as_wished(TEXPROBE_MEASURE_NOTHING), row.state) << row.text << reason_;
    }
}

TEST_F(SurveyedVerdicts, name_the_first_layout_in_which_all_uploads_arrive) {
    const survey::Layout first = {kRGBA, kUnsignedByte};
    record(core_survey({{"GL_RGBA8", Use::kUploadPart, Verdict::kWrong, first},
                        {"GL_RGB8", Use::kUploadPart, Verdict::kWrong}}));
    ASSERT_EQ(measure(), TEXPROBE_READY);
    unsigned format = 0;
    unsigned type = 0;
    EXPECT_TRUE(verdicts_->upload_layout(kRGBA8, &format, &type));
    EXPECT_EQ(format, kBGRA);
    EXPECT_EQ(type, kUnsignedByte);
    format = type = 7;
    EXPECT_FALSE(verdicts_->upload_layout(kRGB8, &format, &type));
    EXPECT_FALSE(verdicts_->upload_layout(kRGBA, &format, &type));
    EXPECT_EQ(format, 7u);
}

TEST_F(SurveyedVerdicts, are_the_same_for_threads_that_ask_at_once) {
    const auto askInThreads = [&] {
        std::atomic<int> noes{0};
        const auto ask = [&] {
            for (const survey::Format& format : survey::formats()) {
                const bool isRendered =
                    use(format.value, TEXPROBE_RENDER) == TEXPROBE_YES || format.is_compressed();
                noes += isRendered ? 0 : 1;
                noes += verdicts_->use_detail(format.value, TEXPROBE_BLEND) == TEXPROBE_WRONG;
                unsigned layout = 0;
                verdicts_->upload_layout(format.value, &layout, &layout);
            }
        };
        std::array<std::thread, 4> threads;
        for (std::thread& thread : threads) thread = std::thread(ask);
        for (std::thread& thread : threads) thread.join();
        return noes.load();
    };
    const std::vector<ExceptUse> wrong = {{"GL_R8", Use::kBlend, Verdict::kWrong}};
    record(core_survey(wrong));
    ASSERT_EQ(measure(), TEXPROBE_READY) << reason_;
    EXPECT_EQ(askInThreads(), 4);

    // Here the records are read at the first question.
    record(complete_set() + compatibility_survey(wrong));
    be_in_old_context_with_framebuffers();
    ASSERT_EQ(measure(), TEXPROBE_READY) << reason_;
    EXPECT_EQ(askInThreads(), 4);
}

}  // namespace
}  // namespace texprobe::tests
