// Construction of qor::TexProbe: when the tool runs, what is printed, and what the object knows
// afterwards.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <type_traits>

#include "run_at_work.h"
#include "scripted_application.h"
#include "support/text.h"

namespace texprobe::tests {
namespace {

using qor::TexProbe;
using testing::EndsWith;
using testing::MatchesRegex;

constexpr char kNoRenderer[] = "*** cannot get renderer\n";

static_assert(!std::is_copy_constructible_v<TexProbe> && !std::is_copy_assignable_v<TexProbe>);
static_assert(!std::is_move_constructible_v<TexProbe> && !std::is_move_assignable_v<TexProbe>);
static_assert(!std::is_polymorphic_v<TexProbe>);
static_assert(!std::is_default_constructible_v<TexProbe>);
static_assert(sizeof(TexProbe) ==
              sizeof(CFStringRef) + sizeof(std::map<unsigned, TexProbe::TexFormatCaps>));

class Construction : public ScriptedApplication {
protected:
    /// With neither an identifier nor a format, every query prints its message and returns false.
    void expect_empty(const TexProbe& probe) { expect_answer(probe, false); }
    void expect_loaded(const TexProbe& probe) { expect_answer(probe, true); }

    void expect_measured_by_one_run(const std::string& tool) {
        const auto probe = construct(tool.c_str());
        EXPECT_EQ(messages_, "");
        EXPECT_EQ(read_file(folder_.path() / "runs"), "run\n");
        expect_loaded(*probe);
    }

private:
    void expect_answer(const TexProbe& probe, bool isLoaded) {
        constexpr GLenum kRGB16F = 0x881B;
        EXPECT_EQ(heard([&] { return probe.IsTextureFormatSupported(kRGB16F, false); }), isLoaded);
        EXPECT_EQ(messages_, isLoaded ? "" : "unsupported texture format: 0x881b\n");
    }
};

TEST_F(Construction, does_not_use_the_tool_path_when_there_are_records) {
    write_identity(kFirst);
    write_boolean(kFirst, "GL_RGB16F_ARB_SUPPORTED", true);
    for (const char* path : {"/no/such/\"tool", static_cast<const char*>(nullptr)}) {
        const auto probe = construct(path);
        EXPECT_EQ(messages_, "");
        expect_loaded(*probe);
    }
}

TEST_F(Construction, runs_the_tool_once_without_an_argument_and_sees_its_records_at_once) {
    expect_measured_by_one_run(folder_.tool());
    expect_measured_by_one_run(folder_.tool());
}

TEST_F(Construction, runs_the_tool_again_after_a_driver_update) {
    write_identity(kFirst, "Vendor", "2.0 Version");
    expect_measured_by_one_run(folder_.tool());
}

TEST_F(Construction, runs_the_tool_again_after_a_run_that_died) {
    write_number(kFirst, "VERSION", 0.21);
    write_boolean(kFirst, "GL_RGB16F_ARB_SUPPORTED", false);
    expect_measured_by_one_run(folder_.tool());
}

TEST_F(Construction, runs_the_tool_when_another_run_is_at_work_on_the_records) {
    write_identity(kFirst);
    const RunAtWork run(kFirst);
    expect_measured_by_one_run(folder_.tool());
}

TEST_F(Construction, accepts_a_path_with_spaces) {
    expect_measured_by_one_run(
        folder_.write_program("a folder/the tool", "exec \"${0%/*}/../texprobe\""));
}

TEST_F(Construction, gives_the_tool_the_application_s_environment_and_streams) {
    setenv("TEXPROBE_TEST_VARIABLE", "inherited", 1);
    testing::internal::CaptureStdout();
    construct(folder_
                  .write_program("tool",
                                 "echo to standard output, $TEXPROBE_TEST_VARIABLE\n"
                                 "echo to standard error >&2")
                  .c_str());
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "to standard output, inherited\n");
    EXPECT_EQ(messages_, std::string("to standard error\n") + kNoRenderer);
}

TEST_F(Construction, is_empty_when_the_tool_fails_or_leaves_no_usable_records) {
    const std::string failed = "Running texprobe failed\n*** texprobe() failed\n";
    const std::string anyFailed = "Running texprobe failed\n\\*\\*\\* texprobe\\(\\) failed\n";
    const std::string tool = folder_.tool();
    const std::string count = "echo run >>\"${0%/*}/runs\"";
    const std::string notExecutable = folder_.write_program("file", count);
    std::filesystem::permissions(notExecutable, std::filesystem::perms::owner_read);
    const std::string quoted = folder_.write_program("a\"tool", count);
    const struct {
        const char* path;
        std::string script;
        testing::Matcher<std::string> message;
        int runs;
    } rows[] = {
        {tool.c_str(), "", kNoRenderer, 1},
        {tool.c_str(), "exit 1\n", failed, 1},
        // The shell may report that its child crashed.
        {tool.c_str(), "raise 11\n", EndsWith(failed), 1},
        {"/no/such/tool", "", MatchesRegex("[^\n]*/no/such/tool: not found\n" + anyFailed), 0},
        {notExecutable.c_str(), "", MatchesRegex("[^\n]*file: Permission denied\n" + anyFailed), 0},
        {quoted.c_str(), "", EndsWith(failed), 0},
        {nullptr, "", failed, 0},
        // Complete records do not make up for the exit status.
        {tool.c_str(), complete_set() + "exit 1\n", failed, 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.path ? row.path + row.script : "no path");
        const int before = folder_.runs();
        folder_.script(row.script);
        const auto probe = construct(row.path);
        EXPECT_THAT(messages_, row.message);
        EXPECT_EQ(folder_.runs() - before, row.runs);
        expect_empty(*probe);
    }
}

TEST_F(Construction, prints_the_errors_of_both_lookups) {
    machine().displays[0].error = 10017;
    construct("/bin/true");
    EXPECT_EQ(messages_, std::string("*** cannot query renderer info (10017)\n"
                                     "*** cannot query renderer info (10017)\n") +
                             kNoRenderer);
}

TEST_F(Construction, passes_the_command_to_the_shell_as_it_is_built) {
    const std::string tool = folder_.write_program("tool", "echo \"$@\"");
    testing::internal::CaptureStdout();
    construct((tool + "\" one \"two").c_str());
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "one two\n");
}

TEST_F(Construction, is_empty_without_a_current_context) {
    write_identity(kFirst);
    machine().vendor = machine().version = machine().renderer = nullptr;
    const auto probe = construct(folder_.tool().c_str());
    EXPECT_EQ(messages_, kNoRenderer);
    EXPECT_EQ(folder_.runs(), 1);
    expect_empty(*probe);
}

TEST_F(Construction, touches_no_context) {
    construct(folder_.tool().c_str());
    const std::vector<std::string> lookup = {"CGGetActiveDisplayList 0x20", "glGetString 0x1f00",
                                             "glGetString 0x1f02",          "glGetString 0x1f01",
                                             "CGLQueryRendererInfo 0x100",  "CGLDescribeRenderer 0",
                                             "CGLDestroyRendererInfo 0x1"};
    std::vector<std::string> twice = lookup;
    twice.insert(twice.end(), lookup.begin(), lookup.end());
    EXPECT_EQ(machine().calls, twice);
}

}  // namespace
}  // namespace texprobe::tests
