// texprobe_verdicts_open() without measuring: which records it takes, and why it takes none.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <utility>

#include "run_at_work.h"
#include "scripted_verdicts.h"
#include "support/process.h"

namespace texprobe::tests {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr unsigned kRGB32F = 0x8815;

class OpenVerdicts : public ScriptedVerdicts {
protected:
    OpenVerdicts() { tool_ = "/no/such/tool"; }

    /// Looks at once; keeps the reason.
    texprobe_state look() {
        verdicts_.reset(open());
        const texprobe_state state = texprobe_verdicts_wait(verdicts_.get(), -1);
        reason_ = texprobe_verdicts_reason(verdicts_.get());
        return state;
    }
    texprobe_answer answer(unsigned format, texprobe_capability capability) const {
        return texprobe_verdicts_answer(verdicts_.get(), format, capability);
    }

    struct Close {
        void operator()(texprobe_verdicts* verdicts) const { texprobe_verdicts_close(verdicts); }
    };
    std::unique_ptr<texprobe_verdicts, Close> verdicts_;
};

TEST_F(OpenVerdicts, are_ready_when_they_are_recorded) {
    record(complete_set(kFirst, "Renderer", verdict(kFirst, "GL_RGBA8_UPLOAD_SET", false)));
    verdicts_.reset(open());
    EXPECT_EQ(texprobe_verdicts_wait(verdicts_.get(), 0), TEXPROBE_READY);
    EXPECT_STREQ(texprobe_verdicts_reason(verdicts_.get()), "");
    EXPECT_EQ(texprobe_verdicts_progress(verdicts_.get()), 1.0);
    EXPECT_EQ(answer(kRGBA8, TEXPROBE_SUPPORTED), TEXPROBE_YES);
    EXPECT_EQ(answer(kRGBA8, TEXPROBE_UPLOAD_SET), TEXPROBE_NO);
    EXPECT_EQ(answer(kRGBA8, TEXPROBE_DOWNLOAD_READ), TEXPROBE_YES);
    EXPECT_EQ(threads_of_process().size(), 1u);
    EXPECT_THAT(log(), IsEmpty());
}

TEST_F(OpenVerdicts, know_each_capability_and_each_format) {
    record(complete_set(kFirst, "Renderer",
                        verdict(kFirst, "GL_RGB32F_ARB_RENDERABLE", false) +
                            verdict(kFirst, "GL_LUMINANCE8_UPLOAD_RESET", false) +
                            verdict(kFirst, "GL_RGBA16_DOWNLOAD_GET", false) +
                            verdict(kFirst, "GL_RGBA32F_ARB_DOWNLOAD_READ", false)));
    ASSERT_EQ(look(), TEXPROBE_READY);
    constexpr unsigned kLuminance8 = 0x8040;
    constexpr unsigned kRGBA16 = 0x805B;
    constexpr unsigned kRGBA32F = 0x8814;
    EXPECT_EQ(answer(kRGB32F, TEXPROBE_RENDERABLE), TEXPROBE_NO);
    EXPECT_EQ(answer(kLuminance8, TEXPROBE_UPLOAD_RESET), TEXPROBE_NO);
    EXPECT_EQ(answer(kRGBA16, TEXPROBE_DOWNLOAD_GET), TEXPROBE_NO);
    EXPECT_EQ(answer(kRGBA32F, TEXPROBE_DOWNLOAD_READ), TEXPROBE_NO);
}

TEST_F(OpenVerdicts, are_unknown_without_a_record) {
    record(complete_set(kFirst, "Renderer",
                        verdict(kFirst, "GL_RGBA8_SUPPORTED", false) + "removed " + kFirst +
                            " GL_RGBA8_RENDERABLE\nremoved " + kFirst +
                            " GL_RGBA8_DOWNLOAD_GET\n"));
    ASSERT_EQ(look(), TEXPROBE_READY);
    EXPECT_EQ(answer(kRGBA8, TEXPROBE_SUPPORTED), TEXPROBE_NO);
    EXPECT_EQ(answer(kRGBA8, TEXPROBE_RENDERABLE), TEXPROBE_UNKNOWN);
    EXPECT_EQ(answer(kRGBA8, TEXPROBE_DOWNLOAD_GET), TEXPROBE_UNKNOWN);
}

TEST_F(OpenVerdicts, need_every_record_whose_precondition_holds) {
    record(complete_set(kFirst, "Renderer",
                        std::string("removed ") + kFirst + " GL_RGBA8_SUPPORTED\n"));
    EXPECT_EQ(look(), TEXPROBE_FAILED);
    record(
        complete_set(kFirst, "Renderer", std::string("set ") + kFirst + " VERSION number 0.2\n"));
    EXPECT_EQ(look(), TEXPROBE_FAILED) << "of an old version";
    record(complete_set(kFirst, "Renderer",
                        verdict(kFirst, "GL_RGBA8_RENDERABLE", false) + "removed " + kFirst +
                            " GL_RGBA8_UPLOAD_SET\n"));
    EXPECT_EQ(look(), TEXPROBE_FAILED);
    record(complete_set(kFirst, "Renderer",
                        verdict(kFirst, "GL_RGBA8_RENDERABLE", false) + "removed " + kFirst +
                            " GL_RGBA8_DOWNLOAD_GET\nremoved " + kFirst +
                            " GL_RGBA8_DOWNLOAD_READ\n"));
    EXPECT_EQ(look(), TEXPROBE_READY);
}

TEST_F(OpenVerdicts, are_of_a_renderer_that_this_machine_lists_now) {
    machine().displays = {{1, {{0x1021a00}}}};
    record(complete_set(kFirst, "Renderer"));
    EXPECT_EQ(look(), TEXPROBE_FAILED);
}

TEST_F(OpenVerdicts, are_of_a_compatibility_context_with_the_same_strings) {
    record(complete_set(kFirst, "Renderer"));
    constexpr int kCore = 1;
    constexpr int kCompatibility = 2;
    const struct {
        const char* vendor;
        const char* version;
        const char* renderer;
        int profile;
        texprobe_state state;
        bool isProfileAsked;
    } rows[] = {{"Vendor", "2.1 Another version", "Renderer", 0, TEXPROBE_FAILED, false},
                // Before 3.2 there are no profiles, and asking for one is an error.
                {"Vendor", "3.1 Version", "Renderer", kCore, TEXPROBE_FAILED, false},
                {"Vendor", "4.5 Version", "Renderer", kCompatibility, TEXPROBE_FAILED, true},
                {"Vendor", "2.1 Version", "Another renderer", 0, TEXPROBE_FAILED, false},
                {"Another vendor", "2.1 Version", "Renderer", 0, TEXPROBE_FAILED, false},
                {"Vendor", "2.1 Version", "Renderer", 0, TEXPROBE_READY, false},
                // The tool knows nothing of the others.
                {"Vendor", "4.5 (Core Profile) Version", "Renderer", kCore, TEXPROBE_FAILED, true},
                {"Vendor", "10.0 Version", "Renderer", kCore, TEXPROBE_FAILED, true},
                {"Vendor", "OpenGL ES 3.2 Version", "Renderer", 0, TEXPROBE_FAILED, false}};
    for (const auto& row : rows) {
        machine().vendor = row.vendor;
        machine().version = row.version;
        machine().renderer = row.renderer;
        machine().profile = row.profile;
        machine().calls.clear();
        EXPECT_EQ(look(), row.state) << row.version;
        const auto asked =
            std::count(machine().calls.begin(), machine().calls.end(), "glGetIntegerv 0x9126");
        EXPECT_EQ(asked > 0, row.isProfileAsked) << row.version;
    }
    machine().vendor = machine().version = machine().renderer = nullptr;
    EXPECT_EQ(look(), TEXPROBE_FAILED);
    EXPECT_EQ(reason_, "no OpenGL context is current on the thread that asks");
}

TEST_F(OpenVerdicts, are_unknown_where_two_renderers_differ) {
    record(complete_set(kFirst, "Renderer", verdict(kFirst, "GL_RGBA8_UPLOAD_SET", false)) +
           complete_set(kSecond, "Renderer"));
    ASSERT_EQ(look(), TEXPROBE_READY);
    EXPECT_EQ(answer(kRGBA8, TEXPROBE_UPLOAD_SET), TEXPROBE_UNKNOWN);
    EXPECT_EQ(answer(kRGBA8, TEXPROBE_UPLOAD_RESET), TEXPROBE_YES);
    EXPECT_EQ(
        reason_,
        "unknown where two renderers of this machine differ, both \"Renderer\": 1 of 96 verdicts");
    record(verdict(kFirst, "GL_RGBA8_UPLOAD_SET", true) + "sync " + kFirst + "\n");
    ASSERT_EQ(look(), TEXPROBE_READY);
    EXPECT_EQ(reason_, "") << "they agree";
}

TEST_F(OpenVerdicts, are_not_taken_from_a_set_that_a_run_is_at_work_on) {
    record(complete_set(kFirst, "Renderer"));
    {
        const RunAtWork run(kSecond);
        EXPECT_EQ(look(), TEXPROBE_READY);
    }
    const RunAtWork run(kFirst);
    EXPECT_EQ(look(), TEXPROBE_FAILED);
    EXPECT_EQ(reason_, "\"/no/such/tool\" was not found");
}

TEST_F(OpenVerdicts, are_not_taken_from_one_of_two_sets_while_a_run_is_at_work_on_the_other) {
    record(complete_set(kFirst, "Renderer") + complete_set(kSecond, "Renderer"));
    const RunAtWork run(kSecond);
    EXPECT_EQ(look(), TEXPROBE_FAILED);
}

TEST_F(OpenVerdicts, fail_at_once_when_every_renderer_is_measured_and_none_is_the_context_s) {
    record(complete_set(kFirst, "Renderer") + complete_set(kSecond, "Another renderer"));
    machine().vendor = "Forced vendor";
    tool_ = folder_.tool();
    verdicts_.reset(open());
    EXPECT_EQ(texprobe_verdicts_wait(verdicts_.get(), 0), TEXPROBE_FAILED);
    EXPECT_STREQ(texprobe_verdicts_reason(verdicts_.get()),
                 "no renderer of this machine is the context's, \"Renderer\" of \"Forced vendor\", "
                 "version \"2.1 Version\"; recorded: \"Renderer\" of \"Vendor\", version \"2.1 "
                 "Version\", \"Another renderer\" of \"Vendor\", version \"2.1 Version\"; run "
                 "texprobe if the driver's strings have changed since");
    EXPECT_EQ(threads_of_process().size(), 1u);
    EXPECT_EQ(runs(), 0);
}

TEST_F(OpenVerdicts, do_not_fail_at_once_while_something_is_left_to_measure) {
    machine().vendor = "Forced vendor";
    tool_ = folder_.tool();
    const std::string removed = std::string("removed ") + kFirst;
    const std::string unmeasured[] = {
        std::string("set ") + kFirst + " VERSION number 0.2\n",
        removed + " GL_RGBA8_SUPPORTED\n",
        removed + " GL_VENDOR\n",
        removed + " GL_VERSION\n",
        removed + " GL_RENDERER\n",
    };
    for (const std::string& what : unmeasured) {
        record(complete_set(kFirst, "Renderer", what) + complete_set(kSecond, "Renderer"));
        script("");
        EXPECT_EQ(look(), TEXPROBE_FAILED);
        EXPECT_EQ(runs(), 1) << what;
    }
    record(complete_set(kFirst, "Renderer"));
    script("");
    const RunAtWork run(kFirst);
    EXPECT_EQ(look(), TEXPROBE_FAILED);
    EXPECT_EQ(runs(), 1);
}

TEST_F(OpenVerdicts, say_why_no_renderer_is_listed) {
    machine().displayListError = 1001;
    EXPECT_EQ(look(), TEXPROBE_FAILED);
    EXPECT_EQ(reason_,
              "this machine's renderers cannot be listed: cannot get active display list (1001)");
    machine().displayListError = 0;
    machine().displays = {{1, {{0xff}}, 10001}};
    EXPECT_EQ(look(), TEXPROBE_FAILED);
    EXPECT_EQ(reason_,
              "this machine's renderers cannot be listed: cannot query renderer info (10001)");
    machine().displays = {{1, {{0xff, 10002}}}};
    EXPECT_EQ(look(), TEXPROBE_FAILED);
    EXPECT_EQ(reason_, "this machine's renderers cannot be listed: cannot get renderer ID (10002)");
    machine().displays.clear();
    EXPECT_EQ(look(), TEXPROBE_FAILED);
    EXPECT_EQ(reason_, "this machine lists no renderer");
}

TEST_F(OpenVerdicts, say_why_the_store_cannot_be_read_each_time) {
    const auto directory = folder_.database().parent_path();
    std::filesystem::remove_all(directory);
    std::filesystem::create_directory(directory);
    std::filesystem::create_directory(folder_.database());
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(look(), TEXPROBE_FAILED);
        EXPECT_THAT(reason_,
                    HasSubstr("the records cannot be read: *** texprobe records: cannot use " +
                              folder_.database().string()));
    }
    verdicts_.reset();
    EXPECT_THAT(log(), ElementsAre(HasSubstr("cannot use"), HasSubstr("cannot use")));
    EXPECT_THAT(log_threads(), Not(Contains(std::this_thread::get_id())));
    std::filesystem::remove_all(directory);
}

