// The verdicts that a renderer's behaviour leads to.

#include <gtest/gtest.h>

#include <algorithm>

#include "doubles/fake_tool.h"
#include "golden.h"

namespace texprobe::tests {
namespace {

TEST(VerdictsTest, good_renderer_passes_wherever_the_comparison_can) {
    const Values verdicts = golden_records();
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

/// Removes the records of the capabilities of `format` that are not in `kept`.
void keep_only(const std::string& kept, const std::string& format, Values* records) {
    for (const char* capability : kCapabilities) {
        std::string key = format;
        key.append("_").append(capability);
        if (kept.find(capability) == std::string::npos) records->erase(key);
    }
}
const std::string kUploadsAlone = "SUPPORTED RENDERABLE UPLOAD_SET UPLOAD_RESET";

TEST(VerdictsTest, a_no_leaves_what_needs_it_without_a_record) {
    const struct {
        std::string order;
        std::string format;  ///< "" for all.
        const char* no;
        std::string kept;
    } rows[] = {
        {"substitute 1 GL_RGB8 GL_RGBA8", "GL_RGB8", "SUPPORTED", "SUPPORTED"},
        {"substitute 2 GL_RGB8 GL_RGBA8", "GL_RGB8", "RENDERABLE", kUploadsAlone},
        {"incomplete GL_LUMINANCE16", "GL_LUMINANCE16", "RENDERABLE", kUploadsAlone},
        {"string GL_EXTENSIONS GL_ARB_pixel_buffer_object", "", "RENDERABLE", kUploadsAlone}};
    for (const auto& row : rows) {
        const FakeTool tool(kOneRenderer + row.order + "\n");
        ASSERT_TRUE(tool.run().exited_with(0));
        Values expected = golden_records();
        for (const Format& format : kFormats) {
            if (!row.format.empty() && row.format != format.name) continue;
            keep_only(row.kept, format.name, &expected);
            expected[std::string(format.name) + "_" + row.no] = "false";
        }
        EXPECT_EQ(tool.records(), expected) << row.order;
    }
}

TEST(VerdictsTest, stored_ones_decide_which_tests_run) {
    const struct {
        Values stored;
        std::string kept;
    } rows[] = {{{{"SUPPORTED", "false"}}, "SUPPORTED"},
                {{{"RENDERABLE", "false"}}, kUploadsAlone},
                {{{"SUPPORTED", "false"}, {"RENDERABLE", "true"}},
                 "SUPPORTED RENDERABLE DOWNLOAD_GET DOWNLOAD_READ"}};
    for (const auto& row : rows) {
        const FakeTool tool(kOneRenderer);
        ASSERT_TRUE(tool.run().exited_with(0));
        Values expected = golden_records();
        keep_only(row.kept, "GL_RGB8", &expected);
        for (const std::string capability : kCapabilities) {
            tool.remove_record("GL_RGB8_" + capability);
        }
        for (const auto& [capability, verdict] : row.stored) {
            tool.set_record("GL_RGB8_" + capability, "boolean", verdict);
            expected["GL_RGB8_" + capability] = verdict;
        }
        const Finished run = tool.run();
        EXPECT_TRUE(run.exited_with(0));
        EXPECT_EQ(tool.records(), expected);
        // In silence, where nothing is tested.
        EXPECT_EQ(run.err.find("GL_RGB8 ") == std::string::npos, row.kept == "SUPPORTED");
    }
}

TEST(VerdictsTest, distance_up_to_2684354_matches) {
    // By the number of channels over which the mean is taken.
    const std::pair<const char*, unsigned long> tests[] = {{"GL_LUMINANCE8_DOWNLOAD_GET", 1},
                                                           {"GL_LUMINANCE8_DOWNLOAD_READ", 1},
                                                           {"GL_RGBA8_UPLOAD_SET", 4},
                                                           {"GL_RGBA8_UPLOAD_RESET", 4}};
    for (const unsigned long distance : {2684354UL, 2684355UL}) {
        const bool isMatch = distance == 2684354;
        std::string script = kOneRenderer;
        for (const auto& [key, channels] : tests) {
            // The sum of squares over the bytes that come back; the mean is truncated.
            const unsigned long sum = channels * distance + (isMatch ? channels - 1 : 0);
            script.append("change ").append(key) += " " + std::to_string(sum) + "\n";
        }
        const FakeTool tool(script);
        const Finished run = tool.run();
        EXPECT_TRUE(run.exited_with(0));
        Values expected = golden_records();
        for (const auto& test : tests) expected[test.first] = isMatch ? "true" : "false";
        EXPECT_EQ(tool.records(), expected);
        // 100 - 100 x 2684354 / 2^28 is 99.00000021, and one more gives 98.99999983.
        const std::string line = "test_check_data score: 99% (dist: " + std::to_string(distance) +
                                 " size: 268435456) match: " + (isMatch ? "1" : "0");
        const std::vector<std::string> lines = lines_of(run.err);
        EXPECT_EQ(std::count(lines.begin(), lines.end(), line), 4) << run.err;
    }
}

}  // namespace
}  // namespace texprobe::tests
