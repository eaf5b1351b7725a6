// texprobe_verdicts_open() without measuring: which records it takes, and why it takes none.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <filesystem>

#include "run_at_work.h"
#include "scripted_verdicts.h"

namespace texprobe::tests {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class OpenVerdicts : public ScriptedVerdicts {
protected:
    OpenVerdicts() { tool_ = "/no/such/tool"; }
};

TEST_F(OpenVerdicts, are_ready_at_once_with_all_that_is_recorded) {
    record(complete_set(no("GL_RGBA8_UPLOAD_SET") + no("GL_RGB32F_ARB_RENDERABLE") +
                        no("GL_LUMINANCE8_UPLOAD_RESET") + no("GL_RGBA16_DOWNLOAD_GET") +
                        no("GL_RGBA32F_ARB_DOWNLOAD_READ")));
    open();
    EXPECT_EQ(verdicts_->wait(0), TEXPROBE_READY);
    EXPECT_STREQ(verdicts_->reason(), "");
    EXPECT_EQ(verdicts_->progress(), 1.0);
    EXPECT_EQ(answers(kRGBA8), "yynyyy");
    EXPECT_EQ(answers_of(*verdicts_), answers_of(folder_.records().at(kFirst)));
    constexpr unsigned kRGBA = 0x1908;
    EXPECT_EQ(answers(kRGBA), "??????") << "no format of the tool";
    EXPECT_EQ(answer(kRGBA8, static_cast<texprobe_capability>(6)), TEXPROBE_UNKNOWN);
    EXPECT_EQ(threads_of_process().size(), 1u);
    EXPECT_THAT(log(), IsEmpty());
}

TEST_F(OpenVerdicts, need_every_record_whose_precondition_holds) {
    const struct {
        std::string except;
        texprobe_state state;
        const char* answers;
    } rows[] = {
        {removed("GL_RGBA8_SUPPORTED"), TEXPROBE_FAILED, "??????"},
        {old_version(), TEXPROBE_FAILED, "??????"},
        {no("GL_RGBA8_RENDERABLE") + removed("GL_RGBA8_UPLOAD_SET"), TEXPROBE_FAILED, "??????"},
        {no("GL_RGBA8_RENDERABLE") + removed("GL_RGBA8_DOWNLOAD_GET") +
             removed("GL_RGBA8_DOWNLOAD_READ"),
         TEXPROBE_READY, "ynyy??"},
        {no("GL_RGBA8_SUPPORTED") + removed("GL_RGBA8_RENDERABLE") +
             removed("GL_RGBA8_DOWNLOAD_GET"),
         TEXPROBE_READY, "n?yy?y"}};
    for (const auto& row : rows) {
        record(complete_set(row.except));
        EXPECT_EQ(measure(), row.state) << row.except;
        EXPECT_EQ(answers(), row.answers) << row.except;
    }
}

TEST_F(OpenVerdicts, are_of_a_renderer_that_this_machine_lists_now) {
    machine().displays = {{1, {{0x1021a00}}}};
    record(complete_set());
    EXPECT_EQ(measure(), TEXPROBE_FAILED);
}

TEST_F(OpenVerdicts, are_of_a_compatibility_context_with_the_same_strings) {
    record(complete_set());
    constexpr int kCore = 1;
    constexpr int kCompatibility = 2;
    const struct {
        const char* version;
        int profile;
        texprobe_state state;
        bool isProfileAsked;
        const char* vendor = "Vendor";
        const char* renderer = "Renderer";
    } rows[] = {{"2.1 Another version", 0, TEXPROBE_FAILED, false},
                // Before 3.2 there are no profiles, and asking for one is an error.
                {"3.1 Version", kCore, TEXPROBE_FAILED, false},
                {"4.5 Version", kCompatibility, TEXPROBE_FAILED, true},
                {"2.1 Version", 0, TEXPROBE_FAILED, false, "Vendor", "Another renderer"},
                {"2.1 Version", 0, TEXPROBE_FAILED, false, "Another vendor"},
                {"2.1 Version", 0, TEXPROBE_READY, false},
                // The tool knows nothing of the others.
                {"4.5 (Core Profile) Version", kCore, TEXPROBE_FAILED, true},
                {"10.0 Version", kCore, TEXPROBE_FAILED, true},
                {"OpenGL ES 3.2 Version", 0, TEXPROBE_FAILED, false}};
    for (const auto& row : rows) {
        be_in(row.version, row.profile, row.vendor, row.renderer);
        machine().calls.clear();
        EXPECT_EQ(measure(), row.state) << row.version;
        const auto asked =
            std::count(machine().calls.begin(), machine().calls.end(), "glGetIntegerv 0x9126");
        EXPECT_EQ(asked > 0, row.isProfileAsked) << row.version;
    }
    be_in(nullptr, 0, nullptr, nullptr);
    EXPECT_EQ(measure(), TEXPROBE_FAILED);
    EXPECT_EQ(reason_, "no OpenGL context is current on the thread that asks");
}

TEST_F(OpenVerdicts, are_unknown_where_two_renderers_differ) {
    record(complete_set(no("GL_RGBA8_UPLOAD_SET")) + complete_set("", kSecond));
    ASSERT_EQ(measure(), TEXPROBE_READY);
    EXPECT_EQ(answers(), "yy?yyy");
    EXPECT_EQ(
        reason_,
        "unknown where two renderers of this machine differ, both \"Renderer\": 1 of 96 verdicts");
    record(complete_set());
    ASSERT_EQ(measure(), TEXPROBE_READY);
    EXPECT_EQ(reason_, "") << "they agree";
}

TEST_F(OpenVerdicts, are_not_taken_while_a_run_is_at_work_on_a_set_with_these_strings) {
    record(complete_set());
    {
        const RunAtWork run(kSecond);
        EXPECT_EQ(measure(), TEXPROBE_READY);
        record(complete_set("", kSecond));
        EXPECT_EQ(measure(), TEXPROBE_FAILED) << "of two, one is in hand";
    }
    const RunAtWork run(kFirst);
    EXPECT_EQ(measure(), TEXPROBE_FAILED);
    EXPECT_EQ(reason_, "\"/no/such/tool\" was not found");
}

TEST_F(OpenVerdicts, fail_at_once_when_every_renderer_is_measured_and_none_is_the_context_s) {
    record(complete_set() + complete_set("", kSecond, "Another renderer"));
    be_in("2.1 Version", 0, "Forced vendor");
    tool_ = folder_.tool();
    open();
    EXPECT_EQ(verdicts_->wait(0), TEXPROBE_FAILED);
    EXPECT_STREQ(verdicts_->reason(),
                 "no renderer of this machine is the context's, \"Renderer\" of \"Forced vendor\", "
                 "version \"2.1 Version\"; recorded: \"Renderer\" of \"Vendor\", version \"2.1 "
                 "Version\", \"Another renderer\" of \"Vendor\", version \"2.1 Version\"; run "
                 "texprobe if the driver's strings have changed since");
    EXPECT_EQ(threads_of_process().size(), 1u);
    EXPECT_EQ(runs(), 0);
}

TEST_F(OpenVerdicts, do_not_fail_at_once_while_something_is_left_to_measure) {
    be_in("2.1 Version", 0, "Forced vendor");
    tool_ = folder_.tool();
    for (const std::string& unmeasured :
         {old_version(), removed("GL_RGBA8_SUPPORTED"), removed("GL_VENDOR"), removed("GL_VERSION"),
          removed("GL_RENDERER")}) {
        record(complete_set(unmeasured) + complete_set("", kSecond));
        EXPECT_EQ(measure(), TEXPROBE_FAILED);
        EXPECT_EQ(runs(), 1) << unmeasured;
    }
    record(complete_set());
    const RunAtWork run(kFirst);
    EXPECT_EQ(measure(), TEXPROBE_FAILED);
    EXPECT_EQ(runs(), 1);
}

TEST_F(OpenVerdicts, say_why_no_renderer_is_listed) {
    const std::string cannot = "this machine's renderers cannot be listed: cannot ";
    const struct {
        int listError;
        std::vector<ScriptedDisplay> displays;
        std::string reason;
    } rows[] = {{1001, {}, cannot + "get active display list (1001)"},
                {0, {{1, {{0xff}}, 10001}}, cannot + "query renderer info (10001)"},
                {0, {{1, {{0xff, 10002}}}}, cannot + "get renderer ID (10002)"},
                {0, {}, "this machine lists no renderer"}};
    for (const auto& row : rows) {
        machine().displayListError = row.listError;
        machine().displays = row.displays;
        EXPECT_EQ(measure(), TEXPROBE_FAILED);
        EXPECT_EQ(reason_, row.reason);
    }
}

TEST_F(OpenVerdicts, say_why_the_store_cannot_be_read_each_time) {
    const auto directory = folder_.database().parent_path();
    std::filesystem::remove_all(directory);
    std::filesystem::create_directories(folder_.database());
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(measure(), TEXPROBE_FAILED);
        EXPECT_THAT(reason_,
                    HasSubstr("the records cannot be read: *** texprobe records: cannot use " +
                              folder_.database().string()));
    }
    verdicts_.reset();
    EXPECT_THAT(log(), ElementsAre(HasSubstr("cannot use"), HasSubstr("cannot use")));
    EXPECT_THAT(log_threads(), Not(Contains(std::this_thread::get_id())));
    std::filesystem::remove_all(directory);
}

