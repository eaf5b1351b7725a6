// Contexts of each kind try themselves what they were answered, with the real tool and survey.

#include <OpenGL/gl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>

#include "TexProbeVerdicts.h"
#include "application_context.h"
#include "format_trial.h"
#include "records_of_test.h"
#include "support/answers.h"
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
    const struct {
        const char* name;
        Wish wish;
    } kinds[] = {
        {"compatibility", {}}, {"core 3.3", kCore33}, {"core 4.5", kCore45}, {"OpenGL ES 3", kES3}};
    const std::string tool = folder.tool();
    record_strange_formats(folder, survey::Profile::kCore);
    record_strange_formats(folder, survey::Profile::kEs);
    for (const auto& kind : kinds) {
        SCOPED_TRACE(kind.name);
        std::unique_ptr<ApplicationContext> context;
        try {
            context = open_surfaceless(kind.wish);
        } catch (const std::runtime_error& failure) {
            EXPECT_EQ(kind.wish.minor, 5) << "softpipe has no version 4.5: " << failure.what();
            continue;
        }
        texprobe_options options = {};
        options.size = sizeof options;
        options.tool = tool.c_str();
        qor::TexProbeVerdicts verdicts(&options);
        ASSERT_EQ(verdicts.wait(), TEXPROBE_READY) << verdicts.reason();
        EXPECT_STREQ(verdicts.reason(), "");
        const bool isOfTool = !kind.wish.isES && !kind.wish.isCore;
        for (const Format& format : kFormats) {
            const std::string answers = answers_of(verdicts, format.internalFormat);
            EXPECT_EQ(answers.substr(0, 2), try_format(format)) << format.name;
            // Of the tool's, some need another that is a no.
            EXPECT_TRUE(isOfTool || answers.find('?') == std::string::npos) << format.name;
        }
    }
}

}  // namespace
}  // namespace texprobe::tests