/// Opens without a wish for a tool; PATH has one. Zero if that one is started.
int look_in_path(const std::filesystem::path& folder) {
    setenv("PATH", ("relative::" + folder.string()).c_str(), 1);
    texprobe_verdicts* verdicts = texprobe_verdicts_open(nullptr);
    texprobe_verdicts_wait(verdicts, -1);
    const std::string reason = texprobe_verdicts_reason(verdicts);
    texprobe_verdicts_close(verdicts);
    const std::string end = "; a set-user-ID process does not look in PATH";
    const bool isRefused = reason.rfind("texprobe was not found: not as /", 0) == 0 &&
                           reason.size() > end.size() &&
                           reason.compare(reason.size() - end.size(), end.size(), end) == 0;
    const bool isStarted = std::filesystem::exists(folder / "runs");
    return isStarted ? 0 : isRefused ? 1 : 2;
}

void give(const std::filesystem::path& folder, uid_t user) {
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        ASSERT_EQ(lchown(entry.path().c_str(), user, getegid()), 0);
    }
    ASSERT_EQ(chown(folder.c_str(), user, getegid()), 0);
}

TEST_F(OpenVerdicts, take_the_tool_in_path_but_not_in_a_set_user_id_process) {
    if (std::filesystem::exists(INSTALLED_TOOL)) GTEST_SKIP() << INSTALLED_TOOL " is installed";
    script("exit 0\n");
    const auto& folder = folder_.path();
    EXPECT_EQ(status_of(start([&] { return look_in_path(folder); })), W_EXITCODE(0, 0));
    std::filesystem::remove(folder / "runs");
    if (geteuid() != 0) GTEST_SKIP() << "only root can become such a process";
    constexpr uid_t kAnother = 54321;
    EXPECT_EQ(
        status_of(start([&] { return setresgid(kAnother, 0, 0) == 0 ? look_in_path(folder) : 3; })),
        W_EXITCODE(1, 0));
    // The records are of the user whose rights the process has.
    give(folder, kAnother);
    EXPECT_EQ(
        status_of(start([&] { return setresuid(0, kAnother, 0) == 0 ? look_in_path(folder) : 3; })),
        W_EXITCODE(1, 0));
    give(folder, 0);
}

