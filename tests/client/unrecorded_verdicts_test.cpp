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
        return lines + renderer_strings(set, vendor);
    }
    static std::string trouble() { return std::string("say ") + kTrouble + "\n"; }
    static std::string renderer_strings(const std::string& set, const std::string& vendor) {
        return say(set, "GL_VENDOR: " + vendor) + say(set, "GL_VERSION: 2.1 Version");
    }
};

TEST_F(UnrecordedVerdicts, are_what_the_tool_has_said_of_the_context_s_renderer) {
    const std::string unrecorded = "the verdicts are not recorded, and will be measured again";
    const std::string noRenderer =
        "no renderer of this machine is the context's, \"Renderer\" of \"Vendor\", version \"2.1 "
        "Version\"; recorded: ";
    const std::string whole = measured(kFirst);
    const std::string one = say(kFirst, "GL_RGBA8 renderable: 1");
    const struct {
        const char* name;
        std::string recorded;
        std::string script;
        const char* answers;
        testing::Matcher<std::string> reason;
    } rows[] = {
        {"nothing is recorded", "",
         trouble() + measured(kFirst, "upload RESET") + measured(kSecond, "none", "Another") +
             "say *** texprobe records: 200 records are missing or in doubt\n",
         "yyynyy", unrecorded + ": " + kTrouble},
        {"all was recorded but the strings, and RGBA8's last test, under way",
         complete_set(no("GL_RGBA8_UPLOAD_SET") + no("GL_RGBA8_DOWNLOAD_READ") +
                      removed("GL_RENDERER")),
         say(kFirst, "UP TO DATE (version: 0.21 >= 0.21)") +
             say(kFirst, "GL_RGBA8 download READ: 1") + renderer_strings(kFirst, "Vendor"),
         "yynyyy", unrecorded},
        {"the tool has begun old records anew", complete_set(old_version()),
         trouble() + say(kFirst, "VERSION: 0.21") + renderer_strings(kFirst, "Vendor"), "??????",
         HasSubstr(kTrouble)},
        {"two renderers of these strings differ", "",
         measured(kFirst, "upload SET") + measured(kSecond), "yy?yyy",
         HasSubstr("; unknown where two renderers of this machine differ")},
        {"the renderer is recorded by another name", complete_set("", kFirst, "Another renderer"),
         whole, "??????", StartsWith(noRenderer + "\"Another renderer\"")},
        {"the vendor is another", "", trouble() + measured(kFirst, "none", "Another"), "??????",
         noRenderer +
             "nothing of \"Another\", version \"2.1 Version\", nothing of nothing, version "
             "nothing; texprobe says: " +
             kTrouble},
        {"the run has died", "", trouble() + whole + "raise 11\n", "??????", HasSubstr(kTrouble)},
        {"a verdict was left out", "", std::string(whole).erase(whole.find(one), one.size()),
         "??????", StartsWith("no renderer")},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        empty_folder(SCRIPTED_TOOL);
        if (!row.recorded.empty()) record(row.recorded);
        script(row.script);
        measure();
        EXPECT_EQ(answers(), row.answers);
        EXPECT_THAT(reason_, row.reason);
        EXPECT_EQ(runs(), 1);
        EXPECT_EQ(folder_.records().empty(), row.recorded.empty());
    }
    be_in("2.1 Another");
    script(whole);
    measure();
    EXPECT_EQ(answers(), "??????") << "of another version";
}

TEST_F(UnrecordedVerdicts, are_measured_where_the_store_is_damaged_and_the_tool_heals_it) {
    record(complete_set());
    for (const char* suffix : {"-wal", "-shm"}) {
        std::filesystem::remove(folder_.database().string() + suffix);
    }
    std::ofstream(folder_.database()) << std::string(10000, 'x');
    script(complete_set());
    measure();
    EXPECT_EQ(answers(), "yyyyyy");
    EXPECT_EQ(reason_, "");
    EXPECT_EQ(runs(), 1);
    measure();
    EXPECT_EQ(answers(), "yyyyyy");
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
    measure();
    EXPECT_EQ(answers(), "yyyyyy");
    EXPECT_EQ(runs(), 0);
    unlocking.join();
    close(directory);
}

}  // namespace
}  // namespace texprobe::tests
