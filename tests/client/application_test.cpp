// Applications that have a context of their own ask the class and TexProbeVerdicts, with the real
// tool.

#include <EGL/egl.h>
#include <OpenGL/gl.h>
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sqlite3.h>
#include <sys/mount.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <optional>
#include <ostream>
#include <vector>

#include "TexProbe.h"
#include "TexProbeVerdicts.h"
#include "application_context.h"
#include "display_servers.h"
#include "records_of_test.h"
#include "support/answers.h"
#include "support/process.h"
#include "support/text.h"
#include "surroundings.h"

namespace texprobe::tests {
namespace {

using testing::AllOf;
using testing::AnyOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

class Application : public testing::Test {
protected:
    Application() {
        unsetenv("DISPLAY");
        unsetenv("WAYLAND_DISPLAY");
    }

    /// Constructs the class and keeps everything written to standard error meanwhile.
    std::unique_ptr<qor::TexProbe> construct(const std::string& toolPath) {
        testing::internal::CaptureStderr();
        auto probe = std::make_unique<qor::TexProbe>(toolPath.c_str());
        messages_ = testing::internal::GetCapturedStderr();
        return probe;
    }

    static qor::TexProbeVerdicts open(const std::string& tool) {
        const texprobe_options options = {sizeof options, tool.c_str(), 0, nullptr, nullptr, 0,
                                          nullptr};
        return qor::TexProbeVerdicts(&options);
    }

    void expect_kept_error(EGLint error) {
        construct("/bin/true");
        EXPECT_EQ(messages_, "*** cannot get renderer\n");
        EXPECT_EQ(eglGetError(), error);
        EXPECT_EQ(eglGetError(), EGL_SUCCESS);
    }

    /// The real tool, with its runs counted and its messages discarded.
    std::string tool() const {
        return folder_.write_program("tool",
                                     "echo run >>\"${0%/*}/runs\"\n"
                                     "exec \"${0%/*}/texprobe\" >/dev/null 2>&1");
    }

    /// Of the current context's renderer.
    std::string recorded() const {
        const auto* renderer = reinterpret_cast<const char*>(glGetString(GL_RENDERER));
        return recorded_answers(folder_.records(), renderer);
    }

    const ToolFolder& folder_ = empty_folder(TOOL);
    std::string messages_;
};

struct ContextKind {
    const char* name;
    Wish wish;
    bool isWindow;
};

void PrintTo(const ContextKind& kind, std::ostream* stream) {
    *stream << kind.name;
}

class AnyContext : public Application, public testing::WithParamInterface<ContextKind> {
protected:
    void SetUp() override {
        const ContextKind& kind = GetParam();
        if (kind.isWindow && !server_.emplace().runs()) GTEST_SKIP() << "Xvfb does not run here";
        context_ = kind.isWindow ? open_window(kind.wish) : open_surfaceless(kind.wish);
        if (!context_) GTEST_SKIP() << "built without GLFW";
        draw();
    }

    std::optional<XServer> server_;
    std::unique_ptr<ApplicationContext> context_;
};

/// What others are answered is tried in asking_context_test.cpp.
class CompatibilityContext : public AnyContext {};

TEST_P(CompatibilityContext, gets_the_verdicts_on_its_renderer_and_the_tool_runs_once) {
    const std::string tool = this->tool();
    const auto first = construct(tool);
    EXPECT_EQ(messages_, "");
    const std::string expected = recorded();
    EXPECT_THAT(expected, HasSubstr("yyyyyy"));
    // The class knows no unknown.
    std::string known = expected;
    std::replace(known.begin(), known.end(), '?', 'n');
    EXPECT_EQ(answers_of(*first), known);

    const auto second = construct(tool);
    EXPECT_EQ(messages_, "");
    EXPECT_EQ(answers_of(*second), known);
    auto verdicts = open(tool);
    EXPECT_EQ(verdicts.wait(0), TEXPROBE_READY);
    EXPECT_EQ(answers_of(verdicts), expected);
    EXPECT_EQ(folder_.runs(), 1);
}

TEST_P(CompatibilityContext, is_as_it_was_after_the_class_is_constructed) {
    const Surroundings before = surroundings();
    // An error that the application has not read yet.
    glEnable(0xdead);
    construct(tool());
    ASSERT_EQ(folder_.runs(), 1);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_INVALID_ENUM));
    expect_undisturbed(before);
}

