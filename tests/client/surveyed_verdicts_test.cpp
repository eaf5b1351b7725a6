// What TexProbeVerdicts answers from the survey: in contexts of the core profile and of OpenGL ES,
// and about uses in every context.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <string>
#include <thread>

#include "scripted_survey.h"
#include "support/formats.h"

namespace texprobe::tests {
namespace {

using survey::Profile;
using survey::Use;
using survey::Verdict;
using testing::HasSubstr;

constexpr unsigned kRGBA32UI = 0x8D70;
constexpr unsigned kRGB8 = 0x8051;
constexpr unsigned kLuminance16 = 0x8042;
constexpr unsigned kBGRA = 0x80E1;
constexpr unsigned kRGBA = 0x1908;
constexpr unsigned kPackedReversed = 0x8367;
constexpr unsigned kUnsignedByte = 0x1401;
constexpr int kCompatibilityBit = 2;

class SurveyedVerdicts : public ScriptedSurvey {
protected:
    SurveyedVerdicts() { tool_ = "/no/such/texprobe"; }

    texprobe_answer use(unsigned format, texprobe_use use, unsigned layoutFormat = 0,
                        unsigned layoutType = 0) const {
        return verdicts_->use(format, use, layoutFormat, layoutType);
    }
    texprobe_detail use_detail(unsigned format, texprobe_use use) const {
        return verdicts_->use_detail(format, use);
    }
};

TEST_F(SurveyedVerdicts, are_the_survey_s_in_a_core_context) {
    record(core_survey([](const survey::Format& format, const survey::Question& question) {
        const std::string name = format.name;
        if (name.find("LUMINANCE") != std::string::npos) return Verdict::kNotOffered;
        const bool isPacked = question.layout == survey::Layout{kBGRA, kPackedReversed};
        if (name == "GL_RGBA8" && isPacked && question.use == Use::kUploadBuffer) {
            return Verdict::kWrong;
        }
        if (name == "GL_RGBA8" && isPacked && question.use == Use::kGetBuffer) {
            return Verdict::kCrashed;
        }
        if (name == "GL_RGB8" && question.use == Use::kRender) return Verdict::kNotOffered;
        return Verdict::kYes;
    }));
    ASSERT_EQ(open_and_wait(), TEXPROBE_READY) << reason_;
    EXPECT_EQ(reason_, "");
    EXPECT_EQ(answer(kRGBA8, TEXPROBE_SUPPORTED), TEXPROBE_YES);
    EXPECT_EQ(answer(kRGBA8, TEXPROBE_RENDERABLE), TEXPROBE_YES);
    EXPECT_EQ(answer(kRGBA8, TEXPROBE_UPLOAD_SET), TEXPROBE_NO);
    EXPECT_EQ(answer(kRGBA8, TEXPROBE_UPLOAD_RESET), TEXPROBE_YES);
    EXPECT_EQ(answer(kRGBA8, TEXPROBE_DOWNLOAD_GET), TEXPROBE_NO);
    EXPECT_EQ(answer(kRGBA8, TEXPROBE_DOWNLOAD_READ), TEXPROBE_YES);
    EXPECT_EQ(answer(kRGB8, TEXPROBE_RENDERABLE), TEXPROBE_NO);
    EXPECT_EQ(verdicts_->detail(kRGBA8, TEXPROBE_UPLOAD_SET), TEXPROBE_WRONG);
    EXPECT_EQ(verdicts_->detail(kRGBA8, TEXPROBE_DOWNLOAD_GET), TEXPROBE_CRASHED);
    EXPECT_EQ(verdicts_->detail(kRGB8, TEXPROBE_RENDERABLE), TEXPROBE_NOT_OFFERED);
    EXPECT_EQ(verdicts_->detail(kRGBA8, TEXPROBE_SUPPORTED), TEXPROBE_NO_DETAIL);
    for (const Format& format : kFormats) {
        for (int i = 0; i < 6; ++i) {
            const auto capability = static_cast<texprobe_capability>(i);
            const bool isLuminance =
                std::string(format.name).find("LUMINANCE") != std::string::npos;
            EXPECT_NE(answer(format.internalFormat, capability), TEXPROBE_UNKNOWN) << format.name;
            EXPECT_TRUE(!isLuminance || answer(format.internalFormat, capability) == TEXPROBE_NO)
                << format.name;
        }
    }
    EXPECT_EQ(verdicts_->detail(kLuminance16, TEXPROBE_DOWNLOAD_READ), TEXPROBE_NOT_OFFERED);
}

TEST_F(SurveyedVerdicts, are_no_where_opengl_es_has_no_such_call_or_layout) {
    machine().version = "OpenGL ES 3.0 Driver 1.2";
    machine().profile = 0;
    record(complete_survey(kFirstSurvey, Profile::kEs, "OpenGL ES 3.2 Driver 1.2"));
    ASSERT_EQ(open_and_wait(), TEXPROBE_READY) << reason_;
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
        const char* vendor;
        const char* version;
        const char* renderer;
        int profile;
        texprobe_state state;
    } rows[] = {
        {"Vendor", "3.3 (Core Profile) Driver 1.2", "Renderer", 1, TEXPROBE_READY},
        {"Vendor", "4.1.0 Driver 1.2", "Renderer", 1, TEXPROBE_READY},
        {"Vendor", "3.3 (Core Profile) Driver 1.3", "Renderer", 1, TEXPROBE_FAILED},
        {"Vendor", "3.3 Driver", "Renderer", 1, TEXPROBE_FAILED},
        {"Another", "3.3 (Core Profile) Driver 1.2", "Renderer", 1, TEXPROBE_FAILED},
        {"Vendor", "3.3 (Core Profile) Driver 1.2", "Another", 1, TEXPROBE_FAILED},
        {"Vendor", "OpenGL ES 3.2 Driver 1.2", "Renderer", 0, TEXPROBE_FAILED},
        {"Vendor", "4.6 (Compatibility Profile) Driver 1.2", "Renderer", 2, TEXPROBE_FAILED},
    };
    for (const auto& row : rows) {
        machine().vendor = row.vendor;
        machine().version = row.version;
        machine().renderer = row.renderer;
        machine().profile = row.profile;
        texprobe_options looking = options();
        looking.measure = TEXPROBE_MEASURE_NOTHING;
        EXPECT_EQ(open_and_wait(looking), row.state) << row.version << reason_;
    }
    machine() = {};
    machine().displays = {{1, {{0xff}, {0x1021a00}}}};
    machine().version = "3.3 (Core Profile) Driver 1.3";
    machine().profile = 1;
    texprobe_options looking = options();
    looking.measure = TEXPROBE_MEASURE_NOTHING;
    EXPECT_EQ(open_and_wait(looking), TEXPROBE_FAILED);
    EXPECT_EQ(reason_,
              "no core context of this machine's renderers is the context's, \"Renderer\" of "
              "\"Vendor\", driver \"Driver 1.3\"; surveyed: \"Renderer\" of \"Vendor\", driver "
              "\"Driver 1.2\", nothing");
}

TEST_F(SurveyedVerdicts, are_no_for_calls_that_an_older_context_does_not_have) {
    record(core_survey());
    machine().version = "3.3 (Core Profile) Driver 1.2";
    ASSERT_EQ(open_and_wait(), TEXPROBE_READY) << reason_;
    EXPECT_EQ(use(kRGBA32UI, TEXPROBE_CREATE_STORAGE), TEXPROBE_NO);
    EXPECT_EQ(use_detail(kRGBA32UI, TEXPROBE_CREATE_STORAGE), TEXPROBE_NOT_OFFERED);
    EXPECT_EQ(use(kRGBA8, TEXPROBE_UPLOAD_PART_STORAGE, kRGBA, kUnsignedByte), TEXPROBE_NO);
    EXPECT_EQ(use(kRGBA32UI, TEXPROBE_CREATE), TEXPROBE_YES);
    EXPECT_EQ(use(kRGBA32UI, TEXPROBE_RENDER), TEXPROBE_YES);
    EXPECT_EQ(answer(kRGBA8, TEXPROBE_UPLOAD_SET), TEXPROBE_YES);
    machine().extensions = {"GL_ARB_texture_view", "GL_ARB_texture_storage"};
    ASSERT_EQ(open_and_wait(), TEXPROBE_READY);
    EXPECT_EQ(use(kRGBA32UI, TEXPROBE_CREATE_STORAGE), TEXPROBE_YES);

    record(complete_survey(kFirstSurvey, Profile::kEs, "OpenGL ES 3.2 Driver 1.2"));
    machine().version = "OpenGL ES 2.0 Driver 1.2";
    machine().profile = 0;
    ASSERT_EQ(open_and_wait(), TEXPROBE_READY) << reason_;
    EXPECT_EQ(answer(kRGBA8, TEXPROBE_SUPPORTED), TEXPROBE_NO) << "it has no sized formats";
    EXPECT_EQ(use(kRGBA8, TEXPROBE_READ, kRGBA, kUnsignedByte), TEXPROBE_NO);
}

TEST_F(SurveyedVerdicts, explain_the_tool_s_noes_in_a_compatibility_context) {
    machine().version = "2.1 Version";
    machine().profile = kCompatibilityBit;
    machine().extensions = {"GL_EXT_framebuffer_object"};
    record(complete_set(kFirst, "Renderer",
                        verdict(kFirst, "GL_RGBA8_UPLOAD_SET", false) +
                            verdict(kFirst, "GL_RGBA8_UPLOAD_RESET", false) +
                            verdict(kFirst, "GL_RGB8_RENDERABLE", false)));
    ASSERT_EQ(open_and_wait(), TEXPROBE_READY) << reason_;
    EXPECT_EQ(verdicts_->detail(kRGBA8, TEXPROBE_UPLOAD_SET), TEXPROBE_NO_DETAIL);
    EXPECT_EQ(use(kRGBA8, TEXPROBE_CREATE), TEXPROBE_UNKNOWN);

    record(complete_survey(kFirstSurvey, Profile::kCompatibility,
                           "4.6 (Compatibility Profile) Version", "Renderer",
                           [](const survey::Format& format, const survey::Question& question) {
                               const std::string name = format.name;
                               if (name == "GL_RGBA8" && question.use == Use::kUploadBuffer)
                                   return Verdict::kHung;
                               if (name == "GL_RGBA8" && question.use == Use::kRender)
                                   return Verdict::kRefused;
                               return Verdict::kYes;
                           }));
    ASSERT_EQ(open_and_wait(), TEXPROBE_READY) << reason_;
    EXPECT_EQ(reason_, "");
    EXPECT_EQ(answer(kRGBA8, TEXPROBE_RENDERABLE), TEXPROBE_YES) << "the tool says so";
    EXPECT_EQ(use(kRGBA8, TEXPROBE_RENDER), TEXPROBE_NO);
    EXPECT_EQ(use_detail(kRGBA8, TEXPROBE_RENDER), TEXPROBE_REFUSED);
    EXPECT_EQ(verdicts_->detail(kRGBA8, TEXPROBE_RENDERABLE), TEXPROBE_NO_DETAIL);
    EXPECT_EQ(verdicts_->detail(kRGBA8, TEXPROBE_UPLOAD_SET), TEXPROBE_HUNG);
    EXPECT_EQ(verdicts_->detail(kRGBA8, TEXPROBE_UPLOAD_RESET), TEXPROBE_TOOL_RULE);
    EXPECT_EQ(verdicts_->detail(kRGB8, TEXPROBE_RENDERABLE), TEXPROBE_TOOL_RULE);
}

TEST_F(SurveyedVerdicts, are_unknown_only_where_the_survey_cannot_tell_or_does_not_ask) {
    record(core_survey([](const survey::Format& format, const survey::Question& question) {
        if (std::string(format.name) != "GL_RGBA32UI") return Verdict::kYes;
        return question.use == Use::kRender ? Verdict::kUnknown : Verdict::kYes;
    }));
    ASSERT_EQ(open_and_wait(), TEXPROBE_READY) << reason_;
    EXPECT_EQ(use(kRGBA32UI, TEXPROBE_RENDER), TEXPROBE_UNKNOWN);
    EXPECT_EQ(use_detail(kRGBA32UI, TEXPROBE_RENDER), TEXPROBE_NO_DETAIL);
    EXPECT_EQ(use(kRGBA32UI, TEXPROBE_FILTER), TEXPROBE_NO) << "integers have no filter";
    constexpr unsigned kFloat = 0x1406;
    EXPECT_EQ(use(kRGBA8, TEXPROBE_UPLOAD, kRGBA, kFloat), TEXPROBE_UNKNOWN);
    EXPECT_EQ(use(kRGBA8, TEXPROBE_UPLOAD), TEXPROBE_UNKNOWN) << "without its layout";
    EXPECT_EQ(use(kRGBA, TEXPROBE_CREATE), TEXPROBE_UNKNOWN) << "no sized format";
    const volatile int past = 16;
    EXPECT_EQ(use(kRGBA8, static_cast<texprobe_use>(past)), TEXPROBE_UNKNOWN);
}

TEST_F(SurveyedVerdicts, are_unknown_where_two_renderers_differ) {
    const auto isRender = [](const survey::Format&, const survey::Question& question) {
        return question.use == Use::kRender ? Verdict::kWrong : Verdict::kYes;
    };
    record(core_survey() + complete_survey(kSecondSurvey, Profile::kCore,
                                           "4.6 (Core Profile) Driver 1.2", "Renderer", isRender));
    ASSERT_EQ(open_and_wait(), TEXPROBE_READY);
    EXPECT_EQ(answer(kRGBA8, TEXPROBE_RENDERABLE), TEXPROBE_UNKNOWN);
    EXPECT_EQ(answer(kRGBA8, TEXPROBE_SUPPORTED), TEXPROBE_YES);
    EXPECT_THAT(reason_, HasSubstr("unknown where two renderers of this machine differ, both "
                                   "\"Renderer\": "));
}

TEST_F(SurveyedVerdicts, are_there_only_when_every_question_has_a_verdict) {
    const std::string whole = [] {
        std::string text;
        const survey::Format& format = *survey::find_format("GL_R8");
        for (const survey::Question& question : questions_of(format, Profile::kCore)) {
            text += name_of(question) + " yes%n";
        }
        return text;
    }();
    const std::string first = "create yes%n";
    const std::string rest = whole.substr(first.size());
    const struct {
        std::string text;
        texprobe_state state;
    } rows[] = {{whole, TEXPROBE_READY},
                {"create wrong: it had started: and yes%n" + rest, TEXPROBE_READY},
                {first + rest + "stretch yes%n", TEXPROBE_READY},
                {rest, TEXPROBE_FAILED},
                {"measuring%n" + whole, TEXPROBE_FAILED},
                {"create started%n" + rest, TEXPROBE_FAILED},
                {"create started: again%n" + rest, TEXPROBE_FAILED},
                {"", TEXPROBE_FAILED}};
    record(core_survey());
    texprobe_options looking = options();
    looking.measure = TEXPROBE_MEASURE_NOTHING;
    for (const auto& row : rows) {
        std::string lines = std::string("set ") + kFirstSurvey + " core.GL_R8 text ";
        lines += row.text;
        record(lines + "\nsync " + kFirstSurvey + "\n");
        EXPECT_EQ(open_and_wait(looking), row.state) << row.text << reason_;
    }
}

TEST_F(SurveyedVerdicts, name_the_first_layout_in_which_all_uploads_arrive) {
    record(core_survey([](const survey::Format& format, const survey::Question& question) {
        const bool isFirst = question.layout == survey::Layout{kRGBA, kUnsignedByte};
        const bool fails =
            std::string(format.name) == "GL_RGBA8" ? isFirst : !question.layout.is_none();
        return fails && question.use == Use::kUploadPart ? Verdict::kWrong : Verdict::kYes;
    }));
    ASSERT_EQ(open_and_wait(), TEXPROBE_READY);
    unsigned format = 0;
    unsigned type = 0;
    EXPECT_TRUE(verdicts_->upload_layout(kRGBA8, &format, &type));
    EXPECT_EQ(format, kBGRA);
    EXPECT_EQ(type, kUnsignedByte);
    format = type = 7;
    EXPECT_FALSE(verdicts_->upload_layout(kRGB8, &format, &type));
    EXPECT_FALSE(verdicts_->upload_layout(kRGBA, &format, &type));
    EXPECT_EQ(format, 7u);
    EXPECT_EQ(texprobe_verdicts_upload_layout(nullptr, kRGBA8, &format, &type), 0);
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
    const auto isWrong = [](const survey::Format& format, const survey::Question& question) {
        const bool isFirst = std::string(format.name) == "GL_R8";
        return isFirst && question.use == Use::kBlend ? Verdict::kWrong : Verdict::kYes;
    };
    record(core_survey(isWrong));
    ASSERT_EQ(open_and_wait(), TEXPROBE_READY) << reason_;
    EXPECT_EQ(askInThreads(), 4);

    // Here the records are read at the first question.
    record(complete_set(kFirst, "Renderer") + complete_survey(kFirstSurvey, Profile::kCompatibility,
                                                              "4.6 (Compatibility Profile) Version",
                                                              "Renderer", isWrong));
    machine().version = "2.1 Version";
    machine().profile = kCompatibilityBit;
    machine().extensions = {"GL_EXT_framebuffer_object"};
    ASSERT_EQ(open_and_wait(), TEXPROBE_READY) << reason_;
    EXPECT_EQ(askInThreads(), 4);
}

}  // namespace
}  // namespace texprobe::tests
