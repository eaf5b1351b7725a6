// Verdicts where the store cannot be used: what the tool has said, and a store that it heals.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <thread>

#include "scripted_verdicts.h"
#include "support/formats.h"

namespace texprobe::tests {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

const char* const kTrouble =
    "*** texprobe records: cannot use /home/user/records.sqlite3: Permission denied";

class UnrecordedVerdicts : public ScriptedVerdicts {
protected:
    static std::string say(const std::string& set, const std::string& text) {
        return "say " + set + "[%p] " + text + "\n";
    }

    /// What the tool says of a renderer whose every verdict is yes, but for RGBA8's `no`.
    static std::string measured(const std::string& set, const std::string& no = "none",
                                const std::string& vendor = "Vendor") {
        std::string lines = say(set, "VERSION: 0.21");
        for (const Format& format : kFormats) {
            for (const char* label : {"supported", "renderable", "upload SET", "upload RESET",
                                      "download GET", "download READ"}) {
                const bool isNo = format.internalFormat == kRGBA8 && label == no;
                lines += say(set, std::string(format.name) + " " + label + (isNo ? ": 0" : ": 1"));
            }
        }
        return lines + say(set, "GL_VENDOR: " + vendor) + say(set, "GL_VERSION: 2.1 Version");
    }
    static std::string trouble() { return std::string("say ") + kTrouble + "\n"; }

    /// Of RGBA8.
    std::string measured_answers() {
        measure();
        return answers();
    }
};

TEST_F(UnrecordedVerdicts, are_what_the_tool_has_said) {
    script(trouble() + measured(kFirst, "upload RESET") + measured(kSecond, "none", "Another") +
           "say *** texprobe records: 200 records are missing or in doubt\n");
    EXPECT_EQ(measured_answers(), "yyynyy");
    EXPECT_EQ(reason_, std::string("the verdicts are not recorded, and will be measured again: ") +
                           kTrouble);
    EXPECT_EQ(runs(), 1);
    EXPECT_EQ(folder_.records().size(), 0u);
}

TEST_F(UnrecordedVerdicts, are_those_of_the_records_with_which_the_tool_went_on) {
    // Recorded before: all but the strings, and RGBA8's last test, under way.
    record(complete_set(no("GL_RGBA8_UPLOAD_SET") + no("GL_RGBA8_DOWNLOAD_READ") +
                        removed("GL_RENDERER")));
    script(say(kFirst, "UP TO DATE (version: 0.21 >= 0.21)") +
           say(kFirst, "GL_RGBA8 download READ: 1") + say(kFirst, "GL_VENDOR: Vendor") +
           say(kFirst, "GL_VERSION: 2.1 Version"));
    EXPECT_EQ(measured_answers(), "yynyyy");
    EXPECT_EQ(reason_, "the verdicts are not recorded, and will be measured again");
}

TEST_F(UnrecordedVerdicts, are_not_those_of_records_that_the_tool_has_begun_anew) {
    record(complete_set(old_version()));
    script(trouble() + say(kFirst, "VERSION: 0.21") + say(kFirst, "GL_VENDOR: Vendor") +
           say(kFirst, "GL_VERSION: 2.1 Version"));
    EXPECT_EQ(measured_answers(), "??????");
    EXPECT_THAT(reason_, HasSubstr(kTrouble));
}

TEST_F(UnrecordedVerdicts, are_unknown_where_two_renderers_of_these_strings_differ) {
    script(measured(kFirst, "upload SET") + measured(kSecond));
    EXPECT_EQ(measured_answers(), "yy?yyy");
    EXPECT_THAT(reason_, HasSubstr("; unknown where two renderers of this machine differ"));
}

TEST_F(UnrecordedVerdicts, are_not_those_of_a_renderer_that_is_recorded_by_another_name) {
    record(complete_set("", kFirst, "Another renderer"));
    script(measured(kFirst));
    EXPECT_EQ(measured_answers(), "??????");
    EXPECT_THAT(reason_, StartsWith("no renderer of this machine is the context's, \"Renderer\""));
}

TEST_F(UnrecordedVerdicts, are_of_the_context_s_vendor_and_version) {
    script(trouble() + measured(kFirst, "none", "Another"));
    EXPECT_EQ(measured_answers(), "??????");
    EXPECT_EQ(reason_,
              std::string("no renderer of this machine is the context's, \"Renderer\" of "
                          "\"Vendor\", version \"2.1 Version\"; recorded: nothing of \"Another\", "
                          "version \"2.1 Version\", nothing of nothing, version nothing; texprobe "
                          "says: ") +
                  kTrouble);
    script(measured(kFirst));
    machine().version = "2.1 Another";
    EXPECT_EQ(measured_answers(), "??????");
}

TEST_F(UnrecordedVerdicts, are_not_taken_from_a_run_that_died_or_left_something_out) {
    script(trouble() + measured(kFirst) + "raise 11\n");
    EXPECT_EQ(measured_answers(), "??????");
    EXPECT_THAT(reason_, HasSubstr(kTrouble));
    const std::string whole = measured(kFirst);
    const std::string left = say(kFirst, "GL_RGBA8 renderable: 1");
    script(std::string(whole).erase(whole.find(left), left.size()));
    EXPECT_EQ(measured_answers(), "??????");
    EXPECT_EQ(runs(), 2);
}

TEST_F(UnrecordedVerdicts, are_measured_where_the_store_is_damaged_and_the_tool_heals_it) {
    record(complete_set());
    for (const char* suffix : {"-wal", "-shm"}) {
        std::filesystem::remove(folder_.database().string() + suffix);
    }
    std::ofstream(folder_.database()) << std::string(10000, 'x');
    script(complete_set());
    EXPECT_EQ(measured_answers(), "yyyyyy");
    EXPECT_EQ(reason_, "");
    EXPECT_EQ(runs(), 1);
    EXPECT_EQ(measured_answers(), "yyyyyy");
    EXPECT_EQ(runs(), 1);
    std::filesystem::remove(folder_.database().string() + ".damaged");
}

TEST_F(UnrecordedVerdicts, are_read_again_before_the_tool_where_the_store_was_locked) {
    record(complete_set());
    machine().displays = {{1, {{0xff}}}};
    const int directory = ::open(folder_.database().parent_path().c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(flock(directory, LOCK_EX), 0);
    std::thread unlocking([directory] {
        std::this_thread::sleep_for(std::chrono::milliseconds(1300));
        flock(directory, LOCK_UN);
    });
    EXPECT_EQ(measured_answers(), "yyyyyy");
    EXPECT_EQ(runs(), 0);
    unlocking.join();
    close(directory);
}

}  // namespace
}  // namespace texprobe::tests