TEST_P(AnyContext, is_as_it_was_before_during_and_after_the_verdicts) {
    // Only what the library does is of interest here.
    folder_.write_program("texprobe-survey", "sleep 1");
    const Surroundings before = surroundings();
    EXPECT_GT(before.values.size(), 200u);
    EXPECT_FALSE(before.drivers.empty());
    EXPECT_TRUE(before.disturbingCalls > 0 || GetParam().isWindow) << "they are counted";
    glEnable(0xdead);
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    {
        auto verdicts = open(folder_.tool());
        EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_INVALID_ENUM));
        expect_undisturbed(before);
        const bool isOfTool = !GetParam().wish.isES && !GetParam().wish.isCore;
        EXPECT_EQ(verdicts.wait(), isOfTool ? TEXPROBE_READY : TEXPROBE_FAILED);
        expect_undisturbed(before);
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    expect_undisturbed(before);
}

constexpr Wish kDefaultOnEGL = {false, 0, 0, false, true};
const ContextKind kCompatibilityKinds[] = {
    {"glx_window", {}, true}, {"egl_window", kDefaultOnEGL, true}, {"surfaceless", {}, false}};
const ContextKind kOtherKinds[] = {
    {"core_33", kCore33, false}, {"core_45", kCore45, false}, {"es_3", kES3, false}};

std::string name_of_kind(const testing::TestParamInfo<ContextKind>& kind) {
    return kind.param.name;
}

INSTANTIATE_TEST_SUITE_P(On, CompatibilityContext, testing::ValuesIn(kCompatibilityKinds),
                         name_of_kind);
INSTANTIATE_TEST_SUITE_P(On, AnyContext, testing::ValuesIn(kCompatibilityKinds), name_of_kind);
INSTANTIATE_TEST_SUITE_P(OnAnother, AnyContext, testing::ValuesIn(kOtherKinds), name_of_kind);

int constructionsByPlugin = 0;

}  // namespace
}  // namespace texprobe::tests

extern "C" __attribute__((visibility("default"))) void texprobe_on_plugin_load() {
    const qor::TexProbe probe("/bin/true");
    ++texprobe::tests::constructionsByPlugin;
}

