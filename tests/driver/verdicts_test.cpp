// The verdicts that a renderer's behaviour leads to.

#include <gtest/gtest.h>

#include "doubles/fake_tool.h"
#include "golden.h"

namespace texprobe::tests {
namespace {

/// The records of a run without the keys of `format` that are not in `kept`.
Values without(const std::string& format, const std::string& kept, Values values) {
    for (const std::string capability : kCapabilities) {
        std::string key = format;
        key.append("_").append(capability);
        if (kept.find(capability) == std::string::npos) values.erase(key);
    }
    return values;
}

TEST(VerdictsTest, good_renderer_passes_wherever_the_comparison_can) {
    const Values verdicts = golden_verdicts();
    for (const char* key :
         {"GL_RGB32F_ARB_UPLOAD_SET", "GL_LUMINANCE8_UPLOAD_RESET",
          "GL_LUMINANCE8_ALPHA8_UPLOAD_SET", "GL_RGB8_DOWNLOAD_GET", "GL_RGBA8_UPLOAD_SET",
          "GL_RGBA16_DOWNLOAD_READ", "GL_RGBA16F_ARB_UPLOAD_SET"}) {
        EXPECT_EQ(verdicts.at(key), "true") << key;
    }
    // All channels reversed, and the alpha compared with the next pixel's luminance.
    EXPECT_EQ(verdicts.at("GL_RGBA16_UPLOAD_SET"), "false");
    EXPECT_EQ(verdicts.at("GL_LUMINANCE8_ALPHA8_DOWNLOAD_GET"), "false");
}

TEST(VerdictsTest, a_no_leaves_what_needs_it_without_a_record) {
    const std::string uploads = "SUPPORTED RENDERABLE UPLOAD_SET UPLOAD_RESET";
    const struct {
        std::string order;
        std::string format;  ///< "" for all.
        const char* no;
        std::string kept;
    } rows[] = {{"substitute 1 GL_RGB8 GL_RGBA8", "GL_RGB8", "SUPPORTED", "SUPPORTED"},
                {"substitute 2 GL_RGB8 GL_RGBA8", "GL_RGB8", "RENDERABLE", uploads},
                {"incomplete GL_LUMINANCE16", "GL_LUMINANCE16", "RENDERABLE", uploads},
                {"string GL_EXTENSIONS GL_ARB_pixel_buffer_object", "", "RENDERABLE", uploads}};
    for (const auto& row : rows) {
        const FakeTool tool(kOneRenderer + row.order + "\n");
        ASSERT_TRUE(tool.run().exited_with(0));
        Values expected = golden_records();
        for (const Format& format : kFormats) {
            if (!row.format.empty() && row.format != format.name) continue;
            expected = without(format.name, row.kept, expected);
            expected[std::string(format.name) + "_" + row.no] = "false";
        }
        EXPECT_EQ(tool.records(), expected) << row.order;
    }
}

TEST(VerdictsTest, transfers_are_false_without_pixel_buffer_objects) {
    const FakeTool tool(kOneRenderer + "string GL_EXTENSIONS GL_EXT_framebuffer_object\n");
    ASSERT_TRUE(tool.run().exited_with(0));
    Values expected = golden_records();
    for (auto& [key, value] : expected) {
        if (key.find("LOAD_") != std::string::npos) value = "false";
    }
    EXPECT_EQ(tool.records(), expected);
}

TEST(VerdictsTest, format_that_is_not_supported_is_printed_once) {
    const FakeTool tool(kOneRenderer + "substitute 1 GL_RGB8 GL_RGBA8\n");
    const Finished run = tool.run();
    EXPECT_NE(run.err.find("] GL_RGB8 supported: 0\n" + kAppID), std::string::npos);
    EXPECT_EQ(run.err.find("GL_RGB8 renderable"), std::string::npos);
}

struct Distance {
    const char* key;
    unsigned long change;  // The sum of squares over the bytes that come back.
    unsigned long distance;
    bool match;
};

class DistanceTest : public testing::TestWithParam<Distance> {};

TEST_P(DistanceTest, matches_up_to_2684354) {
    const Distance& distance = GetParam();
    const FakeTool tool(kOneRenderer + "change " + distance.key + " " +
                        std::to_string(distance.change) + "\n");
    const Finished run = tool.run();
    EXPECT_TRUE(run.exited_with(0));
    EXPECT_EQ(tool.record(distance.key), distance.match ? "true" : "false");
    // 100 - 100 x 2684354 / 2^28 is 99.00000021, and one more gives 98.99999983.
    EXPECT_NE(
        run.err.find("test_check_data score: 99% (dist: " + std::to_string(distance.distance) +
                     " size: 268435456) match: " + (distance.match ? "1\n" : "0\n")),
        std::string::npos)
        << run.err;
}

INSTANTIATE_TEST_SUITE_P(
    Boundary, DistanceTest,
    testing::Values(Distance{"GL_LUMINANCE8_DOWNLOAD_GET", 2684354, 2684354, true},
                    Distance{"GL_LUMINANCE8_DOWNLOAD_GET", 2684355, 2684355, false},
                    Distance{"GL_LUMINANCE8_DOWNLOAD_READ", 2684354, 2684354, true},
                    Distance{"GL_LUMINANCE8_DOWNLOAD_READ", 2684355, 2684355, false},
                    Distance{"GL_RGBA8_UPLOAD_SET", 4UL * 2684354 + 3, 2684354, true},
                    Distance{"GL_RGBA8_UPLOAD_SET", 4UL * 2684355, 2684355, false},
                    Distance{"GL_RGBA8_UPLOAD_RESET", 4UL * 2684354 + 3, 2684354, true},
                    Distance{"GL_RGBA8_UPLOAD_RESET", 4UL * 2684355, 2684355, false}),
    [](const auto& test) {
        return std::string(test.param.key) + (test.param.match ? "_matches" : "_does_not");
    });

}  // namespace
}  // namespace texprobe::tests
