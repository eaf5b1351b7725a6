// Verdicts that are measured in the background: what the tool may do, and what is said of it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <fstream>
#include <memory>
#include <set>

#include "run_at_work.h"
#include "runs/turn_settings.h"
#include "scripted_verdicts.h"
#include "support/text.h"

namespace texprobe::tests {
namespace {

using testing::Contains;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

/// What the tool writes before a test, and never replaces if it dies in it.
std::string begin_test(const std::string& key) {
    return std::string("set ") + kFirst + " VERSION number 0.21\nset " + kFirst + " " + key +
           " false\nsync " + kFirst + "\nsay " + kFirst + "[%p] testing\n";
}

using MeasuringVerdicts = ScriptedVerdicts;

TEST_F(MeasuringVerdicts, do_not_keep_the_application_waiting) {
    script("sleep 300\n" + complete_set(kFirst, "Renderer"));
    texprobe_verdicts* verdicts = open();
    EXPECT_EQ(texprobe_verdicts_wait(verdicts, 0), TEXPROBE_MEASURING);
    EXPECT_EQ(texprobe_verdicts_wait(verdicts, 10), TEXPROBE_MEASURING);
    EXPECT_EQ(texprobe_verdicts_answer(verdicts, kRGBA8, TEXPROBE_SUPPORTED), TEXPROBE_UNKNOWN);
    EXPECT_STREQ(texprobe_verdicts_reason(verdicts), "texprobe measures this machine's renderers");
    EXPECT_EQ(texprobe_verdicts_progress(verdicts), 0.0);
    EXPECT_EQ(texprobe_verdicts_wait(verdicts, -1), TEXPROBE_READY);
    EXPECT_EQ(texprobe_verdicts_answer(verdicts, kRGBA8, TEXPROBE_SUPPORTED), TEXPROBE_YES);
    EXPECT_STREQ(texprobe_verdicts_reason(verdicts), "");
    EXPECT_EQ(texprobe_verdicts_progress(verdicts), 1.0);
    EXPECT_EQ(runs(), 1);
    texprobe_verdicts_close(verdicts);

    EXPECT_EQ(measure(), TEXPROBE_READY);
    EXPECT_EQ(runs(), 1);
}

TEST_F(MeasuringVerdicts, show_their_progress) {
    // One of two renderers, and a second in which to see it.
    script(complete_set(kSecond, "Another renderer") + "sleep 1000\n" +
           complete_set(kFirst, "Renderer"));
    texprobe_verdicts* verdicts = open();
    std::set<double> seen;
    while (texprobe_verdicts_wait(verdicts, 20) == TEXPROBE_MEASURING) {
        seen.insert(texprobe_verdicts_progress(verdicts));
    }
    EXPECT_THAT(seen, Contains(0.5));
    // All but one when everything is recorded and the run has not ended yet.
    EXPECT_THAT(
        seen, testing::Each(testing::AnyOf(0.0, 0.5, testing::DoubleNear(191.0 / 192, 1e-6), 1.0)));
    texprobe_verdicts_close(verdicts);
}

TEST_F(MeasuringVerdicts, never_fall_in_their_progress_and_are_whole_only_when_they_are_ready) {
    machine().displays = {{1, {{0xff}}}};
    // A false of SUPPORTED decides six verdicts. That of a test under way is soon one of them.
    std::string steps = std::string("set ") + kFirst + " VERSION number 0.21\n";
    for (const char* verdict : {"false", "true"}) {
        steps += std::string("set ") + kFirst + " GL_RGBA8_SUPPORTED " + verdict + "\nsync " +
                 kFirst + "\nsleep 500\n";
    }
    const std::string all = complete_set(kFirst, "Renderer");
    const std::size_t strings = all.find(std::string("set ") + kFirst + " GL_VENDOR");
    const std::string verdicts = all.substr(0, strings) + "sync " + kFirst + "\nsleep 500\n";
    script(steps + verdicts + all.substr(strings));
    texprobe_verdicts* opened = open();
    std::vector<double> seen;
    while (texprobe_verdicts_wait(opened, 20) == TEXPROBE_MEASURING) {
        const double progress = texprobe_verdicts_progress(opened);
        if (seen.empty() || progress != seen.back()) seen.push_back(progress);
    }
    EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end())) << testing::PrintToString(seen);
    EXPECT_THAT(seen, testing::Each(testing::Lt(1.0)));
    EXPECT_EQ(texprobe_verdicts_progress(opened), 1.0);
    texprobe_verdicts_close(opened);
}

