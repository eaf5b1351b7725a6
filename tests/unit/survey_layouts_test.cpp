// The survey's layouts, what is asked in them, and the bytes that travel. Expected values are from
// OpenGL's documents, and bytes are worked out by hand.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "gl_numbers.h"
#include "pixels/sent_texels.h"
#include "records/formats.h"

namespace texprobe::survey {
namespace {

Layout layout_named(const char* format, const char* type) {
    return find_layout(format, type).value();
}

std::string layouts_text(const char* name) {
    std::string text;
    for (const Layout& layout : layouts_of(*find_format(name))) text += name_of(layout) + "; ";
    return text;
}

TEST(SurveyLayouts, begin_with_the_one_of_the_formats_own_precision) {
    EXPECT_EQ(layouts_text("GL_RGBA8"),
              "GL_RGBA GL_UNSIGNED_BYTE; GL_BGRA GL_UNSIGNED_BYTE; "
              "GL_BGRA GL_UNSIGNED_INT_8_8_8_8_REV; ");
    EXPECT_EQ(layouts_text("GL_RGB10_A2"),
              "GL_RGBA GL_UNSIGNED_INT_2_10_10_10_REV; GL_BGRA GL_UNSIGNED_INT_2_10_10_10_REV; "
              "GL_RGBA GL_UNSIGNED_BYTE; ");
    EXPECT_EQ(layouts_text("GL_RG16F"), "GL_RG GL_HALF_FLOAT; GL_RG GL_FLOAT; GL_RGBA GL_FLOAT; ");
    EXPECT_EQ(layouts_text("GL_RGB16"),
              "GL_RGB GL_UNSIGNED_SHORT; GL_BGR GL_UNSIGNED_SHORT; GL_RGBA GL_UNSIGNED_SHORT; ");
    EXPECT_EQ(layouts_text("GL_R8I"), "GL_RED_INTEGER GL_BYTE; GL_RGBA_INTEGER GL_INT; ");
    EXPECT_EQ(layouts_text("GL_BGRA8_EXT"), "GL_BGRA GL_UNSIGNED_BYTE; GL_RGBA GL_UNSIGNED_BYTE; ");
    EXPECT_EQ(layouts_text("GL_LUMINANCE16F_ARB"),
              "GL_LUMINANCE GL_HALF_FLOAT; GL_LUMINANCE GL_FLOAT; ");
    EXPECT_EQ(layouts_text("GL_DEPTH24_STENCIL8"), "GL_DEPTH_STENCIL GL_UNSIGNED_INT_24_8; ");
}

TEST(SurveyLayouts, have_the_numbers_of_opengl) {
    const auto numbers = GL_NUMBERS(
        GL_RED, GL_RG, GL_RGB, GL_RGBA, GL_BGR, GL_BGRA, GL_RED_INTEGER, GL_RG_INTEGER,
        GL_RGB_INTEGER, GL_RGBA_INTEGER, GL_LUMINANCE, GL_LUMINANCE_ALPHA, GL_DEPTH_COMPONENT,
        GL_DEPTH_STENCIL, GL_BYTE, GL_UNSIGNED_BYTE, GL_SHORT, GL_UNSIGNED_SHORT, GL_INT,
        GL_UNSIGNED_INT, GL_FLOAT, GL_HALF_FLOAT, GL_UNSIGNED_SHORT_4_4_4_4,
        GL_UNSIGNED_SHORT_5_5_5_1, GL_UNSIGNED_SHORT_5_6_5, GL_UNSIGNED_INT_8_8_8_8_REV,
        GL_UNSIGNED_INT_2_10_10_10_REV, GL_UNSIGNED_INT_24_8, GL_UNSIGNED_INT_10F_11F_11F_REV,
        GL_UNSIGNED_INT_5_9_9_9_REV, GL_FLOAT_32_UNSIGNED_INT_24_8_REV);
    std::map<std::string, unsigned> used;
    for (const Format& format : formats()) {
        for (const Layout& layout : layouts_of(format)) {
            used[format_of(layout).name] = layout.format;
            used[type_of(layout).name] = layout.type;
            EXPECT_EQ(find_layout(format_of(layout).name, type_of(layout).name), layout);
        }
    }
    EXPECT_EQ(used, numbers);
}

// OpenGL ES 3.0.6, table 3.2.
TEST(SurveyLayouts, of_opengl_es_are_the_rows_of_its_table) {
    std::multimap<std::string, std::string> table = {
        {"RGBA GL_UNSIGNED_BYTE", "RGBA8 RGB5_A1 RGBA4 SRGB8_ALPHA8"},
        {"RGBA GL_BYTE", "RGBA8_SNORM"},
        {"RGBA GL_UNSIGNED_SHORT_4_4_4_4", "RGBA4"},
        {"RGBA GL_UNSIGNED_SHORT_5_5_5_1", "RGB5_A1"},
        {"RGBA GL_UNSIGNED_INT_2_10_10_10_REV", "RGB10_A2 RGB5_A1"},
        {"RGBA GL_HALF_FLOAT", "RGBA16F"},
        {"RGBA GL_FLOAT", "RGBA32F RGBA16F"},
        {"RGBA_INTEGER GL_UNSIGNED_INT_2_10_10_10_REV", "RGB10_A2UI"},
        {"RGB GL_UNSIGNED_BYTE", "RGB8 RGB565 SRGB8"},
        {"RGB GL_BYTE", "RGB8_SNORM"},
        {"RGB GL_UNSIGNED_SHORT_5_6_5", "RGB565"},
        {"RGB GL_UNSIGNED_INT_10F_11F_11F_REV", "R11F_G11F_B10F"},
        {"RGB GL_UNSIGNED_INT_5_9_9_9_REV", "RGB9_E5"},
        {"RGB GL_HALF_FLOAT", "RGB16F R11F_G11F_B10F RGB9_E5"},
        {"RGB GL_FLOAT", "RGB32F RGB16F R11F_G11F_B10F RGB9_E5"},
        {"RG GL_UNSIGNED_BYTE", "RG8"},
        {"RG GL_BYTE", "RG8_SNORM"},
        {"RG GL_HALF_FLOAT", "RG16F"},
        {"RG GL_FLOAT", "RG32F RG16F"},
        {"RED GL_UNSIGNED_BYTE", "R8"},
        {"RED GL_BYTE", "R8_SNORM"},
        {"RED GL_HALF_FLOAT", "R16F"},
        {"RED GL_FLOAT", "R32F R16F"},
        {"DEPTH_COMPONENT GL_UNSIGNED_SHORT", "DEPTH_COMPONENT16"},
        {"DEPTH_COMPONENT GL_UNSIGNED_INT", "DEPTH_COMPONENT24 DEPTH_COMPONENT16"},
        {"DEPTH_COMPONENT GL_FLOAT", "DEPTH_COMPONENT32F"},
        {"DEPTH_STENCIL GL_UNSIGNED_INT_24_8", "DEPTH24_STENCIL8"},
        {"DEPTH_STENCIL GL_FLOAT_32_UNSIGNED_INT_24_8_REV", "DEPTH32F_STENCIL8"}};
    for (const std::string order : {"RED", "RG", "RGB", "RGBA"}) {
        const std::string name = order == "RED" ? "R" : order;
        for (const auto& [type, bits] : {std::pair("BYTE", "8"), {"SHORT", "16"}, {"INT", "32"}}) {
            table.emplace(order + "_INTEGER GL_UNSIGNED_" + type, name + bits + "UI");
            table.emplace(order + "_INTEGER GL_" + type, name + bits + "I");
        }
    }
    std::set<std::string> expected;
    for (const auto& [layout, names] : table) {
        std::istringstream words(names);
        for (std::string name; words >> name;) {
            expected.insert(name.insert(0, "GL_").append(" GL_").append(layout));
        }
    }
    std::set<std::string> rows;
    const ContextFacts es30 = {Profile::kEs, 30, {}};
    for (const Format& format : formats()) {
        if (who_promises(es30, format, Use::kCreate).empty()) continue;
        for (const Layout& layout : layouts_of(format)) {
            if (!has_question(format, {Use::kUpload, layout}, Profile::kEs)) continue;
            rows.insert(std::string(format.name) + ' ' + name_of(layout));
        }
    }
    EXPECT_EQ(rows, expected);
}

TEST(SurveyLayouts, have_those_of_the_formats_of_the_tool) {
    for (const texprobe::Format& row : texprobe::kFormats) {
        const Layout ofTool = {static_cast<unsigned>(row.order), static_cast<unsigned>(row.type)};
        const auto isAsked = [&](const Format& format) {
            return format.value == row.internalFormat &&
                   has_question(format, {Use::kUpload, ofTool}, Profile::kCompatibility);
        };
        EXPECT_EQ(std::count_if(formats().begin(), formats().end(), isAsked), 1) << row.name;
    }
}

std::string asked(const char* name, const Layout& layout, Profile profile) {
    std::string text;
    for (const Use use : kUses) {
        if (has_question(*find_format(name), {use, layout}, profile)) {
            text += std::string(name_of(use)) + ' ';
        }
    }
    return text;
}

TEST(SurveyQuestions, are_only_those_that_a_context_can_be_asked) {
    const Layout rgba = layout_named("GL_RGBA", "GL_UNSIGNED_BYTE");
    const Layout bgra = layout_named("GL_BGRA", "GL_UNSIGNED_BYTE");
    const std::string uploads =
        "upload upload_part upload_part_storage upload_buffer define_buffer ";
    const std::string reads = "read read_part read_buffer ";
    EXPECT_EQ(asked("GL_RGBA8", bgra, Profile::kCore), uploads + reads + "get get_buffer ");
    EXPECT_EQ(asked("GL_RGBA8", rgba, Profile::kEs), uploads + reads);
    EXPECT_EQ(asked("GL_RGBA8", bgra, Profile::kEs), reads);
    EXPECT_EQ(asked("GL_BGRA8_EXT", bgra, Profile::kEs), uploads + reads);
    EXPECT_EQ(asked("GL_R8", rgba, Profile::kEs), reads);
    EXPECT_EQ(asked("GL_R8", rgba, Profile::kCore), "");
    EXPECT_EQ(asked("GL_DEPTH_COMPONENT16", layout_named("GL_DEPTH_COMPONENT", "GL_UNSIGNED_SHORT"),
                    Profile::kEs),
              uploads);
    const Layout luminance = layout_named("GL_LUMINANCE", "GL_UNSIGNED_BYTE");
    EXPECT_EQ(asked("GL_LUMINANCE8", luminance, Profile::kCore), "");
    EXPECT_EQ(asked("GL_LUMINANCE8", luminance, Profile::kCompatibility),
              uploads + reads + "get get_buffer ");
    EXPECT_EQ(questions_of(*find_format("GL_R8"), Profile::kCore).size(), 6u + 10);
    for (const Format& format : formats()) {
        for (const Profile profile : kProfiles) {
            EXPECT_EQ(count_questions(format, profile), questions_of(format, profile).size())
                << format.name;
        }
    }
}

TEST(SurveyQuestions, of_reading_are_promised_by_opengl_es_in_one_layout_only) {
    const ContextFacts es32 = {Profile::kEs, 32, {}};
    const ContextFacts core = {Profile::kCore, 45, {}};
    const auto who = [](const ContextFacts& facts, const char* name, const char* format,
                        const char* type) {
        return who_promises(facts, *find_format(name), {Use::kRead, layout_named(format, type)});
    };
    EXPECT_EQ(who(es32, "GL_R8", "GL_RGBA", "GL_UNSIGNED_BYTE"), "OpenGL ES 3.0");
    EXPECT_EQ(who(es32, "GL_R8", "GL_RED", "GL_UNSIGNED_BYTE"), "");
    EXPECT_EQ(who(core, "GL_R8", "GL_RED", "GL_UNSIGNED_BYTE"), "OpenGL 3.0");
    EXPECT_EQ(who(es32, "GL_RGB10_A2", "GL_RGBA", "GL_UNSIGNED_INT_2_10_10_10_REV"),
              "OpenGL ES 3.0");
    EXPECT_EQ(who(es32, "GL_R16F", "GL_RGBA", "GL_FLOAT"), "OpenGL ES 3.2");
    EXPECT_EQ(who(es32, "GL_RG8I", "GL_RGBA_INTEGER", "GL_INT"), "OpenGL ES 3.0");
    EXPECT_EQ(who(es32, "GL_R16", "GL_RGBA", "GL_UNSIGNED_SHORT"), "");
    EXPECT_EQ(who(es32, "GL_RGBA8", "GL_BGRA", "GL_UNSIGNED_BYTE"), "");
    const ContextFacts withBgra = {Profile::kEs, 30, {"GL_EXT_read_format_bgra"}};
    EXPECT_EQ(who(withBgra, "GL_RGBA8", "GL_BGRA", "GL_UNSIGNED_BYTE"), "GL_EXT_read_format_bgra");
}

/// The lowest byte first.
std::vector<unsigned> bytes_of_word(unsigned word) {
    return {word & 255, word >> 8 & 255, word >> 16 & 255, word >> 24};
}

TEST(SurveyBytes, are_those_of_the_layout) {
    // 3 is 10000 100000 in eleven bits, and 0.5 is 01110 00000 in ten.
    const unsigned packed = 0x3C0u | 0x420u << 11 | 0x1C0u << 22;
    // 1 is 256/512 * 2^1, which is exponent 16; the unit is then 1/256.
    const unsigned shared = 256u | 128u << 9 | 1u << 18 | 16u << 27;
    const struct {
        const char* format;
        std::string layout;  ///< "" for the plain one.
        Texel texel;
        std::vector<unsigned> bytes;
    } rows[] = {
        {"GL_RGBA8", "", {1, 0, 128 / 255.0, 1 / 255.0}, {255, 0, 128, 1}},
        {"GL_BGRA8_EXT", "", {1, 0, 128 / 255.0, 1 / 255.0}, {128, 0, 255, 1}},
        {"GL_RG8_SNORM", "", {-1, 1 / 127.0, 0, 0}, {0x81, 1}},
        {"GL_R16", "", {0x1234 / 65535.0, 0, 0, 0}, {0x34, 0x12}},
        {"GL_R32I", "", {-2, 0, 0, 0}, {0xFE, 0xFF, 0xFF, 0xFF}},
        {"GL_R16F", "", {1, 0, 0, 0}, {0, 0, 0x80, 0x3F}},
        // 3 in two bits, then 0, 1 and 1023 in ten each: 0xC0000000 | 1 << 10 | 1023.
        {"GL_RGB10_A2UI", "", {1023, 1, 0, 3}, {0xFF, 0x07, 0, 0xC0}},
        {"GL_DEPTH24_STENCIL8", "", {1, 0, 0, 0}, {0x5A, 0xFF, 0xFF, 0xFF}},
        {"GL_DEPTH_COMPONENT24", "", {1, 0, 0, 0}, {0xFF, 0xFF, 0xFF, 0xFF}},
        {"GL_LUMINANCE8_ALPHA8", "", {1, 0, 0, 2 / 255.0}, {255, 2}},
        // 188 of 255 on sRGB's curve.
        {"GL_SRGB8", "", {0.502886, 0, 1, 0}, {188, 0, 255}},
        // The first component has the highest bits: 31 << 11 | 1 << 5 | 2.
        {"GL_RGB565", "GL_RGB GL_UNSIGNED_SHORT_5_6_5", {1, 1 / 63.0, 2 / 31.0, 0}, {0x22, 0xF8}},
        {"GL_RGB5_A1", "GL_RGBA GL_UNSIGNED_SHORT_5_5_5_1", {1 / 31.0, 0, 3 / 31.0, 1}, {7, 8}},
        {"GL_RGBA4",
         "GL_RGBA GL_UNSIGNED_SHORT_4_4_4_4",
         {1 / 15.0, 2 / 15.0, 3 / 15.0, 4 / 15.0},
         {0x34, 0x12}},
        // Blue has the lowest bits.
        {"GL_RGBA8",
         "GL_BGRA GL_UNSIGNED_INT_8_8_8_8_REV",
         {1 / 255.0, 2 / 255.0, 3 / 255.0, 4 / 255.0},
         {3, 2, 1, 4}},
        {"GL_RGB10_A2",
         "GL_BGRA GL_UNSIGNED_INT_2_10_10_10_REV",
         {0, 0, 5 / 1023.0, 1},
         {5, 0, 0, 0xC0}},
        {"GL_RGB8", "GL_BGR GL_UNSIGNED_BYTE", {1, 0, 2 / 255.0, 0}, {2, 0, 255}},
        // 1.5 is 0 01111 1000000000, and -0.75 is 1 01110 1000000000.
        {"GL_RG16F", "GL_RG GL_HALF_FLOAT", {1.5, -0.75, 0, 0}, {0x00, 0x3E, 0x00, 0xBA}},
        {"GL_R11F_G11F_B10F",
         "GL_RGB GL_UNSIGNED_INT_10F_11F_11F_REV",
         {1, 3, 0.5, 0},
         bytes_of_word(packed)},
        {"GL_RGB9_E5",
         "GL_RGB GL_UNSIGNED_INT_5_9_9_9_REV",
         {1, 0.5, 1 / 256.0, 0},
         bytes_of_word(shared)}};
    for (const auto& [name, names, texel, expected] : rows) {
        const Format& format = *find_format(name);
        const std::size_t blank = names.find(' ');
        const Layout layout =
            names.empty() ? plain_layout(format)
                          : find_layout(names.substr(0, blank), names.substr(blank + 1)).value();
        const auto bytes = bytes_of(format, layout, {1, 1, {texel}});
        EXPECT_THAT(bytes, testing::ElementsAreArray(expected)) << name << ' ' << names;
        EXPECT_EQ(bytes.size(), TexelCodec(format, layout).texel_size()) << name;
    }
}

TEST(SurveyBytes, are_read_as_they_were_written) {
    for (const Format& format : formats()) {
        for (const Layout& layout : layouts_of(format)) {
            const TexelCodec codec(format, layout);
            for (int x = 0; x < 64; ++x) {
                const Texel texel = as_sampled(format, pattern(format, x, 0));
                std::vector<unsigned char> bytes;
                codec.append_texel(texel, &bytes);
                const Texel back = codec.read_texel(bytes.data());
                for (std::size_t c = 0; c < sampled_components(format); ++c) {
                    const int bits = codec.bits_of(c);
                    if (bits == 0 || (format.base == Base::kLuminance && c % 3 != 0)) continue;
                    ASSERT_TRUE(
                        is_transferred(format.kind_of(c), format.bits[c], bits, texel[c], back[c]))
                        << format.name << ' ' << name_of(layout) << ' ' << x;
                }
            }
        }
    }
    // The smallest half, an infinity, and the smallest packed floats.
    const unsigned char halves[] = {0x01, 0x00, 0x00, 0xFC};
    const TexelCodec codec(*find_format("GL_RG16F"), layout_named("GL_RG", "GL_HALF_FLOAT"));
    const Texel read = codec.read_texel(halves);
    EXPECT_EQ(read[0], std::ldexp(1, -24));
    EXPECT_EQ(read[1], -HUGE_VAL);
}

TEST(SurveyTransfer, is_the_same_step_in_as_many_bits_and_less_than_one_in_others) {
    const auto unorm = [](int before, int bits, double expected, double came) {
        return is_transferred(Kind::kUnorm, before, bits, expected, came);
    };
    EXPECT_TRUE(unorm(8, 8, 17 / 255.0, 17.4 / 255));
    EXPECT_FALSE(unorm(8, 8, 17 / 255.0, 18 / 255.0));
    // 132 of 255 is 16.05 of 31: 16 and 17 are less than a step away.
    EXPECT_TRUE(unorm(8, 5, 132 / 255.0, 16 / 31.0));
    EXPECT_TRUE(unorm(8, 5, 132 / 255.0, 17 / 31.0));
    EXPECT_FALSE(unorm(8, 5, 132 / 255.0, 15 / 31.0));
    EXPECT_FALSE(unorm(2, 1, 1, 0));
    EXPECT_FALSE(unorm(16, 16, 0x1234 / 65535.0, 0x12 / 255.0));
    // What the texture does not have must be 0 or 1.
    EXPECT_FALSE(unorm(8, 0, 1, 0));
    // 187 and 188 of the curve.
    EXPECT_TRUE(is_transferred(Kind::kSrgb, 8, 8, 0.496933, 0.4970));
    EXPECT_FALSE(is_transferred(Kind::kSrgb, 8, 8, 0.496933, 0.502886));
    EXPECT_FALSE(is_transferred(Kind::kFloat, 32, 16, 1, 1 + std::ldexp(1, -23)));
    EXPECT_FALSE(is_transferred(Kind::kInt, 32, 32, 5, 6));
    EXPECT_FALSE(is_transferred(Kind::kFloat, 32, 32, 1, std::nan("")));
}

TEST(SurveyTransfer, sends_every_value_of_eight_bits_and_the_smallest_and_largest_steps) {
    const auto sent = [](const char* name, const char* format, const char* type) {
        const SentTexels texels(*find_format(name), layout_named(format, type));
        std::set<double> values;
        for (int i = 0; i < 128 * 128; ++i) values.insert(texels.at(0, i % 128, i / 128)[0]);
        return values;
    };
    EXPECT_EQ(sent("GL_RGBA8", "GL_RGBA", "GL_UNSIGNED_BYTE").size(), 256u);
    const std::set<double> words = sent("GL_R16_SNORM", "GL_RED", "GL_SHORT");
    for (const double value : {0.0, 1.0, -1.0, 1 / 32767.0, -1 / 32767.0, 32766 / 32767.0}) {
        EXPECT_EQ(words.count(value), 1u) << value;
    }
}

TEST(SurveyTransfer, lies_in_memory_as_it_is_told_and_leaves_the_rest) {
    const Format& format = *find_format("GL_R8");
    const Layout layout = layout_named("GL_RED", "GL_UNSIGNED_BYTE");
    const SentTexels sent(format, layout);
    ImageMemory memory({3, 2, 5, 1, 2, 7}, sent.codec());
    memory.put(sent, 0);
    EXPECT_TRUE(memory.is_untouched_around());
    // Behind seven bytes, two rows of five texels, and one texel.
    EXPECT_EQ(memory.row(0) - memory.bytes().data(), 7 + 2 * 5 + 1);
    EXPECT_EQ(memory.row(1) - memory.row(0), 5);
    EXPECT_EQ(memory.begin() - memory.bytes().data(), 7);
    EXPECT_EQ(*memory.row(1), *sent.bytes(0, 0, 1));
    for (const std::ptrdiff_t place : {0, 17, 21, 22, 26, 4000}) {
        memory.bytes()[static_cast<std::size_t>(place)] ^= 1;
        EXPECT_FALSE(memory.is_untouched_around()) << place;
        memory.bytes()[static_cast<std::size_t>(place)] ^= 1;
    }
    EXPECT_TRUE(memory.is_untouched_around());
}

}  // namespace
}  // namespace texprobe::survey
