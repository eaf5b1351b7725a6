// The tool, as built for users except for the location of its records, on real renderers.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <regex>

#include "mesa_renderer.h"
#include "support/formats.h"
#include "support/tool_folder.h"

namespace texprobe::tests {
namespace {

using testing::HasSubstr;

/// The text with every process ID in brackets replaced by "[PID]".
std::string without_process_ids(const std::string& text) {
    static const std::regex pattern(R"((^|\n)([^\n\[]*)\[[0-9]+\])");
    return std::regex_replace(text, pattern, "$1$2[PID]");
}

/// What was printed of the tests: every line that ends with a verdict or tells a distance.
std::vector<std::string> test_lines(const std::string& err) {
    static const std::regex pattern(": [01]$|^test_check_data score: ");
    std::vector<std::string> lines = lines_of(without_process_ids(err));
    std::erase_if(lines, [](const std::string& line) { return !regex_search(line, pattern); });
    return lines;
}

/// The set whose renderer is Mesa's software driver of that name.
RecordSets::const_iterator find_renderer(const RecordSets& sets, const std::string& renderer) {
    return std::find_if(sets.begin(), sets.end(), [&](const auto& set) {
        const auto found = set.second.find("GL_RENDERER");
        return found != set.second.end() && found->second.rfind("string " + renderer, 0) == 0;
    });
}

class Renderers : public testing::TestWithParam<MesaRenderer> {
protected:
    void SetUp() override {
        const std::string missing = prepare(GetParam());
        if (!missing.empty()) GTEST_SKIP() << missing;
    }

    const Environment& environment() const { return GetParam().environment; }