TEST_F(MeasuringVerdicts, give_a_test_ten_seconds_whatever_the_application_wishes) {
    least_test_time() = TurnSettings().leastTestTime;
    EXPECT_EQ(least_test_time(), std::chrono::seconds(10));
    script("sleep 700\n" + complete_set(kFirst, "Renderer"));
    EXPECT_EQ(measure(20), TEXPROBE_READY) << reason_;
}

TEST_F(MeasuringVerdicts, give_the_tool_the_environment_in_which_they_were_opened) {
    const std::string seen = folder_.path() / "seen";
    tool_ = folder_.write_program(
        "look", "echo $TEXPROBE_TEST_VARIABLE >>" + seen + "\nexec " + folder_.tool().string());
    script("sleep 300\n" + begin_test("GL_RGBA8_UPLOAD_SET") + "raise 11\n", 1);
    script(complete_set(kFirst, "Renderer"));
    setenv("TEXPROBE_TEST_VARIABLE", "then", 1);
    texprobe_verdicts* verdicts = open();
    setenv("TEXPROBE_TEST_VARIABLE", "now", 1);
    EXPECT_EQ(texprobe_verdicts_wait(verdicts, -1), TEXPROBE_READY);
    texprobe_verdicts_close(verdicts);
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
    script(complete_set(kFirst, "Renderer"));
    EXPECT_EQ(measure(), TEXPROBE_READY);
    EXPECT_EQ(runs(), 3);
    EXPECT_THAT(log(), Contains("texprobe was ended by signal 11; it is started again and "
                                "continues with the next test"));
}

TEST_F(MeasuringVerdicts, continue_after_a_hang) {
    script(begin_test("GL_RGBA8_UPLOAD_SET") + "hang\n", 1);
    script(complete_set(kFirst, "Renderer"));
    EXPECT_EQ(measure(1500), TEXPROBE_READY);
    EXPECT_EQ(runs(), 2);
    EXPECT_THAT(log(),
                Contains("texprobe made no progress for 1500 ms and was killed; it is started "
                         "again and continues with the next test"));
}

TEST_F(MeasuringVerdicts, continue_after_a_hang_of_a_tool_that_a_script_has_started) {
    tool_ = folder_.write_program("wrapper", folder_.tool().string() + "\nexit $?");
    script(begin_test("GL_RGBA8_UPLOAD_SET") + "turn " + turn_settings().file + "\nhang\n", 1);
    script(complete_set(kFirst, "Renderer"));
    EXPECT_EQ(measure(1500), TEXPROBE_READY);
    EXPECT_EQ(runs(), 2);
}

TEST_F(MeasuringVerdicts, give_up_after_a_run_that_recorded_nothing) {
    script("raise 11\n");
    EXPECT_EQ(measure(), TEXPROBE_FAILED);
    EXPECT_EQ(runs(), 1);
    EXPECT_THAT(reason_, StartsWith("texprobe was ended by signal 11; "));

    script("hang\n");
    EXPECT_EQ(measure(200), TEXPROBE_FAILED);
    EXPECT_THAT(reason_, StartsWith("texprobe made no progress for 200 ms and was killed; "));

    script("said *** cannot create OpenGL context\nexit 1\n");
    EXPECT_EQ(measure(), TEXPROBE_FAILED);
    EXPECT_THAT(reason_, StartsWith("texprobe ended with status 1; "));
    EXPECT_THAT(reason_, EndsWith("; texprobe says: *** cannot create OpenGL context"));
}

TEST_F(MeasuringVerdicts, are_not_prolonged_by_what_a_driver_writes) {
    std::string chatter;
    for (int i = 0; i < 40; ++i) chatter += "say still alive\nsleep 50\n";
    script(chatter + complete_set(kFirst, "Renderer"));
    EXPECT_EQ(measure(300), TEXPROBE_FAILED);
    EXPECT_THAT(reason_, StartsWith("texprobe made no progress for 300 ms and was killed; "));
}

TEST_F(MeasuringVerdicts, are_prolonged_by_the_tool_s_own_lines) {
    std::string steps;
    for (int i = 0; i < 20; ++i) steps += std::string("say ") + kFirst + "[%p] step\nsleep 100\n";
    script(steps + complete_set(kFirst, "Renderer"));
    EXPECT_EQ(measure(1500), TEXPROBE_READY);
}

