// A driver that dies or hangs whenever a use of a format is tried, under `texprobectl survey`: that
// use gets the verdict, and all the others of the profile are as without the fault.

#include <gtest/gtest.h>
#include <table/promises.h>
#include <table/record_text.h>

#include <csignal>
#include <filesystem>
#include <fstream>

#include "ctl/ctl_folder.h"
#include "support/fault_rows.h"

namespace texprobe::tests {
namespace {

/// What the driver does, as the dying survey is told, and what is recorded of it.
struct SurveyEnding {
    int order;
    const char* record;
};

constexpr SurveyEnding kSurveyEndings[] = {
    {SIGSEGV, "crashed: ended by SIGSEGV"}, {0, "hung: did not end within 2 s"},
    {SIGABRT, "crashed: ended by SIGABRT"}, {SIGKILL, "crashed: ended by SIGKILL"},
    {SIGBUS, "crashed: ended by SIGBUS"},   {-3, "crashed: ended the tool with status 3"}};

/// Deaths of each use and each kind of context; a sample has less.
constexpr std::size_t kDeathsOfUse = FAULT_STRIDE == 1 ? 12 : 1;
constexpr std::ptrdiff_t kKindsOfContext = FAULT_STRIDE == 1 ? 3 : 1;

class SurveyDeaths : public testing::TestWithParam<survey::Profile> {
protected:
    SurveyDeaths() {
        std::filesystem::copy_file(SURVEY_DYING, folder_.file("texprobe-survey"));
        EXPECT_TRUE(survey({}).exited_with(0));
        undisturbed_ = stored_ = survey_records();
    }

    std::string key_of_format(const survey::Format& format) const {
        return std::string(name_of(GetParam())) + '.' + format.name;
    }
    Finished survey(std::vector<std::string> choice) const {
        choice.insert(choice.begin(), {"survey", "--json", "--timeout", "2", "--profile",
                                       survey::name_of(GetParam())});
        return folder_.ctl(choice, {"GALLIUM_DRIVER=softpipe"});
    }
    Records survey_records() const {
        const RecordSets sets = folder_.records();
        return sets.size() == 1 ? sets.begin()->second : Records();
    }
    survey::FormatRecord record_of(const survey::Format& format) const {
        const std::string text = undisturbed_.at(key_of_format(format));
        return survey::read_record(text.substr(std::string("string ").size())).value();
    }

    /// The formats in which the driver comes to the use.
    std::vector<const survey::Format*> formats_that_try(survey::Use use) const {
        std::vector<const survey::Format*> formats;
        for (const survey::Format& format : survey::formats()) {
            if (format.value == survey::kBgra8) continue;  // The driver is given another number.
            const survey::FormatRecord record = record_of(format);
            const auto found = record.uses.find(use);
            if (found == record.uses.end()) continue;
            const survey::Verdict verdict = found->second.verdict;
            const bool isTried = verdict == survey::Verdict::kYes ||
                                 verdict == survey::Verdict::kWrong || use == survey::Use::kCreate;
            if (isTried) formats.push_back(&format);
        }
        return formats;
    }

    /// What is left of the record if the driver ends like that in this use.
    static std::string after_ending(survey::FormatRecord record, survey::Use guilty,
                                    const SurveyEnding& ending) {
        if (guilty == survey::Use::kCreate) {
            for (auto& [question, judged] : record.uses) {
                if (question.use > survey::Use::kCreateStorage) {
                    judged = {survey::Verdict::kNotApplicable, ""};
                }
            }
        }
        for (auto& [question, judged] : record.uses) {
            const bool needsStorage = question.use == survey::Use::kUploadPartStorage;
            if (guilty == survey::Use::kCreateStorage && needsStorage) {
                judged = {survey::Verdict::kNotApplicable, ""};
            }
        }
        const auto found = std::string(name_of(guilty)) + ' ' + ending.record + '\n';
        record.uses[guilty] =
            survey::read_record(found).value_or(survey::FormatRecord{}).uses.at(guilty);
        return "string " + survey::write_record(record);
    }

    /// True if this costs that verdict and no other.
    bool dies(const survey::Format& format, survey::Use use, const SurveyEnding& ending) {
        const std::string key = key_of_format(format);
        stored_.at(key) = after_ending(record_of(format), use, ending);
        folder_.execute("DELETE FROM records WHERE key = '" + key + "'");
        std::ofstream(folder_.file("die")) << name_of(GetParam()) << ' ' << format.value << ' '
                                           << name_of(use) << ' ' << ending.order;
        const Finished run = survey({"--format", format.name});
        EXPECT_TRUE(run.exited_with(0)) << key << run.err;
        EXPECT_EQ(survey_records(), stored_) << key << ' ' << name_of(use);
        return run.exited_with(0) && survey_records() == stored_;
    }

    const CtlFolder folder_{CTL, SCRIPTED_TOOL};
    Records undisturbed_;
    Records stored_;  ///< With the verdicts of the deaths until now.
};

TEST_P(SurveyDeaths, under_supervision_cost_the_verdict_of_the_guilty_use_and_no_other) {
    FaultCount count;
    std::size_t number = static_cast<std::size_t>(GetParam());
    for (const survey::Use use : survey::kUses) {
        // Those in layouts are tried elsewhere.
        if (is_transfer(use)) continue;
        const auto formats = formats_that_try(use);
        ASSERT_GE(formats.size(), 12u) << name_of(use);
        for (std::size_t i = 0; i < kDeathsOfUse; ++i) {
            const survey::Format& format = *formats[i * formats.size() / kDeathsOfUse];
            const SurveyEnding& ending = kSurveyEndings[number++ % std::size(kSurveyEndings)];
            EXPECT_TRUE(count.add([&] { return dies(format, use, ending); }));
        }
    }
    write_fault_row("Driver dies or hangs whenever a use of the survey is tried",
                    name_of(GetParam()), count);
}

INSTANTIATE_TEST_SUITE_P(InProfile, SurveyDeaths,
                         testing::ValuesIn(survey::kProfiles.begin(),
                                           survey::kProfiles.begin() + kKindsOfContext),
                         [](const auto& profile) {
                             return std::string(survey::name_of(profile.param));
                         });

}  // namespace
}  // namespace texprobe::tests