namespace texprobe::tests {
namespace {

bool constructs_while_a_plugin_is_loaded() {
    alarm(60);
    // cppcheck-suppress leakReturnValNotUsed
    dlopen(PLUGIN, RTLD_NOW);
    alarm(0);
    return constructionsByPlugin == 1;
}

// An error of EGL itself, and one of its vendor's library. Only a process's first lookup lists
// EGL's devices.

TEST_F(Application, keeps_a_pending_error_of_egl) {
    const auto context = open_surfaceless();
    eglQueryString(reinterpret_cast<EGLDisplay>(1), EGL_VERSION);
    expect_kept_error(EGL_BAD_DISPLAY);
}

TEST_F(Application, keeps_a_pending_error_of_egl_s_vendor) {
    const auto context = open_surfaceless();
    EGLint value = 0;
    eglQueryContext(eglGetCurrentDisplay(), eglGetCurrentContext(), EGL_NONE, &value);
    expect_kept_error(EGL_BAD_ATTRIBUTE);
}

// The loader's lock is held meanwhile. A first construction that waited for another thread to load
// something would wait forever.
TEST_F(Application, may_construct_while_a_plugin_is_loaded) {
    const auto context = open_surfaceless();
    EXPECT_TRUE(constructs_while_a_plugin_is_loaded());
}

TEST_F(Application, may_construct_while_a_plugin_is_loaded_before_it_uses_egl) {
    EXPECT_TRUE(constructs_while_a_plugin_is_loaded());
}

TEST_F(Application, keeps_its_own_sqlite) {
    sqlite3* database = nullptr;
    ASSERT_EQ(sqlite3_open(":memory:", &database), SQLITE_OK);
    sqlite3_exec(database, "CREATE TABLE t(x); BEGIN; INSERT INTO t VALUES (7)", nullptr, nullptr,
                 nullptr);
    sqlite3_soft_heap_limit64(12345678);
    const auto context = open_surfaceless();

    construct(tool()).reset();
    EXPECT_EQ(messages_, "");

    EXPECT_EQ(sqlite3_soft_heap_limit64(-1), 12345678);
    EXPECT_EQ(sqlite3_get_autocommit(database), 0);
    EXPECT_EQ(sqlite3_exec(database, "COMMIT", nullptr, nullptr, nullptr), SQLITE_OK);
    EXPECT_EQ(sqlite3_close(database), SQLITE_OK);
}

TEST_F(Application, opens_no_driver_and_no_device_without_a_context) {
    // Loads the vendors' EGL libraries, from which the list of devices comes, and their
    // dependencies. Nothing else may be loaded later.
    eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS);
    const auto before = drivers_and_devices();
    const int calls = disturbing_egl_calls();
    construct("/bin/true");
    EXPECT_EQ(messages_, "*** cannot get renderer\n");
    EXPECT_EQ(drivers_and_devices(), before);
    EXPECT_EQ(disturbing_egl_calls(), calls);
}

/// In a process with a disk of its own at `folder`.
bool mount_disk(const std::filesystem::path& folder, const std::string& size) {
    std::filesystem::create_directories(folder);
    return unshare(CLONE_NEWNS) == 0 &&
           mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount("none", folder.c_str(), "tmpfs", 0, ("mode=700,size=" + size).c_str()) == 0;
}

class FullDisk : public Application {
protected:
    /// What an application gets: "ready " and y, n and ? for each verdict, or "failed"; and why.
    std::string measure() const {
        const auto context = open_surfaceless();
        auto verdicts = open(folder_.tool());
        const bool isReady = verdicts.wait() == TEXPROBE_READY;
        return (isReady ? "ready " + answers_of(verdicts) : "failed") + " " + verdicts.reason() +
               "\n";
    }

    /// The same on a disk of that size; and again after it has grown. Nothing if mounting is not
    /// allowed.
    std::vector<std::string> measure_on_disk(const std::string& size) const {
        const std::filesystem::path file = folder_.path() / "answers";
        std::filesystem::remove(file);
        status_of(start([&] {
            const std::filesystem::path records = folder_.database().parent_path();
            if (!mount_disk(records, size)) return 1;
            const std::string small = measure();
            mount(nullptr, records.c_str(), nullptr, MS_REMOUNT, "size=10m");
            write_file(file, small + measure());
            return 0;
        }));
        return lines_of(read_file(file));
    }
};

TEST_F(FullDisk, gives_the_right_verdicts_with_a_reason_and_costs_none) {
    const std::vector<std::string> whole = measure_on_disk("10m");
    if (whole.empty()) GTEST_SKIP() << "mounting is not allowed here";
    const std::string& right = whole.at(0);
    ASSERT_THAT(right, AllOf(StartsWith("ready "), HasSubstr("yyyyyy"), EndsWith(" ")));
    const std::string file = folder_.database().parent_path();
    const auto hasReason =
        AllOf(StartsWith(right + "the verdicts are not recorded, and will be measured again: "),
              HasSubstr("cannot use " + file),
              AnyOf(EndsWith(": No space left on device"), EndsWith(": database or disk is full")));
    int reasons = 0;
    for (const int kilobytes : {4, 16, 48, 128, 400, 600}) {
        const auto lines = measure_on_disk(std::to_string(kilobytes) + "k");
        ASSERT_EQ(lines.size(), 2u) << kilobytes;
        EXPECT_THAT(lines[0], AnyOf(right, hasReason)) << kilobytes;
        EXPECT_EQ(lines[1], right) << kilobytes;
        reasons += lines[0] != right ? 1 : 0;
    }
    EXPECT_GT(reasons, 2);
}

}  // namespace
}  // namespace texprobe::tests