TEST_F(MeasuringVerdicts, show_both_strings_when_no_renderer_carries_them) {
    script(complete_set(kFirst, "Another renderer"));
    EXPECT_EQ(measure(), TEXPROBE_FAILED);
    EXPECT_EQ(runs(), 1);
    EXPECT_EQ(reason_,
              "no renderer of this machine is the context's, \"Renderer\" of \"Vendor\", version "
              "\"2.1 Version\"; recorded: \"Another renderer\" of \"Vendor\", version \"2.1 "
              "Version\", nothing of nothing, version nothing");
}

TEST_F(MeasuringVerdicts, say_that_the_records_are_not_complete) {
    const std::string set = complete_set(
        kFirst, "Renderer", std::string("removed ") + kFirst + " GL_RGBA8_SUPPORTED\n");
    script(set + "say *** texprobe records: cannot use /home: No space left on device\n");
    EXPECT_EQ(measure(), TEXPROBE_FAILED);
    EXPECT_EQ(reason_,
              "the records of \"Renderer\" are not complete; texprobe says: *** texprobe records: "
              "cannot use /home: No space left on device");
}

TEST_F(MeasuringVerdicts, survive_rubbish) {
    std::string rubbish = "said ";
    for (int c = 1; c < 256; ++c) {
        if (c != '\n') rubbish += static_cast<char>(c);
    }
    rubbish += "org.texprobe.texprobe2.[*** \x1b[31m\xff";
    script(rubbish + "\n");
    EXPECT_EQ(measure(), TEXPROBE_FAILED);
    EXPECT_THAT(reason_, EndsWith("; texprobe says: *** ?[31m\xff"));
}

TEST_F(MeasuringVerdicts, say_that_the_tool_cannot_be_started) {
    tool_ = folder_.path() / "missing";
    EXPECT_EQ(measure(), TEXPROBE_FAILED);
    EXPECT_EQ(reason_, "\"" + tool_ + "\" was not found");

    tool_ = folder_.path() / "file";
    std::ofstream(tool_) << "no program";
    EXPECT_EQ(measure(), TEXPROBE_FAILED);
    EXPECT_EQ(reason_, "\"" + tool_ + "\" is not executable");

    std::filesystem::permissions(tool_, std::filesystem::perms::owner_all);
    EXPECT_EQ(measure(), TEXPROBE_FAILED);
    EXPECT_EQ(reason_, "\"" + tool_ + "\" is no program, or of another architecture");

    std::ofstream(tool_) << "#!/no/such/interpreter\n";
    EXPECT_EQ(measure(), TEXPROBE_FAILED);
    EXPECT_EQ(reason_, "\"" + tool_ +
                           "\" cannot be started: it is of another architecture, or its "
                           "interpreter is missing");

    tool_ = folder_.path();
    EXPECT_EQ(measure(), TEXPROBE_FAILED);
    EXPECT_EQ(reason_, "\"" + tool_ + "\" is not executable");
}

TEST_F(MeasuringVerdicts, say_that_the_tool_is_of_another_architecture) {
    script("say org.texprobe.texprobe2.ff.22G121[%p] testing renderer: 255\n");
    EXPECT_EQ(measure(), TEXPROBE_FAILED);
    EXPECT_EQ(reason_, "\"" + tool_ +
                           "\" is of another architecture: it measures for the system's build "
                           "22G121, and this process is of 22G120");
}

TEST_F(MeasuringVerdicts, wait_for_another_run_without_taking_it_for_a_hang) {
    const RunAtWork other(kSecond);
    script("sleep 2000\n" + complete_set(kFirst, "Renderer"));
    texprobe_verdicts* verdicts = open(700);
    EXPECT_EQ(texprobe_verdicts_wait(verdicts, 1000), TEXPROBE_MEASURING);
    EXPECT_STREQ(texprobe_verdicts_reason(verdicts), "texprobe waits for another run of it");
    EXPECT_EQ(texprobe_verdicts_wait(verdicts, -1), TEXPROBE_READY);
    texprobe_verdicts_close(verdicts);
}

