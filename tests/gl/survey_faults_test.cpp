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

// What softpipe itself cannot do: blending clamps signed values.
const FaultyVerdicts kSoftpipeItself = {{"GL_RGBA8_SNORM blend", "wrong"}};

class SurveyFault : public SurveyWithFault {
protected:
    /// Of what has no layout.
    static FaultyVerdicts verdicts_with(const std::function<void(Gl*)>& fault,
                                        Profile profile = Profile::kCompatibility) {
        return find_faulty(kSample, profile, fault,
                           [](const Question& question) { return question.layout.is_none(); });
    }

    static FaultyVerdicts and_softpipe_itself(FaultyVerdicts verdicts) {
        verdicts.insert(kSoftpipeItself.begin(), kSoftpipeItself.end());
        return verdicts;
    }
};

TEST_F(SurveyFault, is_not_found_where_there_is_none) {
    EXPECT_EQ(verdicts_with([](Gl*) {}), kSoftpipeItself);
}

TEST_F(SurveyFault, blending_ignored_is_found_in_blend) {
    const FaultyVerdicts found = verdicts_with(
        [](Gl* gl) { gl->BlendFunc = [](Enum source, Enum) { real.BlendFunc(source, 0); }; });
    FaultyVerdicts expected = kSoftpipeItself;
    for (const char* name : {"GL_RGBA8", "GL_R16", "GL_R16F", "GL_RGBA32F", "GL_SRGB8_ALPHA8",
                             "GL_RGB10_A2", "GL_RGB565"}) {
        expected[std::string(name) + " blend"] = "wrong";
    }
    EXPECT_EQ(found, expected);
}

TEST_F(SurveyFault, nearest_instead_of_linear_is_found_in_filter) {
    const FaultyVerdicts found = verdicts_with([](Gl* gl) {
        gl->TexParameteri = [](Enum target, Enum name, int value) {
            real.TexParameteri(target, name, value == gl::kLinear ? gl::kNearest : value);
        };
    });
    FaultyVerdicts expected = kSoftpipeItself;
    for (const char* name : kSample) {
        if (has_use(*find_format(name), Use::kFilter)) {
            expected[std::string(name) + " filter"] = "wrong";
        }
    }
    EXPECT_EQ(found, expected);
}

// The base image of four bytes a texel that was sent last.
std::vector<std::uint32_t> sentTexels;
int sentWidth = 0;
int sentHeight = 0;
int sentInternalFormat = 0;
Enum sentFormat = 0;
Enum sentType = 0;

void keep_sent_texels(Enum target, int level, int internalFormat, int width, int height, int border,
                      Enum format, Enum type, const void* pixels) {
    real.TexImage2D(target, level, internalFormat, width, height, border, format, type, pixels);
    const bool isFourBytes = (format == gl::kRgba && type == gl::kUnsignedByte) ||
                             (format == 0x1903 && type == gl::kFloat);
    if (!pixels) return;
    sentTexels.clear();
    if (!isFourBytes) return;
    sentTexels.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height));
    std::memcpy(sentTexels.data(), pixels, sentTexels.size() * 4);
    sentWidth = width;
    sentHeight = height;
    sentInternalFormat = internalFormat;
    sentFormat = format;
    sentType = type;
}

/// Of odd sizes: takes the first of the texels that each covers.
void generate_from_wrong_texel(Enum target) {
    real.GenerateMipmap(target);
    if (sentTexels.empty() || sentWidth % 2 == 0) return;
    for (int level = 1; sentWidth >> level > 0 || sentHeight >> level > 0; ++level) {
        const int width = std::max(1, sentWidth >> level);
        const int height = std::max(1, sentHeight >> level);
        std::vector<std::uint32_t> texels;
        for (int i = 0; i < width * height; ++i) {
            const int first = (i / width << level) * sentWidth + (i % width << level);
            texels.push_back(sentTexels[static_cast<std::size_t>(first)]);
        }
        real.TexImage2D(target, level, sentInternalFormat, width, height, 0, sentFormat, sentType,
                        texels.data());
    }
}

