// Contexts of each kind try themselves what they were answered, with the real tool and survey.

#include <OpenGL/gl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "TexProbeVerdicts.h"
#include "application_context.h"
#include "format_trial.h"
#include "records_of_test.h"
#include "support/formats.h"

namespace texprobe::tests {
namespace {

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
        for (const Format& format : kFormats) {
            const FormatTrial trial(format);
            const auto compare = [&](texprobe_capability capability, bool expected) {
                const auto answer = verdicts.answer(format.internalFormat, capability);
                EXPECT_EQ(answer, expected ? TEXPROBE_YES : TEXPROBE_NO)
                    << kind.name << ' ' << format.name << ' ' << capability;
                known += answer != TEXPROBE_UNKNOWN;
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
    }
}

}  // namespace
}  // namespace texprobe::tests
