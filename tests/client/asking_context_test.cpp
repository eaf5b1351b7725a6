// Contexts of each kind try themselves what they were answered, with the real tool and survey.

#include <OpenGL/gl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <string>

#include "TexProbeVerdicts.h"
#include "application_context.h"
#include "format_trial.h"
#include "records_of_test.h"
#include "support/formats.h"
#include "table/record_keys.h"
#include "table/record_text.h"

namespace texprobe::tests {
namespace {

bool is_of_tool(const survey::Format& format) {
    return std::any_of(std::begin(kFormats), std::end(kFormats),
                       [&](const Format& each) { return each.internalFormat == format.value; });
}

/// Records yes for all that is asked of the formats that the tool does not know, so that the survey
/// in the background tries the others only, which takes a fifth of the time.
void record_strange_formats(const ToolFolder& folder, survey::Profile profile) {
    const std::string name = survey::name_of(profile);
    const std::string program = (folder.path() / "texprobe-survey").string();
    // For the name of the set.
    ASSERT_EQ(std::system(('"' + program + "\" --profile " + name + " --format GL_RGBA8").c_str()),
              0);
    std::string rows;
    for (const survey::Format& format : survey::formats()) {
        if (is_of_tool(format)) continue;
        survey::FormatRecord record;
        for (const survey::Question& question : questions_of(format, profile)) {
            record.uses[question] = {survey::Verdict::kYes, ""};
        }
        rows += (rows.empty() ? "('" : ", ('") + key_of(profile, format) + "', '" +
                write_record(record) + "')";
    }
    folder.execute(
        "INSERT INTO records SELECT application, column1, 'string', column2 FROM (VALUES " + rows +
        "), records WHERE key = '" + name + "'");
}

TEST(AskingContext, contradicts_no_answer_and_has_all_of_them) {
    unsetenv("DISPLAY");
    unsetenv("WAYLAND_DISPLAY");
    const ToolFolder& folder = empty_folder(TOOL);
    std::filesystem::copy_file(SURVEY, folder.path() / "texprobe-survey");
    const ContextKind kinds[] = {{"compatibility", open_surfaceless, false, true},
                                 {"core 3.3", open_surfaceless_core, false, false},
                                 {"core 4.5", open_surfaceless_core_45, false, false},
                                 {"OpenGL ES 3", open_surfaceless_es, false, false}};
    const std::string tool = folder.tool();
    record_strange_formats(folder, survey::Profile::kCore);
    record_strange_formats(folder, survey::Profile::kEs);
    for (const ContextKind& kind : kinds) {
        const auto context = kind.open();
        // Softpipe has no version 4.5.
        if (!glGetString(GL_VERSION)) continue;
        texprobe_options options = {};
        options.size = sizeof options;
        options.tool = tool.c_str();
        qor::TexProbeVerdicts verdicts(&options);
        ASSERT_EQ(verdicts.wait(), TEXPROBE_READY) << kind.name << verdicts.reason();
        EXPECT_STREQ(verdicts.reason(), "");
        int known = 0;
        int contradictions = 0;
        for (const Format& format : kFormats) {
            const FormatTrial trial(format);
            const auto compare = [&](texprobe_capability capability, bool expected) {
                const auto answer = verdicts.answer(format.internalFormat, capability);
                EXPECT_EQ(answer, expected ? TEXPROBE_YES : TEXPROBE_NO)
                    << kind.name << ' ' << format.name << ' ' << capability;
                known += answer != TEXPROBE_UNKNOWN;
                contradictions += answer == (expected ? TEXPROBE_NO : TEXPROBE_YES);
            };
            compare(TEXPROBE_SUPPORTED, trial.is_created());
            compare(TEXPROBE_RENDERABLE, trial.is_rendered());
            // Of the tool's, some need another that is a no.
            for (int i = TEXPROBE_UPLOAD_SET; !kind.isOfTool && i <= TEXPROBE_DOWNLOAD_READ; ++i) {
                EXPECT_NE(
                    verdicts.answer(format.internalFormat, static_cast<texprobe_capability>(i)),
                    TEXPROBE_UNKNOWN)
                    << kind.name << ' ' << format.name << ' ' << i;
            }
        }
        EXPECT_EQ(known, 32) << kind.name;
        std::printf("%s on %s: %d contradictions, %d of 32 known\n", kind.name,
                    reinterpret_cast<const char*>(glGetString(GL_RENDERER)), contradictions, known);
    }
}

}  // namespace
}  // namespace texprobe::tests