TEST_F(SurveyFault, mipmaps_of_odd_sizes_from_the_wrong_texel_are_found_in_mipmap) {
    const FaultyVerdicts found = verdicts_with([](Gl* gl) {
        gl->TexImage2D = keep_sent_texels;
        gl->GenerateMipmap = generate_from_wrong_texel;
    });
    // Only these are sent as four bytes a texel.
    EXPECT_EQ(found, and_softpipe_itself({{"GL_RGBA8 mipmap", "wrong"},
                                          {"GL_SRGB8_ALPHA8 mipmap", "wrong"},
                                          {"GL_R16F mipmap", "wrong"}}));
}

TEST_F(SurveyFault, mipmaps_after_the_first_that_are_not_made_are_found_in_mipmap) {
    const FaultyVerdicts found = verdicts_with([](Gl* gl) {
        gl->TexImage2D = keep_sent_texels;
        gl->GenerateMipmap = [](Enum target) {
            real.GenerateMipmap(target);
            for (int level = 2; !sentTexels.empty() && sentWidth >> level > 0; ++level) {
                const std::vector<std::uint32_t> black(sentTexels.size());
                real.TexImage2D(target, level, sentInternalFormat, sentWidth >> level,
                                std::max(1, sentHeight >> level), 0, sentFormat, sentType,
                                black.data());
            }
        };
    });
    EXPECT_EQ(found, and_softpipe_itself({{"GL_RGBA8 mipmap", "wrong"},
                                          {"GL_SRGB8_ALPHA8 mipmap", "wrong"},
                                          {"GL_R16F mipmap", "wrong"}}));
}

TEST_F(SurveyFault, a_wrong_mipmap_says_which_rule_it_breaks) {
    const auto textWith = [](void (*generateMipmap)(Enum target)) {
        return text_of_wrong("GL_RGBA8", Use::kMipmap, [&](Gl* gl) {
            gl->TexImage2D = keep_sent_texels;
            gl->GenerateMipmap = generateMipmap;
        });
    };
    EXPECT_THAT(textWith([](Enum target) {
                    real.GenerateMipmap(target);
                    const std::vector<std::uint32_t> black(std::size_t{64} * 64);
                    real.TexSubImage2D(target, 1, 0, 0, sentWidth / 2, sentHeight / 2, gl::kRgba,
                                       gl::kUnsignedByte, black.data());
                }),
                testing::StartsWith("level 1 of a ramp along x, 128 x 128, is farther off than one "
                                    "base texel's slope: expected ("));
    // A step is less than a ramp's slope.
    EXPECT_THAT(textWith([](Enum target) {
                    real.GenerateMipmap(target);
                    if (sentTexels.empty() || sentTexels.front() != sentTexels.back()) return;
                    const std::vector<std::uint32_t> lighter(64, sentTexels.front() + 1);
                    real.TexSubImage2D(target, 3, 0, 0, sentWidth >> 3, sentHeight >> 3, gl::kRgba,
                                       gl::kUnsignedByte, lighter.data());
                }),
                testing::StartsWith("level 3 of one color, 61 x 37, is not exactly that color: "
                                    "expected ("));
}

/// A table in which textures without pixels of one format are of another.
template <Enum kFrom, Enum kTo, Enum kFormat, Enum kType>
void define_empty_as_other(Enum target, int level, int internalFormat, int width, int height,
                           int border, Enum format, Enum type, const void* pixels) {
    const bool isOther = internalFormat == static_cast<int>(kFrom) && !pixels;
    if (isOther) {
        real.TexImage2D(target, level, kTo, width, height, border, kFormat, kType, pixels);
    } else {
        real.TexImage2D(target, level, internalFormat, width, height, border, format, type, pixels);
    }
}

TEST_F(SurveyFault, sixteen_bits_rendered_as_eight_are_found_in_render_and_blend) {
    constexpr Enum kR16 = 0x822A, kR8 = 0x8229, kRed = 0x1903;
    const FaultyVerdicts found = verdicts_with([](Gl* gl) {
        gl->TexImage2D = define_empty_as_other<kR16, kR8, kRed, gl::kUnsignedByte>;
        gl->GetTexLevelParameteriv = [](Enum target, int level, Enum name, int* value) {
            real.GetTexLevelParameteriv(target, level, name, value);
            if (name == gl::kRedSize && *value == 8) *value = 16;
        };
    });
    EXPECT_EQ(found, and_softpipe_itself({{"GL_R16 render", "wrong"}, {"GL_R16 blend", "wrong"}}));
}

