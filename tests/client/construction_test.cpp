// Construction of qor::TexProbe: when the tool runs, what is printed, and what the object knows
// afterwards.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <type_traits>

#include "run_at_work.h"
#include "scripted_application.h"

namespace texprobe::tests {
namespace {

using qor::TexProbe;
using testing::ElementsAre;
using testing::EndsWith;

constexpr GLenum kRGB16F = 0x881B;
/// The line of a program by which its runs are counted.
constexpr char kCount[] = "echo run >>\"${0%/*}/runs\"";
constexpr char kToolFailed[] = "Running texprobe failed\n*** texprobe() failed\n";

static_assert(!std::is_copy_constructible_v<TexProbe> && !std::is_copy_assignable_v<TexProbe>);
static_assert(!std::is_move_constructible_v<TexProbe> && !std::is_move_assignable_v<TexProbe>);
static_assert(!std::is_polymorphic_v<TexProbe>);
static_assert(!std::is_default_constructible_v<TexProbe>);
static_assert(sizeof(TexProbe) ==
              sizeof(CFStringRef) + sizeof(std::map<unsigned, TexProbe::TexFormatCaps>));

class Construction : public ScriptedApplication {
protected:
    /// With neither an identifier nor a format, every query prints its message and returns false.
    void expect_empty(const TexProbe& probe) {
        EXPECT_FALSE(ask([&] { return probe.IsTextureFormatSupported(kRGB16F, false); }));
        EXPECT_EQ(messages_, "unsupported texture format: 0x881b\n");
    }
    void expect_loaded(const TexProbe& probe) {
        EXPECT_TRUE(ask([&] { return probe.IsTextureFormatSupported(kRGB16F, false); }));
        EXPECT_EQ(messages_, "");
    }
};

TEST_F(Construction, does_not_use_the_tool_path_when_there_are_records) {
    write_identity_of_renderer();
    write_boolean(kScriptedApplication, "GL_RGB16F_ARB_SUPPORTED", true);
    const auto probe = construct("/no/such/\"tool");
    EXPECT_EQ(messages_, "");
    expect_loaded(*probe);
}

TEST_F(Construction, runs_the_tool_once_and_sees_its_records_at_once) {
    const auto first = construct(folder_.tool());
    EXPECT_EQ(messages_, "");
    EXPECT_EQ(folder_.runs(), 1);
    expect_loaded(*first);

    const auto second = construct(folder_.tool());
    EXPECT_EQ(folder_.runs(), 1);
    expect_loaded(*second);
}

TEST_F(Construction, runs_the_tool_without_an_argument) {
    construct(folder_.tool());
    std::ifstream stream(folder_.path() / "runs");
    std::string line;
    std::getline(stream, line);
    EXPECT_EQ(line, "run");
}

TEST_F(Construction, runs_the_tool_again_after_a_driver_update) {
    write_identity(kScriptedApplication, kScriptedVendor, "2.0 Version", kScriptedRenderer);
    const auto probe = construct(folder_.tool());
    EXPECT_EQ(messages_, "");
    EXPECT_EQ(folder_.runs(), 1);
    expect_loaded(*probe);
}

TEST_F(Construction, runs_the_tool_again_after_a_run_that_died) {
    write_number(kScriptedApplication, "VERSION", 0.21);
    write_boolean(kScriptedApplication, "GL_RGB16F_ARB_SUPPORTED", false);
    const auto probe = construct(folder_.tool());
    EXPECT_EQ(folder_.runs(), 1);
    expect_loaded(*probe);
}

TEST_F(Construction, runs_the_tool_when_another_run_is_at_work_on_the_records) {
    write_identity_of_renderer();
    const RunAtWork run(kScriptedApplication);
    const auto probe = construct(folder_.tool());
    EXPECT_EQ(messages_, "");
    EXPECT_EQ(folder_.runs(), 1);
    expect_loaded(*probe);
}

TEST_F(Construction, gives_the_tool_the_application_s_environment_and_streams) {
    setenv("TEXPROBE_TEST_VARIABLE", "inherited", 1);
    testing::internal::CaptureStdout();
    construct(folder_.write_program("tool",
                                    "echo to standard output, $TEXPROBE_TEST_VARIABLE\n"
                                    "echo to standard error >&2"));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "to standard output, inherited\n");
    EXPECT_EQ(messages_, "to standard error\n*** cannot get renderer\n");
}

TEST_F(Construction, is_empty_when_the_tool_fails_or_leaves_no_usable_records) {
    const std::pair<std::string, std::string> runs[] = {
        {"exit 1\n", kToolFailed},
        {"raise 11\n", kToolFailed},
        {"", "*** cannot get renderer\n"},
        // Complete records do not make up for the exit status.
        {measured() + "exit 1\n", kToolFailed}};
    int number = 0;
    for (const auto& [script, message] : runs) {
        folder_.script(script);
        const auto probe = construct(folder_.tool());
        // The shell may report that its child crashed.
        EXPECT_THAT(messages_, EndsWith(message));
        EXPECT_TRUE(messages_ == message || script == "raise 11\n") << messages_;
        EXPECT_EQ(folder_.runs(), ++number);
        expect_empty(*probe);
    }
}

TEST_F(Construction, is_empty_when_the_tool_is_missing) {
    const auto probe = construct("/no/such/tool");
    EXPECT_THAT(lines_of(messages_),
                ElementsAre(EndsWith("/no/such/tool: not found"), "Running texprobe failed",
                            "*** texprobe() failed"));
    expect_empty(*probe);
}

TEST_F(Construction, is_empty_when_the_tool_is_not_executable) {
    const std::string tool = folder_.write_program("tool", kCount);
    std::filesystem::permissions(tool, std::filesystem::perms::owner_read);
    const auto probe = construct(tool);
    EXPECT_THAT(lines_of(messages_),
                ElementsAre(EndsWith("tool: Permission denied"), "Running texprobe failed",
                            "*** texprobe() failed"));
    EXPECT_EQ(folder_.runs(), 0);
    expect_empty(*probe);
}

TEST_F(Construction, prints_the_errors_of_both_lookups) {
    machine().displays[0].error = 10017;
    construct("/bin/true");
    EXPECT_EQ(messages_,
              "*** cannot query renderer info (10017)\n"
              "*** cannot query renderer info (10017)\n"
              "*** cannot get renderer\n");
}

TEST_F(Construction, is_empty_without_a_tool_path_and_without_records) {
    testing::internal::CaptureStderr();
    const TexProbe probe(nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), kToolFailed);
    expect_empty(probe);
}

