// qor::TexProbe in applications that have a context of their own, with the real tool.

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <OpenGL/gl.h>
#include <dlfcn.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <fstream>
#include <latch>
#include <ostream>
#include <set>
#include <thread>
#include <vector>

#include "TexProbe.h"
#include "application_context.h"
#include "drawing.h"
#include "egl_calls.h"
#include "records_of_test.h"
#include "support/formats.h"
#include "support/tool_folder.h"
#include "x_server.h"

namespace texprobe::tests {
namespace {

/// The drivers and devices that this process has loaded or opened.
std::set<std::string> drivers_and_devices() {
    std::set<std::string> result;
    const auto keep = [&result](const std::string& file) {
        for (const char* part : {"/dev/dri", "/dev/nvidia", "_dri.so", "libgallium", "libLLVM"}) {
            if (file.find(part) != std::string::npos) result.insert(file);
        }
    };
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code closedMeanwhile;
        keep(std::filesystem::read_symlink(entry.path(), closedMeanwhile));
    }
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        const std::size_t path = line.find('/');
        if (path != std::string::npos) keep(line.substr(path));
    }
    return result;
}

class ApplicationFixture : public testing::Test {
protected:
    ApplicationFixture() {
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

    /// The real tool, with its runs counted and its messages discarded.
    std::string tool() const {
        return folder_.write_program("tool",
                                     "echo run >>\"${0%/*}/runs\"\n"
                                     "exec \"${0%/*}/texprobe\" >/dev/null 2>&1");
    }

    /// The records under the identification strings of the current context.
    Records records_of_context() const {
        for (const auto& [application, records] : folder_.records()) {
            const auto renderer = records.find("GL_RENDERER");
            if (renderer != records.end() && renderer->second == "string " + gl_text(GL_RENDERER)) {
                EXPECT_EQ(records.at("GL_VENDOR"), "string " + gl_text(GL_VENDOR));
                EXPECT_EQ(records.at("GL_VERSION"), "string " + gl_text(GL_VERSION));
                return records;
            }
        }
        ADD_FAILURE() << "no records of " << gl_text(GL_RENDERER);
        return {};
    }

    const ToolFolder& folder_ = empty_folder(TOOL);
    std::string messages_;
};

void expect_answers_equal_records(const qor::TexProbe& probe, const Records& records) {
    for (const Format& tested : kFormats) {
        const GLenum format = tested.internalFormat;
        const std::string name = tested.name;
        const auto recorded = [&records, key = name](const char* capability) {
            const auto found = records.find(key + capability);
            EXPECT_NE(found, records.end()) << key << capability;
            return found != records.end() && found->second == "boolean 1";
        };
        const bool supported = recorded("_SUPPORTED");
        EXPECT_EQ(probe.IsTextureFormatSupported(format, false), supported) << name;
        EXPECT_EQ(probe.IsTextureFormatSupported(format, true),
                  supported && recorded("_RENDERABLE"))
            << name;
        EXPECT_EQ(probe.IsTextureFormatSettable(format), recorded("_UPLOAD_SET")) << name;
        EXPECT_EQ(probe.IsTextureFormatResettable(format), recorded("_UPLOAD_RESET")) << name;
        EXPECT_EQ(probe.IsTextureFormatGettable(format), recorded("_DOWNLOAD_GET")) << name;
        EXPECT_EQ(probe.IsTextureFormatReadable(format), recorded("_DOWNLOAD_READ")) << name;
    }
}

class Application : public ApplicationFixture, public testing::WithParamInterface<ContextKind> {
protected:
    void SetUp() override {
        if (GetParam().window) {
            if (!has_glfw()) GTEST_SKIP() << "built without GLFW";
            server_ = std::make_unique<XServer>();
            if (!server_->runs()) GTEST_SKIP() << "Xvfb does not run here";
        }
        context_ = GetParam().open();
        set_up_drawing();
    }

    std::unique_ptr<XServer> server_;
    std::unique_ptr<ApplicationContext> context_;
};

TEST_P(Application, runs_the_tool_at_the_first_construction_only) {
    const auto first = construct(tool());
    EXPECT_EQ(messages_, "");
    EXPECT_EQ(folder_.runs(), 1);
    expect_answers_equal_records(*first, records_of_context());

    const auto second = construct(tool());
    EXPECT_EQ(messages_, "");
    EXPECT_EQ(folder_.runs(), 1);
    expect_answers_equal_records(*second, records_of_context());
}

TEST_P(Application, keeps_its_context_as_it_is) {
    EXPECT_EQ(draw(), expected_image());
    const auto handles = current_handles();
    const auto state = context_state();
    const auto files = drivers_and_devices();
    const int calls = disturbing_egl_calls();
    // An error that the application has not read yet.
    ASSERT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    glEnable(0xdead);

    construct(tool());
    ASSERT_EQ(folder_.runs(), 1);

    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_INVALID_ENUM));
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
    EXPECT_EQ(current_handles(), handles);
    EXPECT_EQ(context_state(), state);
    EXPECT_EQ(drivers_and_devices(), files);
    EXPECT_EQ(disturbing_egl_calls(), calls);
    EXPECT_EQ(draw(), expected_image());
}

