// Verdicts that are measured in the background: what the tool may do, and what is said of it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <memory>
#include <set>

#include "run_at_work.h"
#include "runs/turn_settings.h"
#include "scripted_verdicts.h"
#include "support/text.h"

namespace texprobe::tests {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::Each;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

class MeasuringVerdicts : public ScriptedVerdicts {
protected:
    /// What the tool writes before a test, and never replaces if it dies in it.
    static std::string begin_test(const std::string& key) {
        return set_of_first("VERSION", "number 0.21") + no(key) + sync_first() + "say " + kFirst +
               "[%p] testing\n";
    }
};

TEST_F(MeasuringVerdicts, do_not_keep_the_application_waiting) {
    script("sleep 300\n" + complete_set());
    open();
    EXPECT_EQ(verdicts_->wait(0), TEXPROBE_MEASURING);
    EXPECT_EQ(verdicts_->wait(10), TEXPROBE_MEASURING);
    EXPECT_EQ(answer(kRGBA8, TEXPROBE_SUPPORTED), TEXPROBE_UNKNOWN);
    EXPECT_STREQ(verdicts_->reason(), "texprobe measures this machine's renderers");
    EXPECT_EQ(verdicts_->progress(), 0.0);
    EXPECT_EQ(verdicts_->wait(), TEXPROBE_READY);
    EXPECT_EQ(answer(kRGBA8, TEXPROBE_SUPPORTED), TEXPROBE_YES);
    EXPECT_STREQ(verdicts_->reason(), "");
    EXPECT_EQ(runs(), 1);

    EXPECT_EQ(measure(), TEXPROBE_READY);
    EXPECT_EQ(runs(), 1);
}

TEST_F(MeasuringVerdicts, show_their_progress_which_never_falls_and_is_whole_when_they_are_ready) {
    // A false of SUPPORTED decides six verdicts. That of a test under way is soon one of them.
    std::string steps = complete_set("", kSecond, "Another renderer") + "sleep 1000\n" +
                        set_of_first("VERSION", "number 0.21");
    for (const char* verdict : {"false", "true"}) {
        steps += set_of_first("GL_RGBA8_SUPPORTED", verdict) + sync_first() + "sleep 500\n";
    }
    const std::string all = complete_set();
    const std::size_t strings = all.find(std::string("set ") + kFirst + " GL_VENDOR");
    script(steps + all.substr(0, strings) + sync_first() + "sleep 1000\n" + all.substr(strings));
    open();
    const std::vector<double> seen = progress_until_over();
    EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end())) << testing::PrintToString(seen);
    EXPECT_THAT(seen, Contains(0.5)) << "one of two renderers";
    // All but one when everything is recorded and the run has not ended yet.
    EXPECT_THAT(seen, Each(testing::Le(191.0 / 192 + 1e-6)));
    EXPECT_EQ(verdicts_->progress(), 1.0);
}

TEST_F(MeasuringVerdicts, give_a_test_ten_seconds_whatever_the_application_wishes) {
    least_test_time() = TurnSettings().leastTestTime;
    EXPECT_EQ(least_test_time(), std::chrono::seconds(10));
    script("sleep 700\n" + complete_set());
    EXPECT_EQ(measure(20), TEXPROBE_READY) << reason_;
}

TEST_F(MeasuringVerdicts, give_the_tool_the_environment_in_which_they_were_opened) {
    const std::string seen = folder_.path() / "seen";
    tool_ = folder_.write_program(
        "look", "echo $TEXPROBE_TEST_VARIABLE >>" + seen + "\nexec " + folder_.tool().string());
    script("sleep 300\n" + begin_test("GL_RGBA8_UPLOAD_SET") + "raise 11\n", 1);
    script(complete_set());
    setenv("TEXPROBE_TEST_VARIABLE", "then", 1);
    open();
    setenv("TEXPROBE_TEST_VARIABLE", "now", 1);
    EXPECT_EQ(verdicts_->wait(), TEXPROBE_READY);
    unsetenv("TEXPROBE_TEST_VARIABLE");
    EXPECT_EQ(read_file(seen), "then\nthen\n");
}

TEST_F(MeasuringVerdicts, hand_the_tool_s_lines_to_the_log) {
    script("out first\nsay second\nsaid third");
    EXPECT_EQ(measure(), TEXPROBE_FAILED);
    EXPECT_THAT(log(), testing::UnorderedElementsAre("first", "second", "third"));
    const auto threads = log_threads();
    EXPECT_EQ(std::set(threads.begin(), threads.end()).size(), 1u);
    EXPECT_NE(threads.at(0), std::this_thread::get_id());
}