TEST_F(Construction, needs_no_tool_path_when_there_are_records) {
    write_identity_of_renderer();
    write_boolean(kScriptedApplication, "GL_RGB16F_ARB_SUPPORTED", true);
    testing::internal::CaptureStderr();
    const TexProbe probe(nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    expect_loaded(probe);
}

TEST_F(Construction, accepts_a_path_with_spaces) {
    const auto probe =
        construct(folder_.write_program("a folder/the tool", "exec \"${0%/*}/../texprobe\""));
    EXPECT_EQ(messages_, "");
    EXPECT_EQ(folder_.runs(), 1);
    expect_loaded(*probe);
}

TEST_F(Construction, breaks_on_a_path_with_a_double_quote) {
    const auto probe = construct(folder_.write_program("a\"tool", kCount));
    EXPECT_THAT(messages_, EndsWith(kToolFailed));
    EXPECT_EQ(folder_.runs(), 0);
    expect_empty(*probe);
}

TEST_F(Construction, passes_the_command_to_the_shell_as_it_is_built) {
    const std::string tool = folder_.write_program("tool", "echo \"$@\"");
    testing::internal::CaptureStdout();
    construct(tool + "\" one \"two");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "one two\n");
}

TEST_F(Construction, is_empty_without_a_current_context) {
    write_identity_of_renderer();
    machine().vendor = machine().version = machine().renderer = nullptr;
    const auto probe = construct(folder_.tool());
    EXPECT_EQ(messages_, "*** cannot get renderer\n");
    EXPECT_EQ(folder_.runs(), 1);
    expect_empty(*probe);
}

TEST_F(Construction, touches_no_context) {
    construct(folder_.tool());
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
