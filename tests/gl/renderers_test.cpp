// The tool, as built for users except for the location of its records, on real renderers.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <fstream>
#include <iterator>
#include <regex>
#include <set>

#include "mesa_renderer.h"
#include "support/formats.h"
#include "support/tool_folder.h"
#include "transcript.h"

namespace texprobe::tests {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

const Environment kSoftpipe = {"GALLIUM_DRIVER=softpipe"};

/// The transcript whose renderer is Mesa's software driver of that name.
const Transcript* find_renderer(const std::vector<Transcript>& transcripts, const RecordSets& sets,
                                const std::string& renderer) {
    for (const Transcript& transcript : transcripts) {
        const auto set = sets.find(transcript.application);
        if (set == sets.end() || set->second.count("GL_RENDERER") == 0) continue;
        if (set->second.at("GL_RENDERER").rfind("string " + renderer, 0) == 0) return &transcript;
    }
    return nullptr;
}

Records without_strings(Records records) {
    for (const char* key : {"GL_VENDOR", "GL_VERSION", "GL_RENDERER"}) records.erase(key);
    return records;
}

void expect_records_equal_verdicts(const Records& records, const Transcript& transcript) {
    Records expected;
    for (const auto& [key, verdict] : transcript.verdicts) {
        expected[key] = verdict ? "boolean 1" : "boolean 0";
    }
    expected["VERSION"] = "double 0.21";
    EXPECT_EQ(without_strings(records), expected);
    EXPECT_EQ(records.at("GL_VENDOR"), "string " + transcript.vendor);
    EXPECT_EQ(records.at("GL_VERSION"), "string " + transcript.version);
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
    const std::vector<Transcript> transcripts = read_transcripts(run.err, true);
    const RecordSets sets = folder_.records();
    const Transcript* transcript = find_renderer(transcripts, sets, GetParam().name);
    ASSERT_TRUE(transcript) << "no " << GetParam().name << " among the renderers:\n" << run.err;
    EXPECT_FALSE(transcript->upToDate);
    expect_records_equal_verdicts(sets.at(transcript->application), *transcript);
}

TEST_P(Renderers, first_run_finds_what_mesa_certainly_does) {
    const Finished run = folder_.run({}, environment());
    const std::vector<Transcript> transcripts = read_transcripts(run.err, true);
    const Transcript* transcript = find_renderer(transcripts, folder_.records(), GetParam().name);
    ASSERT_TRUE(transcript);
    for (const char* format : {"GL_RGBA8", "GL_RGBA16", "GL_RGBA32F_ARB", "GL_LUMINANCE8"}) {
        EXPECT_TRUE(transcript->verdicts.at(std::string(format) + "_SUPPORTED")) << format;
    }
    // 8-bit BGRA passes every test.
    for (const char* key : {"GL_RGBA8_RENDERABLE", "GL_RGBA8_UPLOAD_SET", "GL_RGBA8_UPLOAD_RESET",
                            "GL_RGBA8_DOWNLOAD_GET", "GL_RGBA8_DOWNLOAD_READ"}) {
        EXPECT_TRUE(transcript->verdicts.at(key)) << key;
    }
}

TEST_P(Renderers, listing_on_standard_output_is_whole) {
    const Finished run = folder_.run({}, environment());
    const std::vector<std::string> out = lines_of(without_process_ids(run.out));
    ASSERT_GE(out.size(), 4u) << run.out;
    EXPECT_EQ(out[0], "texprobe[PID] testing...");
    EXPECT_EQ(out[1], "org.texprobe.texprobe2[PID] testing...");
    std::smatch count;
    ASSERT_TRUE(std::regex_match(
        out[2], count, std::regex(R"(org\.texprobe\.texprobe2\[PID\] found ([0-9]+) displays:)")));
    const std::regex found(
        R"(found display [0-9]+ \([0-9a-f]+\) renderer ID: [1-9a-f][0-9a-f]* VRAM: [0-9]+ MB)");
    for (std::size_t i = 3; i < out.size(); ++i)
        EXPECT_TRUE(std::regex_match(out[i], found)) << out[i];
    EXPECT_EQ((out.size() - 3) % std::stoul(count[1]), 0u) << "every renderer behind every display";
}

TEST_P(Renderers, second_run_measures_nothing_and_rewrites_the_strings) {
    ASSERT_TRUE(folder_.run({}, environment()).exited_with(0));
    const RecordSets first = folder_.records();
    folder_.execute("UPDATE records SET value = 'stale' WHERE key LIKE 'GL\\_VE%' ESCAPE '\\'");
    folder_.execute("DELETE FROM records WHERE key = 'GL_RENDERER'");
    ASSERT_NE(folder_.records(), first);

    const Finished second = folder_.run({}, environment());
    EXPECT_TRUE(second.exited_with(0));
    for (const Transcript& transcript : read_transcripts(second.err, false)) {
        EXPECT_TRUE(transcript.upToDate);
    }
    EXPECT_EQ(folder_.records(), first);
}

TEST_P(Renderers, two_first_runs_print_the_same_distances) {
    const ToolFolder other(TOOL);
    const std::vector<Transcript> a = read_transcripts(folder_.run({}, environment()).err, true);
    const std::vector<Transcript> b = read_transcripts(other.run({}, environment()).err, true);
    ASSERT_EQ(a.size(), b.size());
    for (std::size_t i = 0; i < a.size(); ++i) EXPECT_EQ(a[i].scores, b[i].scores);
}

std::string name_of(const testing::TestParamInfo<MesaRenderer>& renderer) {
    return renderer.param.name;
}
INSTANTIATE_TEST_SUITE_P(Mesa, Renderers, testing::ValuesIn(mesa_renderers()), name_of);

TEST(SafeMode, in_an_empty_environment_gives_the_records_of_a_direct_run) {
    const ToolFolder direct(TOOL);
    const ToolFolder safe(TOOL);
    ASSERT_TRUE(direct.run().exited_with(0));
    const Finished run = safe.run({"--safe"});
    ASSERT_TRUE(run.exited_with(0)) << run.err;
    EXPECT_EQ(safe.records(), direct.records());
    EXPECT_THAT(without_process_ids(run.out), HasSubstr("texprobe[PID] safe mode testing...\n"));
}

TEST(SafeMode, records_are_those_that_a_direct_run_in_another_environment_reads) {
    const ToolFolder folder(TOOL);
    // Mesa 25 makes the home where it is missing, and complains where it cannot.
    const std::string homes = "HOME=" + folder.path().string();
    ASSERT_TRUE(folder.run({"--safe"}, {homes + "/one", "PATH=/usr/bin:/bin", "LANG=de_DE.UTF-8"})
                    .exited_with(0));
    const RecordSets first = folder.records();
    const Finished direct =
        folder.run({}, {homes + "/another", "DISPLAY=:77", "XDG_CONFIG_HOME=/x"});
    for (const Transcript& transcript : read_transcripts(direct.err, false)) {
        EXPECT_TRUE(transcript.upToDate);
    }
    EXPECT_EQ(folder.records(), first);
}

TEST(RecordSets, llvmpipe_and_softpipe_are_two_renderers) {
    const ToolFolder folder(TOOL);
    ASSERT_TRUE(folder.run().exited_with(0));
    ASSERT_TRUE(folder.run({}, kSoftpipe).exited_with(0));
    std::set<std::string> renderers;
    for (const auto& [application, records] : folder.records()) {
        EXPECT_THAT(application, StartsWith("org.texprobe.texprobe2."));
        renderers.insert(records.at("GL_RENDERER").substr(0, sizeof("string llvmpipe") - 1));
    }
    EXPECT_EQ(renderers.count("string llvmpipe"), 1u);
    EXPECT_EQ(renderers.count("string softpipe"), 1u);
}

TEST(InfoPlist, is_embedded_in_the_product_whole) {
    const ToolFolder folder(PRODUCT);
    const std::string extract = "cd '" + folder.path().string() +
                                "' && objcopy --dump-section __info_plist=list texprobe copy"
                                " && cmp list '" INFO_PLIST "'";
    EXPECT_EQ(run_in_shell(extract), 0) << extract;
}

}  // namespace
}  // namespace texprobe::tests