TEST_F(MeasuringVerdicts, wait_for_a_run_that_has_begun_while_the_tool_ended) {
    record(complete_set(kFirst, "Renderer"));
    script("sleep 20\n");
    auto other = std::make_unique<RunAtWork>(kFirst);
    texprobe_verdicts* verdicts = open();
    const std::string again =
        "another run of texprobe has begun; texprobe is started again and waits for it";
    while (log().empty()) EXPECT_EQ(texprobe_verdicts_wait(verdicts, 5), TEXPROBE_MEASURING);
    EXPECT_THAT(log(), testing::Each(again));
    other.reset();
    EXPECT_EQ(texprobe_verdicts_wait(verdicts, -1), TEXPROBE_READY);
    texprobe_verdicts_close(verdicts);
}

/// Another process whose runs find nothing to do: each is at work on the set for a moment.
class RunsThatComeAndGo {
public:
    explicit RunsThatComeAndGo(const std::string& set)
        : process_(start([set]() -> int {
              for (;; usleep(100)) {
                  texprobe::MeasuringTurn(texprobe::turn_settings(), [] {}).take_in_hand(set);
              }
          })) {}
    ~RunsThatComeAndGo() {
        kill(process_, SIGKILL);
        status_of(process_);
    }
    RunsThatComeAndGo(const RunsThatComeAndGo&) = delete;
    RunsThatComeAndGo& operator=(const RunsThatComeAndGo&) = delete;

private:
    const pid_t process_;
};

TEST_F(MeasuringVerdicts, begin_when_another_run_ends_while_they_look) {
    record(complete_set(kFirst, "Renderer") + complete_set(kSecond, "Another renderer"));
    const RunsThatComeAndGo others(kFirst);
    tool_ = "/no/such/tool";
    for (int i = 0; i < 100; ++i) {
        // The records match: what they look at twice may have been in hand the first time only.
        if (measure() == TEXPROBE_FAILED) {
            ASSERT_EQ(reason_, "\"/no/such/tool\" was not found");
        }
    }
}

/// The action of a signal, put back at the end.
class Action {
public:
    Action(int number, void (*handler)(int)) : number_(number) {
        struct sigaction action = {};
        action.sa_handler = handler;
        sigaction(number, &action, &former_);
    }
    ~Action() { sigaction(number_, &former_, nullptr); }
    Action(const Action&) = delete;
    Action& operator=(const Action&) = delete;

private:
    const int number_;
    struct sigaction former_ = {};
};

void reap_every_child(int) {
    const int error = errno;
    while (waitpid(-1, nullptr, WNOHANG) > 0) {
    }
    errno = error;
}

TEST_F(MeasuringVerdicts, are_judged_by_the_records_where_the_application_reaps_its_children) {
    const std::string first = complete_set(kFirst, "Renderer");
    using Handler = void (*)(int);
    for (const Handler handler : {Handler{SIG_IGN}, Handler{reap_every_child}}) {
        const Action action(SIGCHLD, handler);
        empty_folder(SCRIPTED_TOOL);
        script(first);
        EXPECT_EQ(measure(), TEXPROBE_READY) << reason_;
        EXPECT_EQ(reason_, "");

        empty_folder(SCRIPTED_TOOL);
        script("raise 11\n");
        EXPECT_EQ(measure(), TEXPROBE_FAILED);
        EXPECT_EQ(runs(), 1);
        // The handler and the library may each come first.
        const auto isUnknown = HasSubstr("its status is unknown, because this application reaps");
        const auto isKnown = StartsWith("texprobe was ended by signal 11; ");
        if (handler == SIG_IGN) {
            EXPECT_THAT(reason_, isUnknown);
        } else {
            EXPECT_THAT(reason_, testing::AnyOf(isUnknown, isKnown));
        }
    }
}

TEST_F(MeasuringVerdicts, may_be_eight_at_once) {
    script("sleep 100\n" + complete_set(kFirst, "Renderer"));
    std::vector<texprobe_verdicts*> all(8);
    for (texprobe_verdicts*& verdicts : all) verdicts = open();
    for (texprobe_verdicts* verdicts : all) {
        EXPECT_EQ(texprobe_verdicts_wait(verdicts, -1), TEXPROBE_READY)
            << texprobe_verdicts_reason(verdicts);
        EXPECT_EQ(texprobe_verdicts_answer(verdicts, kRGBA8, TEXPROBE_UPLOAD_SET), TEXPROBE_YES);
    }
    for (texprobe_verdicts* verdicts : all) texprobe_verdicts_close(verdicts);
}

}  // namespace
}  // namespace texprobe::tests
