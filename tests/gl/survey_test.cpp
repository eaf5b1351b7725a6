// texprobe-survey as it is built for users, except for the place of its records.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <map>
#include <thread>

#include "mesa_renderer.h"
#include "runs/measuring_turn.h"
#include "support/tool_folder.h"
#include "table/promises.h"
#include "table/record_text.h"

namespace texprobe::tests {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

const Environment kSurveySoftpipe = {"GALLIUM_DRIVER=softpipe"};
const std::string kUsage =
    "Usage: texprobe-survey [--profile compatibility|core|es] [--format GL_NAME] "
    "[--first GL_RENDERER] [--after-hang]\n";

/// The one record set of the survey.
Records survey_set(const ToolFolder& folder) {
    Records found;
    for (const auto& [application, records] : folder.records()) {
        if (application.rfind("org.texprobe.survey1.", 0) == 0) {
            EXPECT_TRUE(found.empty()) << "a second set";
            found = records;
        }
    }
    return found;
}

survey::FormatRecord read_survey_record(const Records& records, const std::string& key) {
    const auto found = records.find(key);
    if (found == records.end()) return {};
    // The store's text begins with the type.
    const std::string text = found->second.substr(std::string("string ").size());
    return survey::read_record(text).value_or(survey::FormatRecord{});
}

/// Of the uses without a layout.
std::string verdicts_of(const Records& records, const std::string& key) {
    std::string text;
    for (const auto& [question, judged] : read_survey_record(records, key).uses) {
        if (!question.layout.is_none()) continue;
        text += std::string(text.empty() ? "" : " ") + survey::name_of(judged.verdict);
    }
    return text;
}

/// How many transfers have which verdict: "30 yes".
std::string transfers_of(const Records& records, const std::string& key) {
    std::map<survey::Verdict, int> counts;
    for (const auto& [question, judged] : read_survey_record(records, key).uses) {
        if (!question.layout.is_none()) ++counts[judged.verdict];
    }
    std::string text;
    for (const auto& [verdict, count] : counts) {
        text += (text.empty() ? "" : ", ") + std::to_string(count) + ' ' + name_of(verdict);
    }
    return text;
}

/// Softpipe's records of a run with these arguments and without any trouble.
const Records& undisturbed_survey(const std::vector<std::string>& arguments = {}) {
    static std::map<std::vector<std::string>, Records> known;
    const auto [found, isNew] = known.try_emplace(arguments);
    if (!isNew) return found->second;
    const ToolFolder folder(SURVEY);
    const Finished run = folder.run(arguments, kSurveySoftpipe);
    EXPECT_TRUE(run.exited_with(0)) << run.err;
    return found->second = survey_set(folder);
}

TEST(Survey, records_every_format_of_every_profile_and_finds_what_mesa_does) {
    const Records& records = undisturbed_survey();
    EXPECT_EQ(records.size(), 3 * (survey::formats().size() + 3));
    EXPECT_THAT(records.at("compatibility"), HasSubstr("(Compatibility Profile) Mesa"));
    EXPECT_THAT(records.at("core"), HasSubstr("(Core Profile) Mesa"));
    EXPECT_THAT(records.at("es"), StartsWith("string OpenGL ES 3."));
    for (const survey::Profile profile : survey::kProfiles) {
        for (const survey::Format& format : survey::formats()) {
            const std::string key = std::string(survey::name_of(profile)) + '.' + format.name;
            EXPECT_TRUE(is_complete(format, profile, read_survey_record(records, key))) << key;
            // In the software that decodes them.
            if (format.is_compressed()) {
                EXPECT_EQ(verdicts_of(records, key), "yes yes yes yes yes yes") << key;
            }
        }
    }
    // What Mesa certainly does.
    for (const std::string profile : {"compatibility.", "core.", "es."}) {
        for (const char* name : {"GL_RGBA8", "GL_RG8", "GL_RGBA16F", "GL_SRGB8_ALPHA8",
                                 "GL_RGB10_A2", "GL_R11F_G11F_B10F"}) {
            EXPECT_EQ(verdicts_of(records, profile + name), "yes yes yes yes yes yes")
                << profile + name;
        }
        EXPECT_EQ(verdicts_of(records, profile + "GL_RGBA32UI"), "yes yes yes");
        // Rendering to three integers is not required anywhere.
        EXPECT_THAT(verdicts_of(records, profile + "GL_RGB32I"), StartsWith("yes yes "));
    }
    EXPECT_EQ(verdicts_of(records, "core.GL_LUMINANCE8"),
              "not_offered not_offered not_applicable not_applicable not_applicable "
              "not_applicable");
    EXPECT_THAT(verdicts_of(records, "compatibility.GL_LUMINANCE8"), StartsWith("yes yes yes yes"));
    EXPECT_THAT(verdicts_of(records, "es.GL_BGRA8_EXT"), StartsWith("yes "));
    // Three layouts of ten uses; in OpenGL ES one of eight, and another one to read.
    EXPECT_EQ(transfers_of(records, "compatibility.GL_RGBA8"), "30 yes");
    EXPECT_EQ(transfers_of(records, "core.GL_SRGB8_ALPHA8"), "30 yes");
    EXPECT_EQ(transfers_of(records, "core.GL_LUMINANCE8"), "");
    EXPECT_EQ(transfers_of(records, "es.GL_RGBA8"), "11 yes");
    EXPECT_EQ(transfers_of(records, "es.GL_DEPTH_COMPONENT16"), "10 yes");
    // OpenGL ES demands two layouts to read this in; Mesa 25 has one more than Mesa 22.
    EXPECT_THAT(transfers_of(records, "es.GL_RGB5_A1"),
                testing::AnyOf("18 yes, 6 not_offered", "21 yes, 3 not_offered"));
}

class SurveyRenderer : public testing::TestWithParam<MesaRenderer> {};

TEST_P(SurveyRenderer, does_what_every_profile_promises) {
    const std::string missing = prepare(GetParam());
    if (!missing.empty()) GTEST_SKIP() << missing;
    const ToolFolder folder(SURVEY);
    for (const char* name : {"GL_SRGB8_ALPHA8", "GL_RGB10_A2UI"}) {
        EXPECT_TRUE(folder.run({"--format", name}, GetParam().environment).exited_with(0));
    }
    const Records records = survey_set(folder);
    EXPECT_EQ(records.size(), 3u * 3 + 3 * 2);
    for (const std::string profile : {"compatibility", "core", "es"}) {
        EXPECT_EQ(verdicts_of(records, profile + ".GL_SRGB8_ALPHA8"), "yes yes yes yes yes yes")
            << records.at(profile + ".GL_SRGB8_ALPHA8");
        EXPECT_EQ(verdicts_of(records, profile + ".GL_RGB10_A2UI"), "yes yes yes")
            << records.at(profile + ".GL_RGB10_A2UI");
    }
}

INSTANTIATE_TEST_SUITE_P(Mesa, SurveyRenderer, testing::ValuesIn(mesa_renderers()),
                         [](const auto& renderer) { return renderer.param.name; });

TEST(Survey, does_only_what_is_asked_for_and_missing) {
    const ToolFolder folder(SURVEY);
    const Finished first = folder.run({"--format", "GL_R8UI", "--profile", "es"}, kSurveySoftpipe);
    EXPECT_TRUE(first.exited_with(0));
    EXPECT_EQ(first.out, "");
    const std::vector<std::string> lines = lines_of(first.err);
    ASSERT_EQ(lines.size(), 2u) << first.err;
    EXPECT_THAT(lines[0], HasSubstr("] es: OpenGL ES 3."));
    EXPECT_THAT(lines[1], HasSubstr("] es GL_R8UI: create yes, create_storage yes, render yes"));
    EXPECT_THAT(lines[1], StartsWith("org.texprobe.survey1."));
    const Records records = survey_set(folder);
    EXPECT_EQ(records.size(), 4u);
    EXPECT_THAT(records.at("es.GL_RENDERER"), StartsWith("string softpipe"));
    EXPECT_EQ(records.count("es.GL_VENDOR"), 1u);
    const Finished second = folder.run({"--profile", "es", "--format", "GL_R8UI"}, kSurveySoftpipe);
    EXPECT_TRUE(second.exited_with(0));
    EXPECT_EQ(second.err, "");
    EXPECT_EQ(survey_set(folder), records);
}

TEST(Survey, refuses_other_arguments) {
    const ToolFolder folder(SURVEY);
    const auto refuse = [&](const std::vector<std::string>& arguments, const std::string& reason) {
        const Finished run = folder.run(arguments, kSurveySoftpipe);
        EXPECT_TRUE(run.exited_with(1));
        EXPECT_EQ(run.err, reason + kUsage);
        EXPECT_EQ(run.out, "");
    };
    refuse({"--safe"}, "");
    refuse({"--profile"}, "*** no profile: \n");
    refuse({"--profile", "gles"}, "*** no profile: gles\n");
    refuse({"--format", "RGBA8"}, "*** no format of the survey: RGBA8\n");
    refuse({"--profile", "es", "--profile", "core"}, "");
    refuse({"--after-hang", "--after-hang"}, "");
    refuse({"--first"}, "");
    refuse({"--first", "one", "--first", "two"}, "");
    EXPECT_FALSE(std::filesystem::exists(folder.database()));
}

TEST(Survey, fails_where_nothing_can_be_recorded) {
    const ToolFolder folder(SURVEY);
    std::ofstream(folder.path() / "records") << "in the way";
    const Finished run = folder.run({"--format", "GL_R8UI"}, kSurveySoftpipe);
    EXPECT_TRUE(run.exited_with(1)) << run.err;
    EXPECT_THAT(run.err, testing::Not(HasSubstr("create"))) << "the driver was touched";
    EXPECT_THAT(run.err, HasSubstr("run texprobe-survey and texprobe to measure everything again"));
}

TEST(Survey, succeeds_when_everything_is_recorded_after_a_damaged_store_was_put_aside) {
    const ToolFolder folder(SURVEY);
    std::filesystem::create_directory(folder.path() / "records");
    std::ofstream(folder.path() / "records" / "records.sqlite3") << "damaged beyond recognition";
    const Finished run = folder.run({"--format", "GL_R8UI"}, kSurveySoftpipe);
    EXPECT_TRUE(run.exited_with(0)) << run.err;
    EXPECT_THAT(run.err, HasSubstr("is damaged"));
    EXPECT_EQ(survey_set(folder), undisturbed_survey({"--format", "GL_R8UI"}));
}

const std::vector<std::string> kCoreOnly = {"--profile", "core"};
const std::vector<std::string> kRgba8InCore = {"--profile", "core", "--format", "GL_RGBA8"};

TEST(Survey, beside_another_survey_and_the_tool_loses_and_changes_nothing) {
    const ToolFolder folder(SURVEY);
    std::filesystem::copy_file(TOOL, folder.path() / "tool");
    const pid_t tool = start({folder.path() / "tool", {}, kSurveySoftpipe});
    const pid_t one = start({folder.tool(), kCoreOnly, kSurveySoftpipe});
    const pid_t two = start({folder.tool(), kCoreOnly, kSurveySoftpipe});
    EXPECT_TRUE(finish(tool).exited_with(0));
    EXPECT_TRUE(finish(one).exited_with(0));
    EXPECT_TRUE(finish(two).exited_with(0));
    EXPECT_EQ(survey_set(folder), undisturbed_survey(kCoreOnly));
    const RecordSets sets = folder.records();
    const auto ofTool = std::find_if(sets.begin(), sets.end(), [](const auto& set) {
        return set.first.rfind("org.texprobe.texprobe2.", 0) == 0;
    });
    ASSERT_NE(ofTool, sets.end());
    EXPECT_EQ(ofTool->second.count("GL_RENDERER"), 1u);
}

TEST(Survey, ends_between_two_formats_when_it_is_interrupted) {
    const ToolFolder folder(SURVEY);
    const std::filesystem::path errors = folder.path() / "err";
    const pid_t survey =
        start({folder.tool(), kCoreOnly, kSurveySoftpipe, {}, "/dev/null", errors});
    std::error_code ignored;
    while (!has_ended(survey) && (!std::filesystem::exists(errors) ||
                                  std::filesystem::file_size(errors, ignored) < 1000)) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    kill(survey, SIGTERM);
    const Finished ended = finish(survey);
    EXPECT_TRUE(WIFSIGNALED(ended.status) && WTERMSIG(ended.status) == SIGTERM);
    const Records until = survey_set(folder);
    int formats = 0;
    for (const survey::Format& format : survey::formats()) {
        const std::string key = std::string("core.") + format.name;
        if (until.count(key) == 0) continue;
        EXPECT_TRUE(is_complete(format, survey::Profile::kCore, read_survey_record(until, key)))
            << key;
        ++formats;
    }
    EXPECT_GE(formats, 3);
    EXPECT_LT(static_cast<std::size_t>(formats), survey::formats().size());
}

/// A survey that hangs in a use of GL_RGBA8 in core profile.
pid_t start_hanging(const ToolFolder& folder) {
    std::ofstream(folder.path() / "die") << "core " << 0x8058 << " mipmap 0";
    const pid_t survey = start({folder.tool(), kRgba8InCore, kSurveySoftpipe});
    while (!has_ended(survey) && !std::filesystem::exists(folder.path() / "deaths")) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return survey;
}

void kill_from_outside(pid_t hung) {
    kill(hung, SIGKILL);
    finish(hung);
}

TEST(Survey, works_on_no_set_but_its_own) {
    const ToolFolder folder(SURVEY_DYING);
    const pid_t hung = start_hanging(folder);
    const std::string file = folder.path() / "measuring.lock";
    const std::string own = folder.records().begin()->first;
    std::string ofTool = own;
    ofTool.replace(0, std::string("org.texprobe.survey1").size(), "org.texprobe.texprobe2");
    EXPECT_FALSE(texprobe::SetAtRest(file, own).has_lasted());
    EXPECT_TRUE(texprobe::SetAtRest(file, ofTool).has_lasted()) << ofTool;
    kill_from_outside(hung);
}

TEST(Survey, tries_again_what_was_under_way_when_it_was_killed_from_outside) {
    const ToolFolder folder(SURVEY_DYING);
    kill_from_outside(start_hanging(folder));
    EXPECT_EQ(survey_set(folder).at("core.GL_RGBA8"), "string measuring\n");
    std::filesystem::remove(folder.path() / "die");
    EXPECT_TRUE(folder.run(kRgba8InCore, kSurveySoftpipe).exited_with(0));
    EXPECT_EQ(survey_set(folder).at("core.GL_RGBA8"),
              undisturbed_survey(kRgba8InCore).at("core.GL_RGBA8"));
}

TEST(Survey, records_a_hang_where_whoever_ended_it_says_so) {
    const ToolFolder folder(SURVEY_DYING);
    for (int i = 0; i < 2; ++i) {
        kill_from_outside(start_hanging(folder));
        std::filesystem::remove(folder.path() / "deaths");
    }
    std::vector<std::string> arguments = kRgba8InCore;
    arguments.insert(arguments.begin(), "--after-hang");
    EXPECT_TRUE(folder.run(arguments, kSurveySoftpipe).exited_with(0));
    const auto record = read_survey_record(survey_set(folder), "core.GL_RGBA8");
    EXPECT_EQ(record.uses.at(survey::Use::kMipmap).verdict, survey::Verdict::kHung);
    EXPECT_EQ(record.uses.at(survey::Use::kRender).verdict, survey::Verdict::kYes);
}

/// What remains of the undisturbed record if the process dies in that use.
std::string after_death(survey::FormatRecord record, const survey::Question& guilty) {
    using survey::Use;
    record.uses[guilty] = {survey::Verdict::kCrashed, ""};
    for (auto& [question, judged] : record.uses) {
        const bool isLost =
            guilty.use == Use::kCreate
                ? question.use > Use::kCreateStorage
                : guilty.use == Use::kCreateStorage && question.use == Use::kUploadPartStorage;
        if (isLost) judged = {survey::Verdict::kNotApplicable, ""};
    }
    return "string " + survey::write_record(record);
}

TEST(Survey, adds_what_is_missing_to_the_records_of_an_older_one) {
    const std::vector<std::string> arguments = {"--profile", "core", "--format", "GL_R8UI"};
    const ToolFolder folder(SURVEY);
    EXPECT_TRUE(folder.run(arguments, kSurveySoftpipe).exited_with(0));
    const std::string whole = survey_set(folder).at("core.GL_R8UI");
    // A verdict that no driver gives, so that it is known again.
    const std::string older = "create yes\ncreate_storage yes\nrender wrong: as before\n";
    folder.execute("UPDATE records SET value = '" + older + "' WHERE key = 'core.GL_R8UI'");
    EXPECT_TRUE(folder.run(arguments, kSurveySoftpipe).exited_with(0));
    const std::string transfers = whole.substr(whole.find("upload"));
    EXPECT_EQ(survey_set(folder).at("core.GL_R8UI"), "string " + older + transfers);
}

/// Dies in that question until each has a record of its own, and expects the loss of what needs it
/// alone.
void expect_loss_of(const survey::Question& guilty, const survey::Format& format,
                    survey::Profile profile, int signal) {
    const std::vector<std::string> arguments = {"--profile", survey::name_of(profile), "--format",
                                                format.name};
    const std::string key = arguments[1] + '.' + format.name;
    const ToolFolder folder(SURVEY_DYING);
    std::ofstream die(folder.path() / "die");
    die << arguments[1] << ' ' << format.value << ' ' << name_of(guilty.use) << ' ' << signal;
    if (!guilty.layout.is_none()) die << ' ' << guilty.layout.format << ' ' << guilty.layout.type;
    die.close();
    EXPECT_TRUE(WIFSIGNALED(folder.run(arguments, kSurveySoftpipe).status)) << key;
    EXPECT_EQ(survey_set(folder).at(key), "string measuring\n");
    for (int i = 0; i < 2; ++i) {
        EXPECT_TRUE(WIFSIGNALED(folder.run(arguments, kSurveySoftpipe).status)) << key;
    }
    EXPECT_TRUE(folder.run(arguments, kSurveySoftpipe).exited_with(0)) << key;
    EXPECT_EQ(survey_set(folder).at(key),
              after_death(read_survey_record(undisturbed_survey(arguments), key), guilty))
        << name_of(guilty);
}

TEST(Survey, dies_in_a_transfer_at_the_cost_of_that_layout_and_no_other) {
    using survey::Profile;
    using survey::Use;
    const survey::Layout packed = {0x1907, 0x8363};  // GL_RGB, GL_UNSIGNED_SHORT_5_6_5
    const survey::Layout bytes = {0x1907, 0x1401};   // GL_RGB, GL_UNSIGNED_BYTE
    const std::pair<Profile, survey::Question> deaths[] = {
        {Profile::kEs, {Use::kUploadPart, bytes}},
        {Profile::kCore, {Use::kUploadBuffer, packed}},
        {Profile::kEs, {Use::kReadPart, packed}},
        {Profile::kCore, {Use::kGet, bytes}}};
    for (const auto& [profile, guilty] : deaths) {
        expect_loss_of(guilty, *survey::find_format("GL_RGB565"), profile, SIGSEGV);
    }
}

class SurveyDeath : public testing::TestWithParam<survey::Profile> {};

TEST_P(SurveyDeath, in_a_use_costs_that_verdict_and_no_other) {
    constexpr int kDeadlySignals[] = {SIGSEGV, SIGABRT, SIGBUS, SIGKILL};
    // Each dies in one profile; scripts/check/faults lets twelve formats of each use die in all.
    int tried = 0;
    for (const char* name :
         {"GL_RGB565", "GL_R16F", "GL_RG32UI", "GL_COMPRESSED_RGBA_ASTC_6x6_KHR"}) {
        const survey::Format& format = *survey::find_format(name);
        for (const survey::Use use : survey::kUses) {
            if (!has_use(format, use) || tried++ % 3 != static_cast<int>(GetParam())) continue;
            expect_loss_of(use, format, GetParam(), kDeadlySignals[tried % 4]);
        }
    }
    // Three, of which one is integer, and the compressed one.
    EXPECT_EQ(tried, 6 + 6 + 3 + 6);
}

INSTANTIATE_TEST_SUITE_P(InProfile, SurveyDeath, testing::ValuesIn(survey::kProfiles),
                         [](const auto& profile) {
                             return std::string(survey::name_of(profile.param));
                         });

}  // namespace
}  // namespace texprobe::tests
