// The verdicts of the real tool on the software renderers of this machine, and the reasons of its
// noes.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <nlohmann/json.hpp>

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

TEST_P(OnRenderer, has_its_verdicts_told_and_each_no_explained) {
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

    const json set = probe["record_sets"][0];
    const auto records = folder_.records().at(set["id"]);

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
}

INSTANTIATE_TEST_SUITE_P(Software, OnRenderer, testing::Values("llvmpipe", "softpipe", "zink"),
                         [](const auto& renderer) { return std::string(renderer.param); });

}  // namespace
}  // namespace texprobe::tests