TEST_F(MeasuringVerdicts, continue_after_a_crash) {
    script(begin_test("GL_RGBA8_UPLOAD_SET") + "raise 11\n", 1);
    script(begin_test("GL_RGBA8_UPLOAD_RESET") + "raise 6\n", 2);
    script(complete_set());
    EXPECT_EQ(measure(), TEXPROBE_READY);
    EXPECT_EQ(runs(), 3);
    EXPECT_THAT(log(), Contains("texprobe was ended by signal 11; it is started again and "
                                "continues with the next test"));
}

TEST_F(MeasuringVerdicts, continue_after_a_hang_also_of_a_tool_that_a_script_has_started) {
    tool_ = folder_.write_program("wrapper", folder_.tool().string() + "\nexit $?");
    script(begin_test("GL_RGBA8_UPLOAD_SET") + "turn " + turn_settings().file + "\nhang\n", 1);
    script(complete_set());
    EXPECT_EQ(measure(1500), TEXPROBE_READY);
    EXPECT_EQ(runs(), 2);
    EXPECT_THAT(log(),
                Contains("texprobe made no progress for 1500 ms and was killed; it is started "
                         "again and continues with the next test"));
}

TEST_F(MeasuringVerdicts, say_why_there_are_none_after_one_run) {
    std::string chatter;
    for (int i = 0; i < 40; ++i) chatter += "say still alive\nsleep 50\n";
    std::string rubbish = "said ";
    for (int c = 1; c < 256; ++c) {
        if (c != '\n') rubbish += static_cast<char>(c);
    }
    rubbish += "org.texprobe.texprobe2.[*** \x1b[31m\xff\n";
    const char* const noSpace = "*** texprobe records: cannot use /home: No space left on device";
    const struct {
        std::string script;
        int limit;
        testing::Matcher<std::string> reason;
    } rows[] = {
        {"raise 11\n", 0, StartsWith("texprobe was ended by signal 11; ")},
        {"hang\n", 200, StartsWith("texprobe made no progress for 200 ms and was killed; ")},
        // A driver may write without end.
        {chatter, 300, StartsWith("texprobe made no progress for 300 ms and was killed; ")},
        {"said *** cannot create OpenGL context\nexit 1\n", 0,
         AllOf(StartsWith("texprobe ended with status 1; "),
               EndsWith("; texprobe says: *** cannot create OpenGL context"))},
        {rubbish, 0, EndsWith("; texprobe says: *** ?[31m\xff")},
        {"say org.texprobe.texprobe2.ff.22G121[%p] testing renderer: 255\n", 0,
         "\"" + tool_ +
             "\" is of another architecture: it measures for the system's build 22G121, and this "
             "process is of 22G120"},
        {complete_set("", kFirst, "Another renderer"), 0,
         "no renderer of this machine is the context's, \"Renderer\" of \"Vendor\", version \"2.1 "
         "Version\"; recorded: \"Another renderer\" of \"Vendor\", version \"2.1 Version\", "
         "nothing of nothing, version nothing"},
        {complete_set(removed("GL_RGBA8_SUPPORTED")) + "say " + noSpace + "\n", 0,
         std::string("the records of \"Renderer\" are not complete; texprobe says: ") + noSpace},
    };
    int number = 0;
    for (const auto& row : rows) {
        script(row.script);
        EXPECT_EQ(measure(row.limit), TEXPROBE_FAILED);
        EXPECT_THAT(reason_, row.reason);
        EXPECT_EQ(runs(), ++number) << reason_;
    }
}

TEST_F(MeasuringVerdicts, are_prolonged_by_the_tool_s_own_lines) {
    std::string steps;
    for (int i = 0; i < 20; ++i) steps += std::string("say ") + kFirst + "[%p] step\nsleep 100\n";
    script(steps + complete_set());
    EXPECT_EQ(measure(1500), TEXPROBE_READY);
}

