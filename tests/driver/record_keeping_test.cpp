// What a run writes, removes and keeps, and when it reaches the disk.

#include <gtest/gtest.h>

#include "doubles/fake_tool.h"
#include "golden.h"

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

TEST(VersionTest, current_records_are_kept_and_others_measured_again) {
    const struct {
        const char* type;
        const char* value;
        bool isCurrent;
    } rows[] = {{"double", "0.21", true},    {"double", "0.22", true},
                {"double", "9e999", true},   {"double", "0.20999999999999996", false},
                {"double", "0.2099", false}, {"double", "0.2", false},
                {"double", "-9e999", false}, {"double", "x'7FF8000000000000'", false},
                {"string", "0.21", false},   {"boolean", "true", false},
                {nullptr, nullptr, false}};
    const FakeTool tool(kOneRenderer);
    ASSERT_TRUE(tool.run().exited_with(0));
    for (const auto& row : rows) {
        SCOPED_TRACE(row.type ? std::string(row.type) + " " + row.value : "missing");
        tool.remove_record("VERSION");
        if (row.type) tool.set_record("VERSION", row.type, row.value);
        tool.set_record("GL_RGBA8_UPLOAD_SET", "boolean", "false");
        const Finished run = tool.run();
        EXPECT_TRUE(run.exited_with(0));
        EXPECT_EQ(tool.record("GL_RGBA8_UPLOAD_SET"), row.isCurrent ? "false" : "true");
        EXPECT_EQ(second_line(run).substr(0, 10), row.isCurrent ? "UP TO DATE" : "VERSION: 0");
        if (!row.isCurrent) {
            EXPECT_EQ(tool.record("VERSION"), "0.20999999999999999");
        }
    }
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
    // Between the two lines of the extensions and those of the strings.
    EXPECT_NE(run.err.find(of_run(run.pid,
                                  "_object : SUPPORTED\n"
                                  "test_check_data score: 100% (dist: 0 size: 268435456) match: 1\n"
                                  "{A}[{P}] GL_RGB8 download READ: 1\n"
                                  "{A}[{P}] GL_RGBA8 supported: 1\n"
                                  "{A}[{P}] GL_VENDOR")),
              std::string::npos)
        << run.err;
}

TEST(FlagTest, single_absent_flag_is_the_only_one_measured) {
    FakeTool tool(kOneRenderer);
    ASSERT_TRUE(tool.run().exited_with(0));
    for (const char* capability : kCapabilities) {
        SCOPED_TRACE(capability);
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
    Values expected = {{"VERSION", "0.20999999999999999"}};
    EXPECT_EQ(observations.front(), std::make_pair(std::string(), expected));
    std::size_t next = 1;
    for (const GoldenTest& test : golden_tests()) {
        expected[test.key] = "false";
        EXPECT_EQ(observations[next++], std::make_pair(test.key, expected));
        expected[test.key] = test.verdict() ? "true" : "false";
    }
    EXPECT_EQ(observations.back(), std::make_pair(std::string(), golden_records()));
}

TEST(IdentificationTest, missing_string_leaves_no_record_and_removes_a_stale_one) {
    const std::pair<std::string, std::string> rows[] = {
        {"GL_VENDOR", "null GL_VENDOR"},
        {"GL_VERSION", "null GL_VERSION"},
        {"GL_RENDERER", "null GL_RENDERER"},
        // Not ASCII.
        {"GL_VENDOR", "string GL_VENDOR V\xC3\xA9ndor"},
        {"GL_VERSION", "string GL_VERSION 2.1\x80"},
        {"GL_RENDERER", "string GL_RENDERER \xFF"}};
    FakeTool tool(kOneRenderer);
    ASSERT_TRUE(tool.run().exited_with(0));
    for (const auto& [key, order] : rows) {
        SCOPED_TRACE(order);
        tool.set_script(kOneRenderer + order + "\n");
        const Finished run = tool.run();
        EXPECT_TRUE(run.exited_with(0));
        Values expected = golden_records();
        expected.erase(key);
        EXPECT_EQ(tool.records(), expected);
        const bool isPrinted = run.err.find("] " + key + ": (null)\n") != std::string::npos;
        EXPECT_EQ(isPrinted, key != "GL_RENDERER");
    }
}

TEST(IdentificationTest, empty_string_is_stored_as_one) {
    const FakeTool tool(kOneRenderer + "string GL_RENDERER\n");
    ASSERT_TRUE(tool.run().exited_with(0));
    EXPECT_EQ(tool.record("GL_RENDERER"), "\"\"");
}

}  // namespace
}  // namespace texprobe::tests