TEST_F(OpenVerdicts, take_the_tool_in_path_without_a_wish) {
    if (std::filesystem::exists(INSTALLED_TOOL)) GTEST_SKIP() << INSTALLED_TOOL " is installed";
    const std::string path = std::getenv("PATH");
    setenv("PATH", folder_.path().c_str(), 1);
    verdicts_.emplace(nullptr);
    setenv("PATH", path.c_str(), 1);
    verdicts_->wait();
    EXPECT_EQ(runs(), 1);
}

TEST_F(OpenVerdicts, may_be_null) {
    EXPECT_EQ(texprobe_verdicts_wait(nullptr, -1), TEXPROBE_FAILED);
    EXPECT_EQ(texprobe_verdicts_progress(nullptr), 0.0);
    EXPECT_STREQ(texprobe_verdicts_reason(nullptr), "out of memory");
    EXPECT_EQ(texprobe_verdicts_answer(nullptr, kRGBA8, TEXPROBE_SUPPORTED), TEXPROBE_UNKNOWN);
    EXPECT_EQ(texprobe_verdicts_upload_layout(nullptr, kRGBA8, nullptr, nullptr), 0);
    texprobe_verdicts_close(nullptr);
}

TEST_F(OpenVerdicts, read_only_the_options_that_the_application_knows) {
    record(complete_set());
    texprobe_options wish = options(-5);
    wish.size = offsetof(texprobe_options, test_time_limit_ms);
    wish.measure = 7;
    wish.done = [](void*) { std::abort(); };
    EXPECT_EQ(measure(wish), TEXPROBE_READY);
}