TEST_F(OpenVerdicts, know_nothing_of_other_formats_and_capabilities) {
    record(complete_set(kFirst, "Renderer"));
    ASSERT_EQ(look(), TEXPROBE_READY);
    constexpr unsigned kRGBA = 0x1908;
    EXPECT_EQ(answer(kRGBA, TEXPROBE_SUPPORTED), TEXPROBE_UNKNOWN);
    EXPECT_EQ(answer(kRGBA8, static_cast<texprobe_capability>(6)), TEXPROBE_UNKNOWN);
}

TEST_F(OpenVerdicts, may_be_null) {
    EXPECT_EQ(texprobe_verdicts_wait(nullptr, -1), TEXPROBE_FAILED);
    EXPECT_EQ(texprobe_verdicts_progress(nullptr), 0.0);
    EXPECT_STREQ(texprobe_verdicts_reason(nullptr), "out of memory");
    EXPECT_EQ(texprobe_verdicts_answer(nullptr, kRGBA8, TEXPROBE_SUPPORTED), TEXPROBE_UNKNOWN);
    texprobe_verdicts_close(nullptr);
}

TEST_F(OpenVerdicts, read_only_the_options_that_the_application_knows) {
    record(complete_set(kFirst, "Renderer"));
    texprobe_options options = {offsetof(texprobe_options, test_time_limit_ms),
                                "/no/such/tool",
                                -5,
                                nullptr,
                                nullptr,
                                7,
                                [](void*) { std::abort(); }};
    verdicts_.reset(texprobe_verdicts_open(&options));
    EXPECT_EQ(texprobe_verdicts_wait(verdicts_.get(), 0), TEXPROBE_READY);
    verdicts_.reset(texprobe_verdicts_open(nullptr));
    EXPECT_EQ(texprobe_verdicts_wait(verdicts_.get(), 0), TEXPROBE_READY);
}