TEST_F(SurveyFault, integers_that_are_normalized_are_found_in_render) {
    constexpr Enum kRgba8Ui = 0x8D7C;
    const FaultyVerdicts found = verdicts_with([](Gl* gl) {
        gl->TexImage2D = define_empty_as_other<kRgba8Ui, gl::kRgba8, gl::kRgba, gl::kUnsignedByte>;
    });
    EXPECT_EQ(found, and_softpipe_itself({{"GL_RGBA8UI render", "wrong"}}));
}

TEST_F(SurveyFault, srgb_that_is_not_encoded_is_found_in_render_and_blend) {
    const FaultyVerdicts found = verdicts_with([](Gl* gl) { gl->Disable(gl::kFramebufferSrgb); });
    EXPECT_EQ(found, and_softpipe_itself({{"GL_SRGB8_ALPHA8 render", "wrong"},
                                          {"GL_SRGB8_ALPHA8 blend", "wrong"}}));
}

TEST_F(SurveyFault, clamped_negative_values_are_found_in_render_and_blend) {
    const FaultyVerdicts found =
        verdicts_with([](Gl* gl) { gl->ClampColor(gl::kClampFragmentColor, 1); });
    FaultyVerdicts expected;
    for (const char* name : {"GL_RGBA8_SNORM", "GL_R16F", "GL_RGBA32F"}) {
        expected[std::string(name) + " render"] = "wrong";
        expected[std::string(name) + " blend"] = "wrong";
    }
    EXPECT_EQ(found, expected);
}

TEST_F(SurveyFault, incomplete_framebuffer_is_found_in_render_and_blend) {
    const FaultyVerdicts found = verdicts_with(
        [](Gl* gl) { gl->CheckFramebufferStatus = [](Enum) { return Enum{0x8CDD}; }; });
    FaultyVerdicts expected;
    for (const char* name : kSample) {
        for (const Use use : {Use::kRender, Use::kBlend}) {
            const Format& format = *find_format(name);
            if (has_use(format, use)) expected[std::string(name) + ' ' + name_of(use)] = "refused";
        }
    }
    EXPECT_EQ(found, expected);
}

TEST_F(SurveyFault, smaller_format_is_found_in_create_and_leaves_nothing_else_to_try) {
    constexpr Enum kRgb10A2 = 0x8059, kRgba4 = 0x8056;
    const FaultyVerdicts found = verdicts_with([](Gl* gl) {
        gl->TexImage2D = define_empty_as_other<kRgb10A2, kRgba4, gl::kRgba, gl::kUnsignedByte>;
    });
    EXPECT_EQ(found, and_softpipe_itself({{"GL_RGB10_A2 create", "refused"},
                                          {"GL_RGB10_A2 filter", "not_applicable"},
                                          {"GL_RGB10_A2 mipmap", "not_applicable"},
                                          {"GL_RGB10_A2 render", "not_applicable"},
                                          {"GL_RGB10_A2 blend", "not_applicable"}}));
}

TEST_F(SurveyFault, memory_that_is_used_up_while_the_judge_looks_is_on_no_driver) {
    static bool isUsedUp = false;
    const FaultyVerdicts found = verdicts_with([](Gl* gl) {
        gl->ReadPixels = [](int, int, int, int, Enum, Enum, void*) { isUsedUp = true; };
        gl->GetError = [] {
            return std::exchange(isUsedUp, false) ? gl::kOutOfMemory : real.GetError();
        };
    });
    FaultyVerdicts expected;
    for (const char* name : kSample) {
        for (const Use use : {Use::kFilter, Use::kMipmap, Use::kRender, Use::kBlend}) {
            const Format& format = *find_format(name);
            if (has_use(format, use)) expected[std::string(name) + ' ' + name_of(use)] = "unknown";
        }
    }
    EXPECT_EQ(found, expected);
}

TEST_F(SurveyFault, error_of_storage_is_found_in_create_storage) {
    const FaultyVerdicts found = verdicts_with(
        [](Gl* gl) {
            gl->TexStorage2D = [](Enum target, int levels, Enum format, int width, int height) {
                constexpr Enum kRgba32f = 0x8814;
                real.TexStorage2D(format == kRgba32f ? 0 : target, levels, format, width, height);
            };
        },
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
