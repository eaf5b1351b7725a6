// A survey on which something ends in the middle, which is no fault of the driver's: the disk is
// full, somebody interrupts it, the context is lost.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>

#include <fstream>
#include <string>
#include <vector>

#include "support/text.h"
#include "support/tool_folder.h"

namespace texprobe::tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

const char* const kTroubledKey = "core.GL_R8UI";
const std::string kWholeRecord = [] {
    std::string record = "string create yes\ncreate_storage yes\nrender yes\n";
    for (const char* use :
         {"upload", "upload_part", "upload_part_storage", "upload_buffer", "define_buffer", "read",
          "read_part", "read_buffer", "get", "get_buffer"}) {
        record += std::string(use) + " GL_RED_INTEGER GL_UNSIGNED_BYTE yes\n";
    }
    return record;
}();

/// The survey of one format, on softpipe with a fault.
class SurveyTrouble : public testing::Test {
protected:
    Finished run(const std::vector<std::string>& arguments = {"--profile", "core", "--format",
                                                              "GL_R8UI"}) const {
        return folder_.run(arguments, {"GALLIUM_DRIVER=softpipe"});
    }
    /// As if the process had died in the format before.
    void leave_under_way() const {
        EXPECT_TRUE(run().exited_with(0));
        folder_.execute(std::string("UPDATE records SET value = 'measuring\n' WHERE key = '") +
                        kTroubledKey + "'");
    }
    void write(const char* name, const std::string& text) const {
        std::ofstream(folder_.path() / name) << text;
    }
    void remove(const char* name) const { std::filesystem::remove(folder_.path() / name); }
    Records records() const {
        const RecordSets sets = folder_.records();
        return sets.size() == 1 ? sets.begin()->second : Records();
    }

    const ToolFolder folder_{SURVEY_DYING};
};

TEST_F(SurveyTrouble, with_a_full_disk_at_any_record_accuses_no_driver) {
    int incomplete = 0;
    for (int first = 1; first <= 8; ++first) {
        for (const int last : {first, 1000}) {
            leave_under_way();
            write("full", std::to_string(first) + ' ' + std::to_string(last));
            incomplete += run().exited_with(1) ? 1 : 0;
            remove("full");
            // What has not begun is not recorded as begun, either.
            if (last == first) {
                EXPECT_THAT(records().at(kTroubledKey), Not(HasSubstr("started"))) << first;
            }
            EXPECT_TRUE(run().exited_with(0));
            EXPECT_EQ(records().at(kTroubledKey), kWholeRecord) << first << " to " << last;
        }
    }
    EXPECT_GE(incomplete, 8);
}

TEST_F(SurveyTrouble, with_a_full_disk_takes_no_context_for_a_dead_one) {
    write("full", "1 100000");
    const Finished full = run({"--profile", "core"});
    EXPECT_TRUE(full.exited_with(1));
    EXPECT_THAT(full.err, Not(HasSubstr("crashed")));
    remove("full");
    EXPECT_TRUE(run().exited_with(0));
    EXPECT_EQ(records().at(kTroubledKey), kWholeRecord);
}

TEST_F(SurveyTrouble, ended_by_an_interruption_after_a_death_keeps_the_verdict_of_its_use) {
    leave_under_way();
    write("die", "core 33330 create_storage -1");  // GL_R8UI.
    const int status = run().status;
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM);
    EXPECT_EQ(records().at(kTroubledKey), "string create yes\ncreate_storage yes\n");
}

TEST_F(SurveyTrouble, without_another_context_for_a_lost_one_leaves_the_rest_unmeasured) {
    write("die", "core 32849 mipmap -2");  // GL_RGB8, the third format.
    EXPECT_TRUE(run({"--profile", "core"}).exited_with(1));
    const Records left = records();
    EXPECT_EQ(left.size(), 3u + 3);  // Who the context is, and the formats up to this one.
    EXPECT_THAT(left.at("core.GL_RGB8"),
                HasSubstr("mipmap unknown: glGenerateMipmap gives GL_CONTEXT_LOST\n"
                          "render unknown: the context was lost, and there is no other\n"));
    EXPECT_THAT(left.at("core"), HasSubstr("Mesa"));
    remove("die");
    EXPECT_TRUE(run().exited_with(0));
    EXPECT_EQ(records().at(kTroubledKey), kWholeRecord);
}

/// Of each line of the survey, which of the two renderers it is about.
std::vector<std::string> renderers_in_order(const std::string& errors) {
    std::vector<std::string> names;
    for (const std::string& line : lines_of(errors)) {
        const bool isAnother = line.rfind("org.texprobe.survey1.80000000.", 0) == 0;
        const std::string name = isAnother ? "another" : "own";
        if (names.empty() || names.back() != name) names.push_back(name);
    }
    return names;
}

TEST_F(SurveyTrouble, with_many_renderers_is_less_where_one_is_wanted_first) {
    const std::string begin = "org.texprobe.survey1.";
    EXPECT_TRUE(run().exited_with(0));
    const std::string ownName =
        records().at("core.GL_RENDERER").substr(std::string("string ").size());
    const std::string own = folder_.records().begin()->first;
    const std::string other = begin + "80000000" + own.substr(own.find('.', begin.size()));
    write("two", "");
    const auto order = [&](const std::vector<std::string>& more) {
        // The other one has been surveyed before, but has no context any more.
        folder_.execute("DELETE FROM records WHERE key = 'core.GL_R8UI' OR application = '" +
                        other + "'");
        folder_.execute("INSERT INTO records SELECT '" + other +
                        "', key, type, CASE key WHEN 'core.GL_RENDERER' THEN 'Another' ELSE value "
                        "END FROM records");
        std::vector<std::string> arguments = {"--profile", "core", "--format", "GL_R8UI"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const Finished finished = run(arguments);
        EXPECT_TRUE(finished.exited_with(0)) << finished.err;
        return renderers_in_order(finished.err);
    };
    EXPECT_THAT(order({}), ElementsAre("another", "own"));
    EXPECT_THAT(order({"--first", "Another"}), ElementsAre("another", "own"));
    EXPECT_THAT(order({"--first", "a third one"}), ElementsAre("another", "own"));
    EXPECT_THAT(order({"--first", ownName}), ElementsAre("own", "another"));
}

}  // namespace
}  // namespace texprobe::tests
