// What a run writes, removes and keeps, and when it reaches the disk.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "doubles/fake_tool.h"
#include "golden.h"
#include "records/records.h"

namespace texprobe::tests {
namespace {

std::string second_line(const Finished& run) {
    const std::string line = lines_of(run.err).at(1);
    return line.substr(line.find("] ") + 2);
}

TEST(RecordKeepingTest, first_run_leaves_a_hundred_records) {
    const FakeTool tool(kOneRenderer);
    ASSERT_TRUE(tool.run().exited_with(0));
    EXPECT_EQ(tool.records().size(), 100u);
    EXPECT_EQ(tool.records(), golden_records());
}

TEST(RecordKeepingTest, second_run_rewrites_the_identification_strings_and_nothing_else) {
    FakeTool tool(kOneRenderer);
    ASSERT_TRUE(tool.run().exited_with(0));
    tool.set_script(kOneRenderer +
                    "string GL_VENDOR New Vendor\n"
                    "string GL_VERSION 3.0\n"
                    "string GL_RENDERER New Renderer\n"
                    "substitute 1 GL_RGBA8 GL_RGB8\n");
    ASSERT_TRUE(tool.run().exited_with(0));
    Values expected = golden_records();
    expected["GL_VENDOR"] = "\"New Vendor\"";
    expected["GL_VERSION"] = "\"3.0\"";
    expected["GL_RENDERER"] = "\"New Renderer\"";
    EXPECT_EQ(tool.records(), expected);
}

struct Version {
    const char* label;
    const char* type;
    const char* value;
    bool current;
};

class VersionTest : public testing::TestWithParam<Version> {};

TEST_P(VersionTest, current_records_are_kept_and_others_measured_again) {
    const FakeTool tool(kOneRenderer);
    ASSERT_TRUE(tool.run().exited_with(0));
    tool.remove_record("VERSION");
    if (GetParam().type) tool.set_record("VERSION", GetParam().type, GetParam().value);
    tool.set_record("GL_RGBA8_UPLOAD_SET", "boolean", "false");
    const Finished run = tool.run();
    EXPECT_TRUE(run.exited_with(0));
    EXPECT_EQ(tool.record("GL_RGBA8_UPLOAD_SET"), GetParam().current ? "false" : "true");
    EXPECT_EQ(second_line(run).substr(0, 10), GetParam().current ? "UP TO DATE" : "VERSION: 0");
    if (!GetParam().current) {
        EXPECT_EQ(tool.record("VERSION"), "0.20999999999999999");
    }
}

INSTANTIATE_TEST_SUITE_P(
    Rule, VersionTest,
    testing::Values(
        Version{"ours", "double", "0.21", true}, Version{"newer", "double", "0.22", true},
        Version{"infinite", "double", "9e999", true},
        Version{"just_below", "double", "0.20999999999999996", false},
        Version{"older", "double", "0.2099", false}, Version{"much_older", "double", "0.2", false},
        Version{"negative_infinity", "double", "-9e999", false},
        Version{"not_a_number", "double", "x'7FF8000000000000'", false},
        Version{"text", "string", "0.21", false}, Version{"boolean", "boolean", "true", false},
        Version{"missing", nullptr, nullptr, false}),
    [](const auto& test) { return std::string(test.param.label); });

TEST(VersionRuleTest, not_a_number_is_not_current) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const CFNumberRef number = CFNumberCreate(nullptr, kCFNumberDoubleType, &nan);
    double version = 0.0;
    EXPECT_FALSE(is_current_version(number, &version));
    EXPECT_TRUE(std::isnan(version));
    CFRelease(number);
}

TEST(ResetTest, removes_the_96_flags_and_keeps_everything_else) {
    FakeTool tool(kOneRenderer);
    ASSERT_TRUE(tool.run().exited_with(0));
    const std::string other = "org.texprobe.texprobe2.20401.TESTBUILD";
    tool.set_record("VERSION", "double", "0.2");
    tool.set_record("GL_RGBA8_OTHER", "boolean", "true");
    tool.set_record("GL_RGBA8_SUPPORTED", "boolean", "true", other);
    // Ends the process right after the reset.
    tool.set_script(kOneRenderer + "fail CGLChoosePixelFormat 1\n");
    ASSERT_TRUE(tool.run().exited_with(1));
    EXPECT_EQ(tool.records(), (Values{{"VERSION", "0.20999999999999999"},
                                      {"GL_VENDOR", "\"Fake Vendor\""},
                                      {"GL_VERSION", "\"2.1 Fake\""},
                                      {"GL_RENDERER", "\"Fake Renderer\""},
                                      {"GL_RGBA8_OTHER", "true"}}));
    EXPECT_EQ(tool.record("GL_RGBA8_SUPPORTED", other), "true");
}

TEST(FlagTest, value_that_is_no_boolean_is_measured_again_and_replaced) {
    const FakeTool tool(kOneRenderer);
    ASSERT_TRUE(tool.run().exited_with(0));
    tool.set_record("GL_RGBA8_SUPPORTED", "string", "perhaps");
    tool.set_record("GL_RGB8_DOWNLOAD_READ", "string", "");
    const Finished run = tool.run();
    EXPECT_TRUE(run.exited_with(0));
    EXPECT_EQ(tool.records(), golden_records());
    const std::vector<std::string> lines = lines_of(run.err);
    const std::string prefix = kAppID + "[" + std::to_string(run.pid) + "] ";
    ASSERT_EQ(lines.size(), 9u) << run.err;
    EXPECT_EQ(lines[4], "test_check_data score: 100% (dist: 0 size: 268435456) match: 1");
    EXPECT_EQ(lines[5], prefix + "GL_RGB8 download READ: 1");
    EXPECT_EQ(lines[6], prefix + "GL_RGBA8 supported: 1");
}

TEST(FlagTest, stored_flags_decide_which_tests_run) {
    const Values downloads = {{"DOWNLOAD_GET", ""}, {"DOWNLOAD_READ", ""}};
    const Values uploads = {{"UPLOAD_SET", ""}, {"UPLOAD_RESET", ""}};
    Values all = uploads;
    all.insert(downloads.begin(), downloads.end());
    all["RENDERABLE"] = "";
    const struct {
        Values stored;
        Values absent;
    } rows[] = {{{{"SUPPORTED", "false"}}, all},
                {{{"RENDERABLE", "false"}}, downloads},
                {{{"SUPPORTED", "false"}, {"RENDERABLE", "true"}}, uploads}};
    for (const auto& row : rows) {
        const FakeTool tool(kOneRenderer);
        ASSERT_TRUE(tool.run().exited_with(0));
        for (const std::string capability : kCapabilities) {
            tool.remove_record("GL_RGB8_" + capability);
        }
        Values expected = golden_records();
        for (const auto& [capability, verdict] : row.stored) {
            tool.set_record("GL_RGB8_" + capability, "boolean", verdict);
            expected["GL_RGB8_" + capability] = verdict;
        }
        for (const auto& each : row.absent) expected.erase("GL_RGB8_" + each.first);
        const Finished run = tool.run();
        EXPECT_TRUE(run.exited_with(0));
        EXPECT_EQ(tool.records(), expected);
        // In silence, where nothing is tested.
        EXPECT_EQ(run.err.find("GL_RGB8 ") == std::string::npos, row.absent == all);
    }
}

TEST(FlagTest, single_absent_flag_is_the_only_one_measured) {
    for (const char* capability : kCapabilities) {
        SCOPED_TRACE(capability);
        FakeTool tool(kOneRenderer);
        ASSERT_TRUE(tool.run().exited_with(0));
        tool.remove_record(std::string("GL_RGB8_") + capability);
        tool.set_script(kOneRenderer + "log\n");
        ASSERT_TRUE(tool.run().exited_with(0));
        std::size_t synchronizations = 0;
        for (const std::string& call : tool.calls()) {
            synchronizations += call == "CFPreferencesAppSynchronize(" + kAppID + ")";
        }
        EXPECT_EQ(synchronizations, 2u) << "one test, and the end";
        EXPECT_EQ(tool.records(), golden_records());
    }
}

// As another connection reads them after each synchronization.
TEST(SynchronizationTest, version_provisional_falses_and_earlier_verdicts_are_on_disk) {
    const FakeTool tool(kOneRenderer + "observe\n");
    ASSERT_TRUE(tool.run().exited_with(0));
    const auto observations = tool.observations();
    ASSERT_EQ(observations.size(), 98u);
    const Values verdicts = golden_verdicts();
    Values expected = {{"VERSION", "0.20999999999999999"}};
    EXPECT_EQ(observations.front(), std::make_pair(std::string(), expected));
    std::size_t next = 1;
    for (const Format& format : kFormats) {
        for (const char* capability : kCapabilities) {
            const std::string key = std::string(format.name) + "_" + capability;
            expected[key] = "false";
            EXPECT_EQ(observations[next++], std::make_pair(key, expected));
            expected[key] = verdicts.at(key);
        }
    }
    EXPECT_EQ(observations.back(), std::make_pair(std::string(), golden_records()));
}

struct MissingString {
    const char* key;
    const char* order;
    const char* label;
};

class MissingStringTest : public testing::TestWithParam<MissingString> {};

TEST_P(MissingStringTest, leaves_no_record_and_removes_a_stale_one) {
    FakeTool tool(kOneRenderer);
    ASSERT_TRUE(tool.run().exited_with(0));
    tool.set_script(kOneRenderer + GetParam().order + "\n");
    const Finished run = tool.run();
    EXPECT_TRUE(run.exited_with(0));
    Values expected = golden_records();
    expected.erase(GetParam().key);
    EXPECT_EQ(tool.records(), expected);
    const bool printed = std::string(GetParam().key) != "GL_RENDERER";
    EXPECT_EQ(run.err.find(std::string("] ") + GetParam().key + ": (null)\n") != std::string::npos,
              printed);
}

INSTANTIATE_TEST_SUITE_P(
    ThreeStrings, MissingStringTest,
    testing::Values(MissingString{"GL_VENDOR", "null GL_VENDOR", "null_vendor"},
                    MissingString{"GL_VERSION", "null GL_VERSION", "null_version"},
                    MissingString{"GL_RENDERER", "null GL_RENDERER", "null_renderer"},
                    MissingString{"GL_VENDOR", "string GL_VENDOR V\xC3\xA9ndor",
                                  "vendor_not_ascii"},
                    MissingString{"GL_VERSION", "string GL_VERSION 2.1\x80", "version_not_ascii"},
                    MissingString{"GL_RENDERER", "string GL_RENDERER \xFF", "renderer_not_ascii"}),
    [](const auto& test) { return std::string(test.param.label); });

TEST(IdentificationTest, empty_string_is_stored_as_one) {
    const FakeTool tool(kOneRenderer + "string GL_RENDERER\n");
    ASSERT_TRUE(tool.run().exited_with(0));
    EXPECT_EQ(tool.record("GL_RENDERER"), "\"\"");
}

}  // namespace
}  // namespace texprobe::tests