TEST_F(OpenVerdicts, say_that_the_size_of_the_options_was_forgotten) {
    record(complete_set(kFirst, "Renderer"));
    texprobe_options options = {};
    verdicts_.reset(texprobe_verdicts_open(&options));
    EXPECT_EQ(texprobe_verdicts_wait(verdicts_.get(), 0), TEXPROBE_READY) << "the same as null";
    const texprobe_options forgotten[] = {
        {0, "/a/tool", 0, nullptr, nullptr, 0, nullptr},
        {0, nullptr, 5000, nullptr, nullptr, 0, nullptr},
        {0, nullptr, 0, [](void*, const char*) {}, nullptr, 0, nullptr},
        {0, nullptr, 0, nullptr, this, 0, nullptr}};
    for (const texprobe_options& wrong : forgotten) {
        verdicts_.reset(texprobe_verdicts_open(&wrong));
        EXPECT_EQ(texprobe_verdicts_wait(verdicts_.get(), 0), TEXPROBE_FAILED);
        EXPECT_STREQ(texprobe_verdicts_reason(verdicts_.get()),
                     "texprobe_options.size is 0; it must be sizeof(texprobe_options)");
    }
    options = {offsetof(texprobe_options, tool), "/a/tool", 0, nullptr, nullptr, 0, nullptr};
    verdicts_.reset(texprobe_verdicts_open(&options));
    EXPECT_THAT(texprobe_verdicts_reason(verdicts_.get()), HasSubstr("size is 8; "));
}

