// CGL's functions on scripted devices, one of whose EGL calls fails.

#include <OpenGL/OpenGL.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <tuple>

#include "CGL/es_pixel_format.h"
#include "doubles/scripted_egl.h"

namespace texprobe::tests {
namespace {

/// A pixel format, a context and a pixel buffer, created before anything fails.
class EglFailure : public testing::Test {
protected:
    void SetUp() override {
        CGLRendererInfoObj info = nullptr;
        GLint count = 0;
        ASSERT_EQ(CGLQueryRendererInfo(1, &info, &count), kCGLNoError);
        ASSERT_EQ(CGLDescribeRenderer(info, 0, kCGLRPRendererID, &id_), kCGLNoError);
        CGLDestroyRendererInfo(info);
        ASSERT_EQ(choose_pixel_format(&format_), kCGLNoError);
        ASSERT_EQ(CGLCreateContext(format_, nullptr, &context_), kCGLNoError);
        ASSERT_EQ(CGLCreatePBuffer(8, 8, GL_TEXTURE_2D, GL_RGBA, 0, &pbuffer_), kCGLNoError);
    }
    void TearDown() override {
        CGLDestroyContext(context_);
        CGLDestroyPBuffer(pbuffer_);
        CGLDestroyPixelFormat(format_);
    }

    CGLError choose_pixel_format(CGLPixelFormatObj* format,
                                 CGLOpenGLProfile profile = kCGLOGLPVersion_Legacy) const {
        const CGLPixelFormatAttribute attributes[] = {
            kCGLPFARendererID, static_cast<CGLPixelFormatAttribute>(id_), kCGLPFAOpenGLProfile,
            static_cast<CGLPixelFormatAttribute>(profile), static_cast<CGLPixelFormatAttribute>(0)};
        GLint screens = 0;
        return CGLChoosePixelFormat(attributes, format, &screens);
    }

    void fail(Step step) {
        egl_.devices[0].failsAt = step;
        egl_.devices[0].error = EGL_BAD_ALLOC;
        testing::internal::CaptureStderr();
    }
    std::string message() {
        egl_.devices[0].failsAt = Step::kNone;
        return testing::internal::GetCapturedStderr();
    }

    std::ptrdiff_t count_calls(const std::string& call) const {
        const std::vector<std::string> calls = egl_.calls();
        return std::count(calls.begin(), calls.end(), call);
    }

    ScriptedEgl egl_{{software()}};
    GLint id_ = 0;
    CGLPixelFormatObj format_ = nullptr;
    CGLContextObj context_ = nullptr;
    CGLPBufferObj pbuffer_ = nullptr;
};

TEST_F(EglFailure, is_an_error_and_gives_nothing) {
    CGLPixelFormatObj format = nullptr;
    CGLContextObj context = nullptr;
    CGLPBufferObj pbuffer = nullptr;
    ASSERT_EQ(CGLSetPBuffer(context_, pbuffer_, 0, 0, 0), kCGLNoError);
    const auto create = [&] { return CGLCreatePBuffer(8, 8, GL_TEXTURE_2D, GL_RGBA, 0, &pbuffer); };
    const std::tuple<Step, const char*, std::function<CGLError()>, CGLError> rows[] = {
        {Step::kInitialize, "eglInitialize", [&] { return choose_pixel_format(&format); },
         kCGLBadPixelFormat},
        {Step::kCreateContext, "eglCreateContext",
         [&] { return CGLCreateContext(format_, nullptr, &context); }, kCGLBadAlloc},
        {Step::kCreateSurface, "eglCreatePbufferSurface", create, kCGLBadAlloc},
        {Step::kMakeCurrent, "eglMakeCurrent", create, kCGLBadState},
        {Step::kMakeCurrent, "eglMakeCurrent", [&] { return CGLSetCurrentContext(context_); },
         kCGLBadState}};
    for (const auto& [step, call, action, error] : rows) {
        fail(step);
        EXPECT_EQ(action(), error) << call;
        EXPECT_EQ(message(), std::string("*** EGL: ") + call + " failed with EGL_BAD_ALLOC\n");
    }
    EXPECT_EQ(format, nullptr);
    EXPECT_EQ(context, nullptr);
    EXPECT_EQ(pbuffer, nullptr);
    // A surface that cannot be drawn to is found when the pixel buffer is created, and given back.
    EXPECT_EQ(count_calls("destroy_surface 0"), 1);
}

/// The versions that are asked for where no context can be had.
std::string versions_tried(const ScriptedEgl& egl, CGLPixelFormatObj format) {
    const std::size_t before = egl.calls().size();
    CGLContextObj context = nullptr;
    EXPECT_EQ(CGLCreateContext(format, nullptr, &context), kCGLBadAlloc);
    CGLDestroyPixelFormat(format);
    std::string versions;
    const std::vector<std::string> calls = egl.calls();
    for (std::size_t i = before; i < calls.size(); ++i) {
        const std::size_t end = calls[i].find(" of config");
        if (end != std::string::npos) versions += calls[i].substr(8, end - 8) + ' ';
    }
    return versions;
}

TEST_F(EglFailure, of_a_version_lets_the_next_lower_one_be_asked_for) {
    CGLPixelFormatObj core = nullptr;
    CGLPixelFormatObj legacy = nullptr;
    CGLPixelFormatObj es = nullptr;
    ASSERT_EQ(choose_pixel_format(&core, kCGLOGLPVersion_3_2_Core), kCGLNoError);
    ASSERT_EQ(choose_pixel_format(&legacy), kCGLNoError);
    ASSERT_EQ(platform::choose_es_pixel_format(id_, &es), kCGLNoError);
    fail(Step::kCreateContext);
    EXPECT_EQ(versions_tried(egl_, core), "4.6 4.5 4.4 4.3 4.2 4.1 4.0 3.3 3.2 ");
    EXPECT_EQ(versions_tried(egl_, legacy), "any ");
    EXPECT_EQ(versions_tried(egl_, es), "3.2 3.1 3.0 ");
    const std::string line = "*** EGL: eglCreateContext failed with EGL_BAD_ALLOC\n";
    EXPECT_EQ(message(), line + line + line);
}

TEST_F(EglFailure, leaves_no_surface_of_a_pixel_buffer_that_was_never_set) {
    CGLDestroyPBuffer(pbuffer_);
    pbuffer_ = nullptr;
    EXPECT_EQ(count_calls("create_surface 0"), 1);
    EXPECT_EQ(count_calls("destroy_surface 0"), 1);
}

}  // namespace
}  // namespace texprobe::tests
