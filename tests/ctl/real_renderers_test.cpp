// Every command on the real tool and on the software renderers of this machine.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <nlohmann/json.hpp>
#include <sstream>

#include "ctl/ctl_folder.h"
#include "gl/mesa_renderer.h"

namespace texprobe::tests {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

/// What the programs are told to render with; the environment is otherwise empty.
class OnRenderer : public testing::TestWithParam<const char*> {
protected:
    static Environment environment() {
        return {"GALLIUM_DRIVER=" + std::string(GetParam()), "LIBGL_ALWAYS_SOFTWARE=1"};
    }

    CtlFolder folder_{CTL, TOOL};
};

/// The rows of a matrix, one blank between their words.
std::vector<std::string> matrix_rows(const std::string& text) {
    std::vector<std::string> rows;
    for (const std::string& line : lines_of(text)) {
        if (line.rfind("GL_", 0) != 0) continue;
        std::istringstream stream(line);
        std::string row;
        for (std::string word; stream >> word;) row += (row.empty() ? "" : " ") + word;
        rows.push_back(row);
    }
    return rows;
}

/// Whether every element that came back is the one that was sent, of the layouts in which a right
/// driver gets a no.
bool is_element_for_element(const json& inspection, const std::filesystem::path& images) {
    const std::string sent = read_file(images / "sent.raw");
    const std::string returned = read_file(images / "returned.raw");
    if (inspection["sent"] == inspection["returned"]) return sent == returned;
    const json blueFirst = {{"format", "GL_BGRA"}, {"type", "GL_UNSIGNED_SHORT"}};
    const json redFirst = {{"format", "GL_RGBA"}, {"type", "GL_UNSIGNED_BYTE"}};
    if (inspection["sent"] != blueFirst || inspection["returned"] != redFirst) return false;
    if (sent.size() != 2 * returned.size()) return false;
    constexpr std::size_t kPlaces[] = {2, 1, 0, 3};
    for (std::size_t i = 0; i < returned.size(); ++i) {
        std::uint16_t value = 0;
        std::memcpy(&value, sent.data() + 2 * (i / 4 * 4 + kPlaces[i % 4]), sizeof value);
        // 257 of its steps are one of eight bits.
        const int expected = (value + 128) / 257;
        if (std::abs(static_cast<unsigned char>(returned[i]) - expected) > 1) return false;
    }
    return true;
}

TEST_P(OnRenderer, every_command_does_its_work) {
    if (const std::string reason = prepare({GetParam(), {}}); !reason.empty()) {
        GTEST_SKIP() << reason;
    }
    const auto ctl = [&](const std::vector<std::string>& arguments) {
        return folder_.ctl(arguments, environment());
    };
    const Finished first = ctl({"measure"});
    const json probe = json::parse(ctl({"export"}).out);
    if (probe["record_sets"].empty() || !probe["record_sets"][0]["renderer"].is_string() ||
        probe["record_sets"][0]["renderer"].get<std::string>().find(GetParam()) ==
            std::string::npos) {
        GTEST_SKIP() << GetParam() << " is not installed";
    }
    ASSERT_TRUE(first.exited_with(0)) << first.err;
    EXPECT_THAT(first.out, HasSubstr("complete; of its machine's present build"));
    EXPECT_THAT(first.err, HasSubstr("96 of 96 verdicts"));
    const Finished again = ctl({"measure"});
    EXPECT_TRUE(again.exited_with(0));
    EXPECT_EQ(again.out, "Nothing has changed.\n");

    // The verdicts are those in the store, read without any of our own code.
    const json set = probe["record_sets"][0];
    EXPECT_EQ(set["complete"], true);
    EXPECT_EQ(set["present"], true);
    const auto records = folder_.records().at(set["id"]);
    const std::pair<const char*, const char*> capabilities[] = {
        {"SUPPORTED", "supported"},       {"RENDERABLE", "renderable"},
        {"UPLOAD_SET", "upload_set"},     {"UPLOAD_RESET", "upload_reset"},
        {"DOWNLOAD_GET", "download_get"}, {"DOWNLOAD_READ", "download_read"}};
    std::vector<std::string> rows;
    for (const json& format : set["formats"]) {
        std::ostringstream words;
        words << format["name"].get<std::string>();
        for (const auto& [key, member] : capabilities) {
            const auto record = records.find(format["name"].get<std::string>() + '_' + key);
            const std::string expected = record == records.end()         ? "not_applicable"
                                         : record->second == "boolean 1" ? "yes"
                                                                         : "no";
            EXPECT_EQ(format[member], expected) << format["name"] << ' ' << member;
            const json mark = {{"name", format["name"]}, {"capability", member}, {"of_test", true}};
            const bool isMarked =
                std::count(set["details"].begin(), set["details"].end(), mark) > 0;
            words << ' ' << (expected == "not_applicable" ? "n/a" : expected)
                  << (isMarked ? "*" : "");
        }
        rows.push_back(words.str());
    }

    // Each no is the test's own, element for element, or a driver's that is explained.
    const json found =
        json::parse(ctl({"inspect", "--all", "--json", "-o", folder_.file("noes")}).out);
    std::size_t ofTest = 0;
    for (const json& each : found["inspections"]) {
        const std::string sentence = each["sentence"];
        EXPECT_EQ(each["verdict"], "no") << sentence;
        std::string key = each["capability"];
        std::transform(key.begin(), key.end(), key.begin(), ::toupper);
        key.insert(0, each["name"].get<std::string>() + '_');
        if (each["of_test"]) {
            ++ofTest;
            EXPECT_TRUE(is_element_for_element(each, folder_.file("noes") / key)) << key;
        } else {
            std::printf("%s: %s: %s\n", GetParam(), key.c_str(), sentence.c_str());
            EXPECT_THAT(sentence, Not(HasSubstr("without a pattern"))) << key;
        }
    }
    EXPECT_EQ(std::count_if(set["details"].begin(), set["details"].end(),
                            [](const json& detail) { return detail.contains("of_test"); }),
              static_cast<std::ptrdiff_t>(ofTest));
    std::size_t noes = 0;
    for (const auto& [key, value] : records) noes += value == "boolean 0";
    EXPECT_EQ(found["inspections"].size(), noes);

    EXPECT_EQ(lines_of(ctl({"list"}).out).size(), 2u);
    EXPECT_EQ(matrix_rows(ctl({"show"}).out), rows);
    EXPECT_TRUE(ctl({"compare", "1", "1"}).exited_with(0));
    write_file(folder_.file("a.json"), ctl({"export", "--present"}).out);
    EXPECT_TRUE(ctl({"compare", "1", folder_.file("a.json")}).exited_with(0));
    EXPECT_THAT(ctl({"inspect", "GL_RGBA16", "set"}).out,
                HasSubstr("The driver is right to 8 bits, "));
    EXPECT_TRUE(ctl({"report", "-o", folder_.file("a.html")}).exited_with(0));
    EXPECT_THAT(ctl({"merge", folder_.file("a.json")}).out, HasSubstr("1 record set of 1 driver"));
    EXPECT_THAT(ctl({"doctor"}).out, HasSubstr("can be opened"));
    EXPECT_TRUE(ctl({"forget", "--all", "--yes"}).exited_with(0));
    EXPECT_TRUE(folder_.records().empty());
}

INSTANTIATE_TEST_SUITE_P(Software, OnRenderer, testing::Values("llvmpipe", "softpipe", "zink"),
                         [](const auto& renderer) { return std::string(renderer.param); });

}  // namespace
}  // namespace texprobe::tests