TEST_F(OpenVerdicts, are_the_same_as_an_object) {
    record(complete_set(kFirst, "Renderer"));
    qor::TexProbeVerdicts verdicts;
    EXPECT_EQ(verdicts.state(), TEXPROBE_READY);
    EXPECT_EQ(verdicts.wait(), TEXPROBE_READY);
    EXPECT_STREQ(verdicts.reason(), "");
    EXPECT_EQ(verdicts.progress(), 1.0);
    EXPECT_EQ(verdicts.answer(kRGBA8, TEXPROBE_RENDERABLE), TEXPROBE_YES);
}

TEST(VerdictFormats, are_sixteen) {
    // The order and the values as OpenGL publishes them.
    const std::pair<const char*, unsigned> expected[] = {{"GL_LUMINANCE8", 0x8040},
                                                         {"GL_LUMINANCE8_ALPHA8", 0x8045},
                                                         {"GL_RGB8", 0x8051},
                                                         {"GL_RGBA8", 0x8058},
                                                         {"GL_LUMINANCE16", 0x8042},
                                                         {"GL_LUMINANCE16_ALPHA16", 0x8048},
                                                         {"GL_RGB16", 0x8054},
                                                         {"GL_RGBA16", 0x805B},
                                                         {"GL_LUMINANCE16F_ARB", 0x881E},
                                                         {"GL_LUMINANCE_ALPHA16F_ARB", 0x881F},
                                                         {"GL_RGB16F_ARB", 0x881B},
                                                         {"GL_RGBA16F_ARB", 0x881A},
                                                         {"GL_LUMINANCE32F_ARB", 0x8818},
                                                         {"GL_LUMINANCE_ALPHA32F_ARB", 0x8819},
                                                         {"GL_RGB32F_ARB", 0x8815},
                                                         {"GL_RGBA32F_ARB", 0x8814}};
    ASSERT_EQ(texprobe_format_count(), 16u);
    for (std::size_t i = 0; i < 16; ++i) {
        EXPECT_STREQ(texprobe_format_name(i), expected[i].first);
        EXPECT_EQ(texprobe_format_value(i), expected[i].second) << expected[i].first;
    }
    EXPECT_EQ(texprobe_format_name(16), nullptr);
    EXPECT_EQ(texprobe_format_value(16), 0u);
}

}  // namespace
}  // namespace texprobe::tests
