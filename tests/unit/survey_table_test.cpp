// The survey's table, verdicts and record text: no pixels, no OpenGL.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <iterator>
#include <map>
#include <set>
#include <sstream>

#include "gl_numbers.h"
#include "table/promises.h"
#include "table/record_text.h"

namespace texprobe::survey {
namespace {

ContextFacts facts_of(Profile profile, int version, std::set<std::string> extensions = {}) {
    return {profile, version, std::move(extensions)};
}

TEST(SurveyTable, has_each_format_once_with_the_number_of_opengl) {
    auto numbers = GL_NUMBERS(
        GL_R8, GL_RGB16, GL_RG8_SNORM, GL_RGBA16_SNORM, GL_R8UI, GL_RG8UI, GL_RGB8UI, GL_RGBA8UI,
        GL_R16UI, GL_RG16UI, GL_RGB16UI, GL_RGBA16UI, GL_R32UI, GL_RG32UI, GL_RGB32UI, GL_RGBA32UI,
        GL_R8I, GL_RG8I, GL_RGB8I, GL_RGBA8I, GL_R16I, GL_RG16I, GL_RGB16I, GL_RGBA16I, GL_R32I,
        GL_RG32I, GL_RGB32I, GL_RGBA32I, GL_R16F, GL_RG16F, GL_RGB16F, GL_RGBA16F, GL_R32F,
        GL_RG32F, GL_RGB32F, GL_RGBA32F, GL_R16, GL_RG16, GL_RGBA16, GL_RG8, GL_RGB8, GL_RGBA8,
        GL_R8_SNORM, GL_RGB8_SNORM, GL_RGBA8_SNORM, GL_R16_SNORM, GL_RG16_SNORM, GL_RGB16_SNORM,
        GL_SRGB8, GL_SRGB8_ALPHA8, GL_RGB565, GL_RGB5_A1, GL_RGBA4, GL_RGB10_A2, GL_RGB10_A2UI,
        GL_R11F_G11F_B10F, GL_RGB9_E5, GL_DEPTH_COMPONENT16, GL_DEPTH_COMPONENT24,
        GL_DEPTH_COMPONENT32F, GL_DEPTH24_STENCIL8, GL_DEPTH32F_STENCIL8, GL_LUMINANCE8,
        GL_LUMINANCE8_ALPHA8, GL_LUMINANCE16, GL_LUMINANCE16_ALPHA16, GL_LUMINANCE16F_ARB,
        GL_LUMINANCE_ALPHA16F_ARB, GL_LUMINANCE32F_ARB, GL_LUMINANCE_ALPHA32F_ARB,
        GL_COMPRESSED_RGB_S3TC_DXT1_EXT, GL_COMPRESSED_RGBA_S3TC_DXT1_EXT,
        GL_COMPRESSED_RGBA_S3TC_DXT3_EXT, GL_COMPRESSED_RGBA_S3TC_DXT5_EXT,
        GL_COMPRESSED_SRGB_S3TC_DXT1_EXT, GL_COMPRESSED_SRGB_ALPHA_S3TC_DXT1_EXT,
        GL_COMPRESSED_SRGB_ALPHA_S3TC_DXT3_EXT, GL_COMPRESSED_SRGB_ALPHA_S3TC_DXT5_EXT,
        GL_COMPRESSED_RED_RGTC1, GL_COMPRESSED_SIGNED_RED_RGTC1, GL_COMPRESSED_RG_RGTC2,
        GL_COMPRESSED_SIGNED_RG_RGTC2, GL_COMPRESSED_RGB_BPTC_SIGNED_FLOAT,
        GL_COMPRESSED_RGB_BPTC_UNSIGNED_FLOAT, GL_COMPRESSED_RGBA_BPTC_UNORM,
        GL_COMPRESSED_SRGB_ALPHA_BPTC_UNORM, GL_COMPRESSED_RGB8_ETC2, GL_COMPRESSED_SRGB8_ETC2,
        GL_COMPRESSED_RGB8_PUNCHTHROUGH_ALPHA1_ETC2, GL_COMPRESSED_SRGB8_PUNCHTHROUGH_ALPHA1_ETC2,
        GL_COMPRESSED_RGBA8_ETC2_EAC, GL_COMPRESSED_SRGB8_ALPHA8_ETC2_EAC, GL_COMPRESSED_R11_EAC,
        GL_COMPRESSED_SIGNED_R11_EAC, GL_COMPRESSED_RG11_EAC, GL_COMPRESSED_SIGNED_RG11_EAC,
        GL_COMPRESSED_RGBA_ASTC_4x4_KHR, GL_COMPRESSED_SRGB8_ALPHA8_ASTC_4x4_KHR,
        GL_COMPRESSED_RGBA_ASTC_6x6_KHR, GL_COMPRESSED_SRGB8_ALPHA8_ASTC_6x6_KHR,
        GL_COMPRESSED_RGBA_ASTC_8x8_KHR, GL_COMPRESSED_SRGB8_ALPHA8_ASTC_8x8_KHR);
    // From its extension: desktop headers lack it.
    numbers["GL_BGRA8_EXT"] = 0x93A1;
    std::map<std::string, unsigned> table;
    for (const Format& format : formats()) table[format.name] = format.value;
    EXPECT_EQ(table, numbers);
    EXPECT_EQ(formats().size(), numbers.size()) << "a name twice";
}

TEST(SurveyTable, has_somebody_who_promises_each_format) {
    for (const Format& format : formats()) {
        EXPECT_NE(std::string(format.promises->create), "") << format.name;
    }
}

TEST(SurveyTable, gives_a_class_of_formats_only_the_uses_that_it_has) {
    const auto uses = [](const char* name) {
        std::string text;
        for (const Use use : kUses) {
            if (has_use(*find_format(name), use)) text += std::string(name_of(use)) + ' ';
        }
        return text;
    };
    EXPECT_EQ(uses("GL_RGBA8"), "create create_storage filter mipmap render blend ");
    EXPECT_EQ(uses("GL_RGB10_A2UI"), "create create_storage render ");
    EXPECT_EQ(uses("GL_DEPTH24_STENCIL8"), "create create_storage filter mipmap render ");
    EXPECT_EQ(uses("GL_COMPRESSED_RED_RGTC1"),
              "create create_storage filter upload upload_part upload_buffer ");
}

/// The uses that somebody promises.
std::string promised(const ContextFacts& facts, const char* name) {
    std::string text;
    for (const Use use : kUses) {
        if (!has_use(*find_format(name), use) || is_transfer(use)) continue;
        const std::string who = who_promises(facts, *find_format(name), use);
        if (!who.empty()) text += std::string(name_of(use)) + " by " + who + "; ";
    }
    return text;
}

TEST(SurveyPromises, are_those_of_the_documents) {
    const ContextFacts core33 = facts_of(Profile::kCore, 33);
    // No glTexStorage2D before 4.2. RGB16 is no required renderable format of any version.
    EXPECT_EQ(promised(core33, "GL_RGB16"),
              "create by OpenGL 3.0; filter by OpenGL 3.0; mipmap by OpenGL 3.0; ");
    EXPECT_EQ(promised(facts_of(Profile::kCore, 45), "GL_RGBA8UI"),
              "create by OpenGL 3.0; create_storage by OpenGL 4.2; render by OpenGL 3.0; ");
    EXPECT_EQ(promised(core33, "GL_LUMINANCE8"), "");
    EXPECT_EQ(
        promised(facts_of(Profile::kCore, 45, {"GL_ARB_texture_float"}), "GL_LUMINANCE16F_ARB"),
        "");
    EXPECT_EQ(promised(facts_of(Profile::kCompatibility, 31, {"GL_ARB_texture_float"}),
                       "GL_LUMINANCE16F_ARB"),
              "create by GL_ARB_texture_float; filter by GL_ARB_texture_float; "
              "mipmap by GL_ARB_texture_float; ");
}

std::string joined_names(const std::set<std::string>& names) {
    std::string text;
    for (const std::string& name : names) text += name + ' ';
    return text;
}

/// The colors of which somebody promises the use, in the order of their names, without "GL_".
std::string colors_with(const ContextFacts& facts, Use use) {
    std::set<std::string> names;
    for (const Format& format : formats()) {
        if (format.is_depth() || format.is_compressed()) continue;
        if (who_promises(facts, format, use).empty()) continue;
        names.insert(format.name + std::strlen("GL_"));
    }
    return joined_names(names);
}

// The lists of required texture and renderbuffer formats of OpenGL 4.5, section 8.5.1, and the
// columns "color-renderable" and "texture-filterable" of the tables of OpenGL ES.
TEST(SurveyPromises, of_rendering_and_filtering_are_the_lists_of_the_documents) {
    const std::string integers =
        "R16I R16UI R32I R32UI R8I R8UI RG16I RG16UI RG32I RG32UI RG8I RG8UI "
        "RGBA16I RGBA16UI RGBA32I RGBA32UI RGBA8I RGBA8UI RGB10_A2UI ";
    const auto sorted = [](const std::string& text) {
        std::istringstream words(text);
        const std::set<std::string> names(std::istream_iterator<std::string>(words), {});
        return joined_names(names);
    };
    const std::string es30 = "R8 RG8 RGB8 RGB565 RGBA4 RGB5_A1 RGBA8 RGB10_A2 SRGB8_ALPHA8 ";
    const std::string floats = "R16F RG16F RGBA16F R32F RG32F RGBA32F R11F_G11F_B10F ";
    EXPECT_EQ(colors_with(facts_of(Profile::kCore, 45), Use::kRender),
              sorted(integers + floats +
                     "RGBA16 RGBA8 SRGB8_ALPHA8 RGB10_A2 RGB5_A1 RGBA4 RGB565 "
                     "RG16 RG8 R16 R8"));
    EXPECT_EQ(colors_with(facts_of(Profile::kEs, 30), Use::kRender), sorted(integers + es30));
    EXPECT_EQ(colors_with(facts_of(Profile::kEs, 32), Use::kRender),
              sorted(integers + es30 + floats));
    EXPECT_EQ(colors_with(facts_of(Profile::kEs, 32), Use::kFilter),
              sorted(es30 + "R8_SNORM RG8_SNORM RGB8_SNORM RGBA8_SNORM SRGB8 R16F RG16F RGB16F "
                            "RGBA16F R11F_G11F_B10F RGB9_E5"));
}

TEST(SurveyPromises, of_opengl_es_depend_on_extensions) {
    EXPECT_EQ(promised(facts_of(Profile::kEs, 30), "GL_RGBA32F"),
              "create by OpenGL ES 3.0; create_storage by OpenGL ES 3.0; ");
    EXPECT_EQ(promised(facts_of(Profile::kEs, 32, {"GL_EXT_float_blend"}), "GL_RGBA32F"),
              "create by OpenGL ES 3.0; create_storage by OpenGL ES 3.0; "
              "render by OpenGL ES 3.2; blend by GL_EXT_float_blend; ");
    EXPECT_EQ(promised(facts_of(Profile::kEs, 31), "GL_R16"), "");
    EXPECT_EQ(promised(facts_of(Profile::kEs, 31, {"GL_EXT_texture_norm16"}), "GL_RGB16"),
              "create by GL_EXT_texture_norm16; create_storage by OpenGL ES 3.0; "
              "filter by GL_EXT_texture_norm16; ");
    // Mipmaps need a format that can be rendered, too.
    EXPECT_EQ(promised(facts_of(Profile::kEs, 32), "GL_SRGB8"),
              "create by OpenGL ES 3.0; create_storage by OpenGL ES 3.0; "
              "filter by OpenGL ES 3.0; ");
    EXPECT_EQ(
        promised(facts_of(Profile::kEs, 32, {"GL_EXT_texture_format_BGRA8888"}), "GL_BGRA8_EXT"),
        "create by GL_EXT_texture_format_BGRA8888; filter by GL_EXT_texture_format_BGRA8888; ");
}

TEST(SurveyPromises, of_compressed_formats_are_those_of_a_version_or_of_extensions) {
    const ContextFacts core33 = facts_of(Profile::kCore, 33);
    EXPECT_EQ(promised(core33, "GL_COMPRESSED_RED_RGTC1"),
              "create by OpenGL 3.0; filter by OpenGL 3.0; ");
    EXPECT_EQ(promised(core33, "GL_COMPRESSED_RGB8_ETC2"), "");
    EXPECT_EQ(promised(facts_of(Profile::kEs, 30), "GL_COMPRESSED_RGB8_ETC2"),
              "create by OpenGL ES 3.0; create_storage by OpenGL ES 3.0; "
              "filter by OpenGL ES 3.0; ");
    EXPECT_EQ(promised(facts_of(Profile::kEs, 31), "GL_COMPRESSED_RGBA_ASTC_6x6_KHR"), "");
    EXPECT_NE(promised(facts_of(Profile::kEs, 32), "GL_COMPRESSED_RGBA_ASTC_6x6_KHR"), "");
    // The sRGB formats of S3TC need two extensions on the desktop, and one in OpenGL ES.
    const auto s3tcSrgb = [](Profile profile, const std::set<std::string>& extensions) {
        return who_promises(facts_of(profile, 33, extensions),
                            *find_format("GL_COMPRESSED_SRGB_S3TC_DXT1_EXT"), Use::kCreate);
    };
    EXPECT_EQ(s3tcSrgb(Profile::kCore, {"GL_EXT_texture_sRGB"}), "");
    EXPECT_EQ(s3tcSrgb(Profile::kCore, {"GL_EXT_texture_compression_s3tc"}), "");
    EXPECT_EQ(s3tcSrgb(Profile::kCore, {"GL_EXT_texture_sRGB", "GL_EXT_texture_compression_s3tc"}),
              "GL_EXT_texture_sRGB with GL_EXT_texture_compression_s3tc");
    EXPECT_EQ(s3tcSrgb(Profile::kEs, {"GL_EXT_texture_compression_s3tc_srgb"}),
              "GL_EXT_texture_compression_s3tc_srgb");
}

TEST(SurveyVerdict, blames_only_where_somebody_promised) {
    using Found = Finding::Kind;
    const auto verdict = [](Found kind, const char* promise) {
        return judge({kind, "text"}, promise).verdict;
    };
    EXPECT_EQ(verdict(Found::kHolds, ""), Verdict::kYes);
    EXPECT_EQ(verdict(Found::kHolds, "OpenGL 3.0"), Verdict::kYes);
    EXPECT_EQ(verdict(Found::kRefused, "OpenGL 3.0"), Verdict::kRefused);
    EXPECT_EQ(verdict(Found::kOtherPixels, "OpenGL 3.0"), Verdict::kWrong);
    EXPECT_EQ(verdict(Found::kRefused, ""), Verdict::kNotOffered);
    EXPECT_EQ(verdict(Found::kOtherPixels, ""), Verdict::kNotOffered);
    EXPECT_EQ(verdict(Found::kCannotTell, "OpenGL 3.0"), Verdict::kUnknown);
    EXPECT_EQ(judge({Found::kRefused, "it is incomplete"}, "OpenGL 3.0").text,
              "it is incomplete, although OpenGL 3.0 promises it");
    Finding complete = {Found::kOtherPixels, "other", "a complete framebuffer"};
    EXPECT_EQ(judge(complete, "").verdict, Verdict::kWrong);
    Finding hint = {Found::kRefused, "smaller"};
    hint.isPromised = false;
    EXPECT_EQ(judge(hint, "OpenGL 1.1").verdict, Verdict::kNotOffered);
}

TEST(SurveyRecord, is_read_as_it_was_written) {
    const Layout bgra = {0x80E1, 0x1401};
    FormatRecord record;
    record.uses[Use::kCreate] = {Verdict::kYes, ""};
    record.uses[Use::kMipmap] = {Verdict::kWrong, "expected (0.5) at 3, 4: came (1)\n\x7F\x80"};
    record.uses[{Use::kUpload, bgra}] = {Verdict::kWrong, "why: so"};
    record.uses[{Use::kRead, {0x1908, 0x8368}}] = {Verdict::kYes, ""};
    record.isMeasuring = true;
    record.underWay = UnderWay{Use::kRender};
    const std::string text =
        "measuring\ncreate yes\nmipmap wrong: expected (0.5) at 3, 4: came (1)???\n"
        "read GL_RGBA GL_UNSIGNED_INT_2_10_10_10_REV yes\n"
        "upload GL_BGRA GL_UNSIGNED_BYTE wrong: why: so\nrender started\n";
    EXPECT_EQ(write_record(record), text);
    record.uses[Use::kMipmap].text = "expected (0.5) at 3, 4: came (1)???";
    EXPECT_EQ(read_record(text), record);
}

TEST(SurveyRecord, of_a_stranger_is_none) {
    for (const char* text :
         {"create", "create perhaps\n", "create yes\ncreate yes\n", "\n", "yes",
          "create yes\nmeasuring\n", "create yes\n\n", "true", "create yes\ncreate started\n",
          "create started\nfilter started\n", "upload GL_BGRA GL_UNSIGNED_BYTE\n"}) {
        EXPECT_FALSE(read_record(text)) << text;
    }
    // What a later version adds.
    for (const char* added : {"stretch yes", "upload GL_RGBA GL_DOUBLE wrong: why",
                              "upload GL_RGBA yes", "upload GL_RED GL_BYTE GL_TEXTURE_3D yes"}) {
        EXPECT_EQ(write_record(*read_record(std::string("create yes\n") + added + '\n')),
                  "create yes\n");
    }
}

TEST(SurveyRecord, is_complete_when_every_use_of_the_format_has_a_verdict) {
    const auto complete = [](const char* format, const std::string& text) {
        return is_complete(*find_format(format), Profile::kEs, *read_record(text));
    };
    const std::string uses = "create yes\ncreate_storage yes\nrender yes\n";
    std::string transfers;
    for (const char* use : {"upload", "upload_part", "upload_part_storage", "upload_buffer",
                            "define_buffer", "read", "read_part", "read_buffer"}) {
        transfers += std::string(use) + " GL_RED_INTEGER GL_UNSIGNED_BYTE yes\n";
    }
    for (const char* use : {"read", "read_part", "read_buffer"}) {
        transfers += std::string(use) + " GL_RGBA_INTEGER GL_UNSIGNED_INT yes\n";
    }
    EXPECT_TRUE(complete("GL_R8UI", uses + transfers));
    // One of an older survey, which did not ask for layouts.
    EXPECT_FALSE(complete("GL_R8UI", uses));
    EXPECT_FALSE(complete("GL_R8UI", "create yes\ncreate_storage yes\n" + transfers));
    EXPECT_FALSE(
        complete("GL_R8UI", "create yes\ncreate_storage yes\nrender started\n" + transfers));
    EXPECT_FALSE(complete("GL_R8", uses + transfers));
    EXPECT_FALSE(complete("GL_R8UI", "measuring\n"));
    EXPECT_FALSE(complete("GL_R8UI", ""));
}

TEST(SurveyRecord, blames_a_use_that_was_under_way_twice) {
    const FormatRecord left = *read_record("create yes\nfilter started\n");
    FormatRecord again = left;
    again.underWay = begin_use(left, Use::kFilter);
    EXPECT_EQ(write_record(again), "create yes\nfilter started: again\n");
    for (const FormatRecord& record : {left, again, *read_record(write_record(again))}) {
        EXPECT_EQ(write_record(after_outside_end(record)), "create yes\n");
    }
    EXPECT_EQ(write_record(after_end(left)), "create yes\n");
    EXPECT_EQ(write_record(after_end(again)), "create yes\nfilter crashed\n");
    EXPECT_EQ(write_record(after_end(*read_record("measuring\n"))), "");
    for (const Use use : {Use::kCreate, Use::kMipmap}) {
        EXPECT_EQ(begin_use(again, use), UnderWay{use});
    }
}

}  // namespace
}  // namespace texprobe::survey