TEST_F(OpenVerdicts, say_that_the_size_of_the_options_was_forgotten) {
    record(complete_set());
    EXPECT_EQ(measure(texprobe_options()), TEXPROBE_READY) << "the same as null";
    constexpr std::size_t kTooSmall = offsetof(texprobe_options, tool);
    const struct {
        texprobe_options options;
        const char* reason = "texprobe_options.size is 0; it must be sizeof(texprobe_options)";
    } rows[] = {
        {{0, "/a/tool", 0, nullptr, nullptr, 0, nullptr}},
        {{0, nullptr, 5000, nullptr, nullptr, 0, nullptr}},
        {{0, nullptr, 0, [](void*, const char*) {}, nullptr, 0, nullptr}},
        {{0, nullptr, 0, nullptr, this, 0, nullptr}},
        {{kTooSmall, "/a/tool", 0, nullptr, nullptr, 0, nullptr},
         "texprobe_options.size is 8; it must be sizeof(texprobe_options)"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(measure(row.options), TEXPROBE_FAILED);
        EXPECT_EQ(reason_, row.reason);
    }
}

TEST(VerdictFormats, are_sixteen_in_the_order_for_applications) {
    ASSERT_EQ(texprobe_format_count(), kNamesForApplications.size());
    for (std::size_t i = 0; i < kNamesForApplications.size(); ++i) {
        const std::string name = kNamesForApplications[i];
        EXPECT_EQ(texprobe_format_name(i), name);
        const auto* found = std::find_if(kFormats.begin(), kFormats.end(),
                                         [&](const Format& each) { return each.name == name; });
        ASSERT_NE(found, kFormats.end()) << name;
        EXPECT_EQ(texprobe_format_value(i), found->internalFormat) << name;
    }
    EXPECT_EQ(texprobe_format_name(16), nullptr);
    EXPECT_EQ(texprobe_format_value(16), 0u);
}

}  // namespace
}  // namespace texprobe::tests