TEST_F(MeasuringVerdicts, say_that_the_tool_cannot_be_started) {
    using std::filesystem::perms;
    constexpr perms kNoProgram = perms::owner_read | perms::owner_write;
    const std::string folder = folder_.path();
    const std::string file = folder_.path() / "file";
    const struct {
        std::string tool;
        const char* text;
        perms rights;
        const char* reason;
    } rows[] = {
        {folder + "/missing", "", kNoProgram, "was not found"},
        {folder, "", kNoProgram, "is not executable"},
        {file, "no program", kNoProgram, "is not executable"},
        {file, "no program", perms::owner_all, "is no program, or of another architecture"},
        {file, "#!/no/such/interpreter\n", perms::owner_all,
         "cannot be started: it is of another architecture, or its interpreter is missing"},
    };
    for (const auto& row : rows) {
        write_file(file, row.text);
        std::filesystem::permissions(file, row.rights);
        tool_ = row.tool;
        EXPECT_EQ(measure(), TEXPROBE_FAILED);
        EXPECT_EQ(reason_, "\"" + tool_ + "\" " + row.reason);
    }
}

TEST_F(MeasuringVerdicts, wait_for_another_run_without_taking_it_for_a_hang) {
    const RunAtWork other(kSecond);
    script("sleep 2000\n" + complete_set());
    open(700);
    EXPECT_EQ(verdicts_->wait(1000), TEXPROBE_MEASURING);
    EXPECT_STREQ(verdicts_->reason(), "texprobe waits for another run of it");
    EXPECT_EQ(verdicts_->wait(), TEXPROBE_READY);
}

TEST_F(MeasuringVerdicts, wait_for_a_run_that_has_begun_while_the_tool_ended) {
    record(complete_set());
    script("sleep 20\n");
    auto other = std::make_unique<RunAtWork>(kFirst);
    open();
    while (log().empty()) EXPECT_EQ(verdicts_->wait(5), TEXPROBE_MEASURING);
    EXPECT_THAT(log(), Each("another run of texprobe has begun; texprobe is started again and "
                            "waits for it"));
    other.reset();
    EXPECT_EQ(verdicts_->wait(), TEXPROBE_READY);
}

TEST_F(MeasuringVerdicts, begin_when_another_run_ends_while_they_look) {
    record(complete_set() + complete_set("", kSecond, "Another renderer"));
    const RunAtWork others(kFirst, RunAtWork::Kind::kManyThatFindNothingToDo);
    tool_ = "/no/such/tool";
    for (int i = 0; i < 100; ++i) {
        // The records match: what they look at twice may have been in hand the first time only.
        if (measure() == TEXPROBE_FAILED) {
            ASSERT_EQ(reason_, "\"/no/such/tool\" was not found");
        }
    }
}

void reap_every_child(int) {
    const int error = errno;
    while (waitpid(-1, nullptr, WNOHANG) > 0) {
    }
    errno = error;
}

TEST_F(MeasuringVerdicts, are_judged_by_the_records_where_the_application_reaps_its_children) {
    const auto isUnknown = HasSubstr("its status is unknown, because this application reaps");
    // The handler and the library may each come first.
    const auto isOneOfThem =
        testing::AnyOf(isUnknown, StartsWith("texprobe was ended by signal 11; "));
    const struct {
        void (*handler)(int);
        testing::Matcher<std::string> reason;
    } rows[] = {{SIG_IGN, isUnknown}, {reap_every_child, isOneOfThem}};
    for (const auto& row : rows) {
        struct sigaction action = {};
        struct sigaction former = {};
        action.sa_handler = row.handler;
        sigaction(SIGCHLD, &action, &former);
        empty_folder(SCRIPTED_TOOL);
        script(complete_set());
        EXPECT_EQ(measure(), TEXPROBE_READY) << reason_;
        EXPECT_EQ(reason_, "");

        empty_folder(SCRIPTED_TOOL);
        script("raise 11\n");
        EXPECT_EQ(measure(), TEXPROBE_FAILED);
        EXPECT_EQ(runs(), 1);
        EXPECT_THAT(reason_, row.reason);
        sigaction(SIGCHLD, &former, nullptr);
    }
}

TEST_F(MeasuringVerdicts, may_be_eight_at_once) {
    script("sleep 100\n" + complete_set());
    const texprobe_options wish = options();
    std::vector<qor::TexProbeVerdicts> all;
    all.reserve(8);
    for (int i = 0; i < 8; ++i) all.emplace_back(&wish);
    for (qor::TexProbeVerdicts& verdicts : all) {
        EXPECT_EQ(verdicts.wait(), TEXPROBE_READY) << verdicts.reason();
        EXPECT_EQ(answers_of(verdicts, kRGBA8), "yyyyyy");
    }
}

}  // namespace
}  // namespace texprobe::tests
