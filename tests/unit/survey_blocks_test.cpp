// Blocks of compressed formats with one color: bytes worked out by hand from the formats'
// documents. In tests/gl, Mesa decodes the blocks of all colors of the pattern.

#include <gtest/gtest.h>

#include <cstdio>
#include <set>
#include <vector>

#include "pixels/compressed_blocks.h"

namespace texprobe::survey {
namespace {

using BlockBytes = std::vector<unsigned char>;

/// The bytes of one block of that color, as "F8 00".
std::string block_in_hex(const char* name, const Texel& color) {
    const Format& format = *find_format(name);
    std::string text;
    for (const unsigned char byte : blocks_of(format, {1, 1, {quantize(format, color)}})) {
        char hex[8];
        std::snprintf(hex, sizeof hex, text.empty() ? "%02X" : " %02X", byte);
        text += hex;
    }
    return text;
}

TEST(SurveyBlocks, of_bc1_to_bc3_are_two_equal_colors_of_565_before_which_is_alpha) {
    EXPECT_EQ(block_in_hex("GL_COMPRESSED_RGB_S3TC_DXT1_EXT", {1, 0, 0, 0}),
              "00 F8 00 F8 00 00 00 00");
    EXPECT_EQ(block_in_hex("GL_COMPRESSED_RGBA_S3TC_DXT1_EXT", {1, 0, 0, 1}),
              "00 F8 00 F8 00 00 00 00");
    EXPECT_EQ(block_in_hex("GL_COMPRESSED_RGBA_S3TC_DXT1_EXT", {1, 0, 0, 0}),
              "00 00 00 00 FF FF FF FF");
    EXPECT_EQ(block_in_hex("GL_COMPRESSED_RGBA_S3TC_DXT3_EXT", {0, 1, 0, 7 / 15.0}),
              "77 77 77 77 77 77 77 77 E0 07 E0 07 00 00 00 00");
    EXPECT_EQ(block_in_hex("GL_COMPRESSED_RGBA_S3TC_DXT5_EXT", {0, 0, 1, 128 / 255.0}),
              "80 80 00 00 00 00 00 00 1F 00 1F 00 00 00 00 00");
    // 188 of 255 is 0.502886 on sRGB's curve; 23 of 31 is 189.2 of 255.
    EXPECT_EQ(block_in_hex("GL_COMPRESSED_SRGB_S3TC_DXT1_EXT", {0, 0, 0.502886, 0}),
              "17 00 17 00 00 00 00 00");
}

TEST(SurveyBlocks, of_bc4_to_bc7_are_two_equal_ends) {
    EXPECT_EQ(block_in_hex("GL_COMPRESSED_SIGNED_RED_RGTC1", {-1, 0, 0, 0}),
              "81 81 00 00 00 00 00 00");
    EXPECT_EQ(block_in_hex("GL_COMPRESSED_RG_RGTC2", {1, 2 / 255.0, 0, 0}),
              "FF FF 00 00 00 00 00 00 02 02 00 00 00 00 00 00");
    // 1 is 0x3C00 as a half, which is 495 * 31 + 15; 495 is 0111101111.
    EXPECT_EQ(block_in_hex("GL_COMPRESSED_RGB_BPTC_UNSIGNED_FLOAT", {1, 1, 1, 0}),
              "E3 BD F7 DE 7B EF BD F7 00 00 00 00 00 00 00 00");
    EXPECT_EQ(block_in_hex("GL_COMPRESSED_RGBA_BPTC_UNORM", {1, 0, 0, 1}),
              "20 FF 3F 00 00 00 FC FF 03 00 00 00 00 00 00 00");
}

TEST(SurveyBlocks, of_etc2_are_planar_or_the_base_color) {
    EXPECT_EQ(block_in_hex("GL_COMPRESSED_RGB8_ETC2", {1, 1, 1, 0}), "FF FF FB FF FF FF FF FF");
    EXPECT_EQ(block_in_hex("GL_COMPRESSED_RGB8_ETC2", {0, 0, 0, 0}), "00 00 04 02 00 00 00 00");
    EXPECT_EQ(block_in_hex("GL_COMPRESSED_RGBA8_ETC2_EAC", {0, 0, 0, 128 / 255.0}),
              "80 1D 92 49 24 92 49 24 00 00 04 02 00 00 00 00");
    const char* const withHole = "GL_COMPRESSED_RGB8_PUNCHTHROUGH_ALPHA1_ETC2";
    EXPECT_EQ(block_in_hex(withHole, {1, 0, 0, 1}), "F8 00 00 00 00 00 00 00");
    EXPECT_EQ(block_in_hex(withHole, {1, 0, 0, 0}), "00 00 00 00 FF FF 00 00");
}

TEST(SurveyBlocks, of_eac_have_eleven_bits_by_a_modifier) {
    EXPECT_EQ(block_in_hex("GL_COMPRESSED_R11_EAC", {1, 0, 0, 0}), "FF 0E 92 49 24 92 49 24");
    EXPECT_EQ(block_in_hex("GL_COMPRESSED_RG11_EAC", {0, 1028 / 2047.0, 0, 0}),
              "00 0E 00 00 00 00 00 00 80 0D 92 49 24 92 49 24");
    // Less than the tolerance: from -4 to 3 around the middle of the base's unit, 128 * 8 + 4.
    const char* const modified[] = {"80 0E 00 00 00 00 00 00", "80 0D 49 24 92 49 24 92",
                                    "80 0D 24 92 49 24 92 49", "80 0D 00 00 00 00 00 00",
                                    "80 0D 92 49 24 92 49 24", "80 0D B6 DB 6D B6 DB 6D",
                                    "80 0D DB 6D B6 DB 6D B6", "80 0E 92 49 24 92 49 24"};
    for (int i = 0; i < 8; ++i) {
        EXPECT_EQ(block_in_hex("GL_COMPRESSED_R11_EAC", {(1024 + i) / 2047.0, 0, 0, 0}),
                  modified[i]);
    }
    // The lowest of signed ones is -1019: -127 * 8 - 3.
    EXPECT_EQ(block_in_hex("GL_COMPRESSED_SIGNED_R11_EAC", {-1, 0, 0, 0}),
              "81 0D 49 24 92 49 24 92");
}

TEST(SurveyBlocks, of_astc_are_void_extents) {
    for (const char* name :
         {"GL_COMPRESSED_RGBA_ASTC_4x4_KHR", "GL_COMPRESSED_RGBA_ASTC_8x8_KHR"}) {
        EXPECT_EQ(block_in_hex(name, {1, 0, 128 / 255.0, 1 / 255.0}),
                  "FC FD FF FF FF FF FF FF FF FF 00 00 80 80 01 01");
    }
}

TEST(SurveyBlocks, are_of_many_colors) {
    for (const Format& format : formats()) {
        if (!format.is_compressed()) continue;
        std::set<Texel> colors;
        for (int i = 0; i < 32 * 32; ++i) colors.insert(block_pattern(format, i % 32, i / 32));
        // With one bit of alpha, half of them are transparent.
        EXPECT_GE(colors.size(), 120u) << format.name;
    }
}

TEST(SurveyBlocks, of_an_image_have_every_value_of_eight_bits) {
    std::set<double> values;
    const TexelImage image = block_colors(*find_format("GL_COMPRESSED_RED_RGTC1"), 128, 128);
    for (const Texel& texel : image.texels) values.insert(texel[0]);
    EXPECT_EQ(values.size(), 256u);
}

TEST(SurveyBlocks, lie_row_by_row_also_where_the_edges_cut_them) {
    const Format& format = *find_format("GL_COMPRESSED_RGBA_ASTC_6x6_KHR");
    const TexelImage image = make_image(13, 7, [](int x, int y) {
        const int column = x / 6;
        const int row = y / 6;
        return Texel{column / 255.0, row / 255.0, 0, 1};
    });
    const BlockBytes bytes = blocks_of(format, block_colors(format, image));
    ASSERT_EQ(bytes.size(), 3u * 2 * 16);
    EXPECT_EQ(bytes[16 + 9], 1);       // The second block's red,
    EXPECT_EQ(bytes[5 * 16 + 9], 2);   // and that of the last
    EXPECT_EQ(bytes[5 * 16 + 11], 1);  // with its green.
    EXPECT_EQ(block_colors(format, 13, 7, 4).at(2, 1), block_pattern(format, 4 + 2, 1));
}

}  // namespace
}  // namespace texprobe::survey