INSTANTIATE_TEST_SUITE_P(On, Application,
                         testing::Values(ContextKind{"glx_window", open_glx_window, true, true},
                                         ContextKind{"egl_window", open_egl_window, true, true},
                                         ContextKind{"surfaceless", open_surfaceless, false, true}),
                         [](const auto& param) { return param.param.name; });

class SurfacelessApplication : public ApplicationFixture {};

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

TEST_F(SurfacelessApplication, is_the_one_whose_calls_are_counted) {
    const auto context = open_surfaceless();
    EXPECT_GT(disturbing_egl_calls(), 0);
    EXPECT_NE(drivers_and_devices(), std::set<std::string>{});
}

TEST_F(SurfacelessApplication, finds_nothing_with_a_core_profile) {
    const auto context = open_surfaceless_core();
    const auto probe = construct(tool());
    EXPECT_EQ(messages_, "*** cannot get renderer\n");
    EXPECT_EQ(folder_.runs(), 1);
    testing::internal::CaptureStderr();
    EXPECT_FALSE(probe->IsTextureFormatSupported(GL_RGBA8, false));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "unsupported texture format: 0x8058\n");
    // Every construction runs the tool again, which finds all verdicts recorded.
    construct(tool());
    EXPECT_EQ(folder_.runs(), 2);
}

TEST_F(SurfacelessApplication, keeps_its_other_displays) {
    const auto context = open_surfaceless();
    const auto queryDevices =
        reinterpret_cast<PFNEGLQUERYDEVICESEXTPROC>(eglGetProcAddress("eglQueryDevicesEXT"));
    EGLDeviceEXT device = nullptr;
    EGLint count = 0;
    ASSERT_TRUE(queryDevices(1, &device, &count));
    EGLDisplay display = eglGetPlatformDisplay(EGL_PLATFORM_DEVICE_EXT, device, nullptr);
    ASSERT_TRUE(eglInitialize(display, nullptr, nullptr));
    construct(tool()).reset();
    EXPECT_NE(eglQueryString(display, EGL_VERSION), nullptr);
    EXPECT_NE(eglQueryString(eglGetCurrentDisplay(), EGL_VERSION), nullptr);
    eglTerminate(display);
}

// An error of EGL itself, and one of its vendor's library. Only a process's first lookup lists
// EGL's devices.
TEST_F(SurfacelessApplication, keeps_a_pending_error_of_egl) {
    const auto context = open_surfaceless();
    eglQueryString(reinterpret_cast<EGLDisplay>(1), EGL_VERSION);
    construct("/bin/true");
    EXPECT_EQ(messages_, "*** cannot get renderer\n");
    EXPECT_EQ(eglGetError(), EGL_BAD_DISPLAY);
    EXPECT_EQ(eglGetError(), EGL_SUCCESS);
}

TEST_F(SurfacelessApplication, keeps_a_pending_error_of_egl_s_vendor) {
    const auto context = open_surfaceless();
    EGLint value = 0;
    eglQueryContext(eglGetCurrentDisplay(), eglGetCurrentContext(), EGL_NONE, &value);
    construct("/bin/true");
    EXPECT_EQ(messages_, "*** cannot get renderer\n");
    EXPECT_EQ(eglGetError(), EGL_BAD_ATTRIBUTE);
    EXPECT_EQ(eglGetError(), EGL_SUCCESS);
}

TEST_F(SurfacelessApplication, may_construct_on_several_threads_at_once) {
    ASSERT_TRUE(folder_.run().exited_with(0));
    std::array<bool, 4> found{};
    // They also wait for each other at the end: they share EGL's one display, and the first to
    // finish terminates it.
    std::latch opened(found.size());
    std::latch asked(found.size());
    std::vector<std::thread> threads;
    threads.reserve(found.size());
    for (bool& isFound : found) {
        threads.emplace_back([&] {
            const auto context = open_surfaceless();
            opened.arrive_and_wait();
            const qor::TexProbe probe(nullptr);
            isFound = probe.IsTextureFormatSupported(GL_RGBA8, true);
            asked.arrive_and_wait();
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_THAT(found, testing::Each(true));
}

// The loader's lock is held meanwhile. A first construction that waited for another thread to load
// something would wait forever.
TEST_F(SurfacelessApplication, may_construct_while_a_plugin_is_loaded) {
    const auto context = open_surfaceless();
    EXPECT_TRUE(constructs_while_a_plugin_is_loaded());
}

TEST_F(SurfacelessApplication, may_construct_while_a_plugin_is_loaded_before_it_uses_egl) {
    EXPECT_TRUE(constructs_while_a_plugin_is_loaded());
}

TEST_F(SurfacelessApplication, keeps_its_own_sqlite) {
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

TEST(ApplicationWithoutContext, opens_no_driver_and_no_device) {
    empty_folder(TOOL);
    // Loads the vendors' EGL libraries, from which the list of devices comes, and their
    // dependencies. Nothing else may be loaded later.
    eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS);
    const auto before = drivers_and_devices();
    const int calls = disturbing_egl_calls();
    testing::internal::CaptureStderr();
    const qor::TexProbe probe("/bin/true");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "*** cannot get renderer\n");
    EXPECT_EQ(drivers_and_devices(), before);
    EXPECT_EQ(disturbing_egl_calls(), calls);
}

}  // namespace
}  // namespace texprobe::tests
