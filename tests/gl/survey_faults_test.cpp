// The survey on a driver with one fault, which is another table of functions over Mesa's softpipe:
// the fault must be found in exactly the uses that it concerns.

#include <gmock/gmock.h>

#include <cstring>
#include <utility>

#include "survey_faults.h"

namespace texprobe::survey {
namespace {

const std::vector<const char*> kSample = {
    "GL_RGBA8",   "GL_R16",          "GL_RGBA8_SNORM",      "GL_R16F",
    "GL_RGBA32F", "GL_SRGB8_ALPHA8", "GL_RGB10_A2",         "GL_RGB565",
    "GL_RGBA8UI", "GL_R32I",         "GL_DEPTH_COMPONENT16"};

/// On softpipe with a fault; of what has no layout.
class SurveyFault : public SurveyWithFault {
protected:
    static FaultyVerdicts verdicts_with(const Fault& fault,
                                        Profile profile = Profile::kCompatibility) {
        return find_faulty(kSample, profile, fault,
                           [](const Question& question) { return question.layout.is_none(); });
    }

    /// The verdict on those of the uses that these formats have, and what softpipe itself cannot
    /// do: blending clamps signed values.
    static FaultyVerdicts each(const std::vector<const char*>& names, const std::vector<Use>& uses,
                               const char* verdict) {
        FaultyVerdicts expected;
        for (const std::string name : names) {
            for (const Use use : uses) {
                if (has_use(*find_format(name), use)) expected[name + ' ' + name_of(use)] = verdict;
            }
        }
        expected.insert({"GL_RGBA8_SNORM blend", "wrong"});
        return expected;
    }
};

TEST_F(SurveyFault, is_not_found_where_there_is_none) {
    EXPECT_EQ(verdicts_with([](Gl*) {}), each({}, {}, ""));
}

TEST_F(SurveyFault, blending_ignored_is_found_in_blend) {
    const FaultyVerdicts found = verdicts_with(
        [](Gl* gl) { gl->BlendFunc = [](Enum source, Enum) { real.BlendFunc(source, 0); }; });
    EXPECT_EQ(found, each(kSample, {Use::kBlend}, "wrong"));
}

TEST_F(SurveyFault, nearest_instead_of_linear_is_found_in_filter) {
    EXPECT_EQ(verdicts_with(sample_nearest), each(kSample, {Use::kFilter}, "wrong"));
}

// The base image that was sent last, if it has four bytes a texel.
SendingCall sentBase;
std::vector<std::uint32_t> sentTexels;

void keep_sent_texels(SendingCall* call) {
    if (!call->from) return;
    const bool isFourBytes = (call->format == gl::kRgba && call->type == gl::kUnsignedByte) ||
                             (call->format == 0x1903 && call->type == gl::kFloat);
    sentBase = *call;
    sentTexels.resize(isFourBytes ? static_cast<std::size_t>(call->width * call->height) : 0);
    std::memcpy(sentTexels.data(), call->from, sentTexels.size() * 4);
}

void send_level(int level, int width, int height, const std::vector<std::uint32_t>& texels) {
    real.TexImage2D(gl::kTexture2D, level, static_cast<int>(sentBase.internalFormat), width, height,
                    0, sentBase.format, sentBase.type, texels.data());
}

/// After the driver's own mipmaps are made, these are, of the base that was kept.
Fault fault_of_mipmaps(void (*generate)()) {
    static void (*generateWrong)() = nullptr;
    generateWrong = generate;
    return [](Gl* gl) {
        change_definitions(gl, keep_sent_texels);
        gl->GenerateMipmap = [](Enum target) {
            real.GenerateMipmap(target);
            if (!sentTexels.empty()) generateWrong();
        };
    };
}

// Only these are sent as four bytes a texel.
const std::vector<const char*> kKept = {"GL_RGBA8", "GL_SRGB8_ALPHA8", "GL_R16F"};

TEST_F(SurveyFault, mipmaps_of_odd_sizes_from_the_wrong_texel_are_found_in_mipmap) {
    const FaultyVerdicts found = verdicts_with(fault_of_mipmaps([] {
        const int baseWidth = sentBase.width;
        if (baseWidth % 2 == 0) return;
        // The first of the texels that each covers.
        for (int level = 1; baseWidth >> level > 0 || sentBase.height >> level > 0; ++level) {
            const int width = std::max(1, baseWidth >> level);
            const int height = std::max(1, sentBase.height >> level);
            std::vector<std::uint32_t> texels;
            for (int i = 0; i < width * height; ++i) {
                const int first = (i / width << level) * baseWidth + (i % width << level);
                texels.push_back(sentTexels[static_cast<std::size_t>(first)]);
            }
            send_level(level, width, height, texels);
        }
    }));
    EXPECT_EQ(found, each(kKept, {Use::kMipmap}, "wrong"));
}

TEST_F(SurveyFault, mipmaps_after_the_first_that_are_not_made_are_found_in_mipmap) {
    const FaultyVerdicts found = verdicts_with(fault_of_mipmaps([] {
        const std::vector<std::uint32_t> black(sentTexels.size());
        for (int level = 2; sentBase.width >> level > 0; ++level) {
            send_level(level, sentBase.width >> level, std::max(1, sentBase.height >> level),
                       black);
        }
    }));
    EXPECT_EQ(found, each(kKept, {Use::kMipmap}, "wrong"));
}

TEST_F(SurveyFault, a_wrong_mipmap_says_which_rule_it_breaks) {
    const auto textWith = [](void (*generate)()) {
        const FaultyContext faulty(Profile::kCore, fault_of_mipmaps(generate));
        const Work work(faulty.context, faulty.judge, *find_format("GL_RGBA8"));
        FormatRecord record;
        record.uses[Use::kCreate] = {Verdict::kYes, ""};
        return answer(work, Use::kMipmap, record).judged.text;
    };
    EXPECT_THAT(textWith([] {
                    send_level(1, sentBase.width / 2, sentBase.height / 2,
                               std::vector<std::uint32_t>(std::size_t{64} * 64));
                }),
                testing::StartsWith("level 1 of a ramp along x, 128 x 128, is farther off than one "
                                    "base texel's slope: expected ("));
    // A step is less than a ramp's slope.
    EXPECT_THAT(textWith([] {
                    if (sentTexels.front() != sentTexels.back()) return;
                    send_level(3, sentBase.width >> 3, sentBase.height >> 3,
                               std::vector<std::uint32_t>(64, sentTexels.front() + 1));
                }),
                testing::StartsWith("level 3 of one color, 61 x 37, is not exactly that color: "
                                    "expected ("));
}

/// Textures without pixels of one format are of another, which has four components of bytes.
Fault empty_as_other(Enum from, Enum to) {
    return fault_of_definitions([=](SendingCall* call) {
        if (call->internalFormat != from || call->from || call->isStorage) return;
        call->internalFormat = to;
        call->format = gl::kRgba;
        call->type = gl::kUnsignedByte;
    });
}

TEST_F(SurveyFault, sixteen_bits_rendered_as_eight_are_found_in_render_and_blend) {
    constexpr Enum kR16 = 0x822A, kR8 = 0x8229;
    const FaultyVerdicts found = verdicts_with([](Gl* gl) {
        empty_as_other(kR16, kR8)(gl);
        gl->GetTexLevelParameteriv = [](Enum target, int level, Enum name, int* value) {
            real.GetTexLevelParameteriv(target, level, name, value);
            if (name == gl::kRedSize && *value == 8) *value = 16;
        };
    });
    EXPECT_EQ(found, each({"GL_R16"}, {Use::kRender, Use::kBlend}, "wrong"));
}

TEST_F(SurveyFault, integers_that_are_normalized_are_found_in_render) {
    EXPECT_EQ(verdicts_with(empty_as_other(0x8D7C, gl::kRgba8)),
              each({"GL_RGBA8UI"}, {Use::kRender}, "wrong"));
}

TEST_F(SurveyFault, srgb_that_is_not_encoded_is_found_in_render_and_blend) {
    EXPECT_EQ(verdicts_with([](Gl* gl) { gl->Disable(gl::kFramebufferSrgb); }),
              each({"GL_SRGB8_ALPHA8"}, {Use::kRender, Use::kBlend}, "wrong"));
}

TEST_F(SurveyFault, clamped_negative_values_are_found_in_render_and_blend) {
    EXPECT_EQ(
        verdicts_with([](Gl* gl) { gl->ClampColor(gl::kClampFragmentColor, 1); }),
        each({"GL_RGBA8_SNORM", "GL_R16F", "GL_RGBA32F"}, {Use::kRender, Use::kBlend}, "wrong"));
}

TEST_F(SurveyFault, incomplete_framebuffer_is_found_in_render_and_blend) {
    const FaultyVerdicts found = verdicts_with(
        [](Gl* gl) { gl->CheckFramebufferStatus = [](Enum) { return Enum{0x8CDD}; }; });
    EXPECT_EQ(found, each(kSample, {Use::kRender, Use::kBlend}, "refused"));
}

TEST_F(SurveyFault, smaller_format_is_found_in_create_and_leaves_nothing_else_to_try) {
    constexpr Enum kRgb10A2 = 0x8059, kRgba4 = 0x8056;
    FaultyVerdicts expected = each(
        {"GL_RGB10_A2"}, {Use::kFilter, Use::kMipmap, Use::kRender, Use::kBlend}, "not_applicable");
    expected["GL_RGB10_A2 create"] = "refused";
    EXPECT_EQ(verdicts_with(empty_as_other(kRgb10A2, kRgba4)), expected);
}

TEST_F(SurveyFault, memory_that_is_used_up_while_the_judge_looks_is_on_no_driver) {
    static bool isUsedUp = false;
    const FaultyVerdicts found = verdicts_with([](Gl* gl) {
        gl->ReadPixels = [](int, int, int, int, Enum, Enum, void*) { isUsedUp = true; };
        gl->GetError = [] {
            return std::exchange(isUsedUp, false) ? gl::kOutOfMemory : real.GetError();
        };
    });
    EXPECT_EQ(found,
              each(kSample, {Use::kFilter, Use::kMipmap, Use::kRender, Use::kBlend}, "unknown"));
}

TEST_F(SurveyFault, error_of_storage_is_found_in_create_storage) {
    const FaultyVerdicts found =
        verdicts_with(fault_of_definitions([](SendingCall* call) {
                          constexpr Enum kRgba32f = 0x8814;
                          if (call->isStorage && call->internalFormat == kRgba32f) call->target = 0;
                      }),
                      Profile::kEs);
    EXPECT_EQ(found.at("GL_RGBA32F create_storage"), "refused");
    EXPECT_EQ(found.count("GL_RGBA32F render") + found.count("GL_RGBA32F create"), 0u);
    EXPECT_EQ(found.count("GL_RGBA8 create_storage"), 0u);
}

TEST_F(SurveyFault, memory_that_is_used_up_says_nothing_of_the_format) {
    const FaultyVerdicts found = verdicts_with([](Gl* gl) {
        gl->GetError = [] {
            static int calls = 0;
            // The first error that is asked for, which is that of the first create.
            return ++calls == 1 ? gl::kOutOfMemory : real.GetError();
        };
    });
    EXPECT_EQ(found.at("GL_RGBA8 create"), "unknown");
    EXPECT_EQ(found.count("GL_R16 create"), 0u);
}

}  // namespace
}  // namespace texprobe::survey