    const ToolFolder folder_{TOOL};
};

TEST_P(Renderers, first_run_prints_and_records_every_verdict) {
    const Finished run = folder_.run({}, environment());
    ASSERT_TRUE(run.exited_with(0)) << run.err;
    const RecordSets sets = folder_.records();
    const auto set = find_renderer(sets, GetParam().name);
    ASSERT_NE(set, sets.end()) << "no " << GetParam().name << " among the renderers:\n" << run.err;
    const auto& [application, records] = *set;
    EXPECT_EQ(records.at("VERSION"), "double 0.21");
    constexpr const char* kLabels[] = {"supported",    "renderable",   "upload SET",
                                       "upload RESET", "download GET", "download READ"};
    std::vector<std::string> expected;
    for (const Format& format : kFormats) {
        for (std::size_t i = 0; i < kCapabilities.size(); ++i) {
            const auto record = records.find(std::string(format.name) + '_' + kCapabilities[i]);
            if (record == records.end()) continue;
            expected.push_back(application + "[PID] " + format.name + ' ' + kLabels[i] +
                               (record->second == "boolean 1" ? ": 1" : ": 0"));
        }
    }
    std::vector<std::string> printed = test_lines(run.err);
    std::erase_if(printed, [&, &name = application](const std::string& line) {
        return line.rfind(name + "[PID] ", 0) != 0;
    });
    EXPECT_EQ(printed, expected);
    for (const char* name : {"GL_VENDOR", "GL_VERSION"}) {
        EXPECT_THAT(without_process_ids(run.err),
                    HasSubstr(application + "[PID] " + name + ": " +
                              records.at(name).substr(std::string("string ").size()) + '\n'));
    }
    for (const char* format : {"GL_RGBA8", "GL_RGBA16", "GL_RGBA32F_ARB", "GL_LUMINANCE8"}) {
        EXPECT_EQ(records.at(std::string(format) + "_SUPPORTED"), "boolean 1") << format;
    }
    // 8-bit BGRA passes every test.
    for (const char* capability : kCapabilities) {
        EXPECT_EQ(records.at(std::string("GL_RGBA8_") + capability), "boolean 1") << capability;
    }
}

TEST_P(Renderers, second_run_measures_nothing_and_rewrites_the_strings) {
    ASSERT_TRUE(folder_.run({}, environment()).exited_with(0));
    const RecordSets first = folder_.records();
    folder_.execute("UPDATE records SET value = 'stale' WHERE key LIKE 'GL\\_VE%' ESCAPE '\\'");
    folder_.execute("DELETE FROM records WHERE key = 'GL_RENDERER'");
    ASSERT_NE(folder_.records(), first);

    const Finished second = folder_.run({}, environment());
    EXPECT_TRUE(second.exited_with(0));
    EXPECT_THAT(second.err, HasSubstr("] UP TO DATE (version: 0.21 >= 0.21)\n"));
    EXPECT_TRUE(test_lines(second.err).empty()) << second.err;
    EXPECT_EQ(folder_.records(), first);
}

std::string name_of(const testing::TestParamInfo<MesaRenderer>& renderer) {
    return renderer.param.name;
}
INSTANTIATE_TEST_SUITE_P(Mesa, Renderers, testing::ValuesIn(mesa_renderers()), name_of);

TEST(SafeMode, records_are_those_that_a_direct_run_in_another_environment_reads) {
    const ToolFolder folder(TOOL);
    // Mesa 25 makes the home where it is missing, and complains where it cannot.
    const std::string homes = "HOME=" + folder.path().string();
    ASSERT_TRUE(folder.run({"--safe"}, {homes + "/one", "PATH=/usr/bin:/bin", "LANG=de_DE.UTF-8"})
                    .exited_with(0));
    const RecordSets first = folder.records();
    const Finished direct =
        folder.run({}, {homes + "/another", "DISPLAY=:77", "XDG_CONFIG_HOME=/x"});
    EXPECT_TRUE(test_lines(direct.err).empty()) << direct.err;
    EXPECT_EQ(folder.records(), first);
}

TEST(SafeMode, costs_the_verdict_in_which_a_real_driver_dies_and_no_other) {
    const ToolFolder folder(FAILING_TOOL);
    ASSERT_TRUE(folder.run({"--safe"}).exited_with(0));
    RecordSets undisturbed = folder.records();
    folder.execute("DELETE FROM records");
    // Once, in the first renderer that runs the test.
    const std::string death = std::to_string(kFormats[6].internalFormat) + " 2 11!";
    write_file(folder.path() / "faults", death);
    EXPECT_TRUE(folder.run({"--safe"}).exited_with(0));
    std::vector<std::string> changed;
    for (const auto& [application, records] : folder.records()) {
        EXPECT_EQ(records.size(), undisturbed[application].size());
        for (const auto& [key, value] : records) {
            if (value != undisturbed[application][key])
                changed.push_back(std::string(key).append(" ").append(value));
        }
    }
    EXPECT_THAT(changed, testing::ElementsAre("GL_RGB8_UPLOAD_SET boolean 0"));
}

/// With Mesa's variables that change what the software renderer offers, the tool measures another
/// renderer.
class Overrides : public testing::TestWithParam<const char*> {
protected:
    const ToolFolder folder_{TOOL};
};

TEST_P(Overrides, leave_the_plain_renderer_s_records_alone) {
    ASSERT_TRUE(folder_.run().exited_with(0));
    const RecordSets plain = folder_.records();

    // Its end is not looked at: with GALLIUM_NOOP, Mesa 25.0 crashes after the last verdict.
    folder_.run({}, {GetParam()});
    RecordSets both = folder_.records();
    EXPECT_EQ(both.size(), 2 * plain.size());
    for (const auto& [application, records] : plain) {
        EXPECT_EQ(both[application], records) << application;
        both.erase(application);
    }
    for (const auto& [application, records] : both) EXPECT_NE(records, plain.begin()->second);
}

TEST_P(Overrides, are_not_seen_by_safe_mode_s_children) {
    const ToolFolder plain(TOOL);
    ASSERT_TRUE(plain.run().exited_with(0));
    ASSERT_TRUE(folder_.run({"--safe"}, {GetParam()}).exited_with(0));
    EXPECT_EQ(folder_.records(), plain.records());
}

INSTANTIATE_TEST_SUITE_P(OfMesa, Overrides,
                         testing::Values("MESA_EXTENSION_OVERRIDE=-GL_EXT_framebuffer_object",
                                         "MESA_GL_VERSION_OVERRIDE=2.1", "GALLIUM_NOOP=1",
                                         "LP_NATIVE_VECTOR_WIDTH=128"),
                         [](const auto& variable) {
                             const std::string text = variable.param;
                             return text.substr(0, text.find('='));
                         });

TEST(InfoPlist, is_embedded_in_the_product_whole) {
    const ToolFolder folder(PRODUCT);
    const std::string extract = "cd '" + folder.path().string() +
                                "' && objcopy --dump-section __info_plist=list texprobe copy"
                                " && cmp list '" INFO_PLIST "'";
    EXPECT_EQ(run_in_shell(extract), 0) << extract;
}

}  // namespace
}  // namespace texprobe::tests
