// CGL's functions on the software renderer of this machine, with EGL calls that fail when a test
// says so: this program's own definitions of these calls replace libEGL's.

#include <EGL/egl.h>
#include <OpenGL/OpenGL.h>
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <string_view>
#include <tuple>

#include "CGL/es_pixel_format.h"

namespace {

std::string_view failingCall;
int surfacesMade = 0;
int surfacesDestroyed = 0;
/// The versions asked for, each as "4.6"; "any" without one.
std::string versionsAskedFor;

EGLint value_of(const EGLint* attributes, EGLint name) {
    for (; attributes && *attributes != EGL_NONE; attributes += 2) {
        if (attributes[0] == name) return attributes[1];
    }
    return -1;
}

void note_version(const EGLint* attributes) {
    const EGLint major = value_of(attributes, EGL_CONTEXT_MAJOR_VERSION);
    const EGLint minor = value_of(attributes, EGL_CONTEXT_MINOR_VERSION);
    const bool isAny = major < 0 && minor < 0;
    versionsAskedFor += isAny ? "any " : std::to_string(major) + '.' + std::to_string(minor) + ' ';
}

/// EGL's own function; null if this call is to fail.
template <typename Function>
Function next(const char* name, Function) {
    return failingCall == name ? nullptr : reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

EGLBoolean eglInitialize(EGLDisplay display, EGLint* major, EGLint* minor) {
    const auto function = next("eglInitialize", &eglInitialize);
    return function ? function(display, major, minor) : EGL_FALSE;
}

EGLContext eglCreateContext(EGLDisplay display, EGLConfig config, EGLContext share,
                            const EGLint* attributes) {
    note_version(attributes);
    const auto function = next("eglCreateContext", &eglCreateContext);
    return function ? function(display, config, share, attributes) : EGL_NO_CONTEXT;
}

EGLSurface eglCreatePbufferSurface(EGLDisplay display, EGLConfig config, const EGLint* attributes) {
    const auto function = next("eglCreatePbufferSurface", &eglCreatePbufferSurface);
    if (!function) return EGL_NO_SURFACE;
    ++surfacesMade;
    return function(display, config, attributes);
}

EGLBoolean eglDestroySurface(EGLDisplay display, EGLSurface surface) {
    ++surfacesDestroyed;
    return next("eglDestroySurface", &eglDestroySurface)(display, surface);
}

EGLBoolean eglMakeCurrent(EGLDisplay display, EGLSurface draw, EGLSurface read,
                          EGLContext context) {
    const auto function = next("eglMakeCurrent", &eglMakeCurrent);
    return function ? function(display, draw, read, context) : EGL_FALSE;
}

EGLint eglGetError() {
    if (!failingCall.empty()) return EGL_BAD_ALLOC;
    return next("eglGetError", &eglGetError)();
}

}  // extern "C"

namespace texprobe::tests {
namespace {

/// A pixel format, a context and a pixel buffer, created before anything fails.
class EglFailure : public testing::Test {
protected:
    void SetUp() override {
        CGLRendererInfoObj info = nullptr;
        GLint count = 0;
        ASSERT_EQ(CGLQueryRendererInfo(1, &info, &count), kCGLNoError);
        ASSERT_EQ(CGLDescribeRenderer(info, count - 1, kCGLRPRendererID, &id_), kCGLNoError);
        CGLDestroyRendererInfo(info);
        ASSERT_EQ(choose_pixel_format(&format_), kCGLNoError);
        ASSERT_EQ(CGLCreateContext(format_, nullptr, &context_), kCGLNoError);
        ASSERT_EQ(CGLCreatePBuffer(8, 8, GL_TEXTURE_2D, GL_RGBA, 0, &pbuffer_), kCGLNoError);
    }
    void TearDown() override {
        failingCall = {};
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

    void fail(std::string_view call) {
        failingCall = call;
        testing::internal::CaptureStderr();
    }
    static std::string message() {
        failingCall = {};
        return testing::internal::GetCapturedStderr();
    }

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
    const std::tuple<const char*, std::function<CGLError()>, CGLError> rows[] = {
        {"eglInitialize", [&] { return choose_pixel_format(&format); }, kCGLBadPixelFormat},
        {"eglCreateContext", [&] { return CGLCreateContext(format_, nullptr, &context); },
         kCGLBadAlloc},
        {"eglCreatePbufferSurface",
         [&] { return CGLCreatePBuffer(8, 8, GL_TEXTURE_2D, GL_RGBA, 0, &pbuffer); }, kCGLBadAlloc},
        {"eglMakeCurrent", [&] { return CGLSetCurrentContext(context_); }, kCGLBadState}};
    for (const auto& [call, action, error] : rows) {
        fail(call);
        EXPECT_EQ(action(), error) << call;
        EXPECT_EQ(message(), std::string("*** EGL: ") + call + " failed with EGL_BAD_ALLOC\n");
    }
    EXPECT_EQ(format, nullptr);
    EXPECT_EQ(context, nullptr);
    EXPECT_EQ(pbuffer, nullptr);
}

/// The versions that are asked for where no context can be had.
std::string versions_tried(CGLPixelFormatObj format) {
    versionsAskedFor.clear();
    CGLContextObj context = nullptr;
    EXPECT_EQ(CGLCreateContext(format, nullptr, &context), kCGLBadAlloc);
    CGLDestroyPixelFormat(format);
    return versionsAskedFor;
}

TEST_F(EglFailure, of_a_version_lets_the_next_lower_one_be_asked_for) {
    CGLPixelFormatObj core = nullptr;
    CGLPixelFormatObj core4 = nullptr;
    CGLPixelFormatObj legacy = nullptr;
    CGLPixelFormatObj es = nullptr;
    ASSERT_EQ(choose_pixel_format(&core, kCGLOGLPVersion_3_2_Core), kCGLNoError);
    ASSERT_EQ(choose_pixel_format(&core4, kCGLOGLPVersion_GL4_Core), kCGLNoError);
    ASSERT_EQ(choose_pixel_format(&legacy), kCGLNoError);
    ASSERT_EQ(platform::choose_es_pixel_format(id_, &es), kCGLNoError);
    fail("eglCreateContext");
    EXPECT_EQ(versions_tried(core), "4.6 4.5 4.4 4.3 4.2 4.1 4.0 3.3 3.2 ");
    EXPECT_EQ(versions_tried(core4), "4.6 4.5 4.4 4.3 4.2 4.1 ");
    EXPECT_EQ(versions_tried(legacy), "any ");
    EXPECT_EQ(versions_tried(es), "3.2 3.1 3.0 ");
    const std::string line = "*** EGL: eglCreateContext failed with EGL_BAD_ALLOC\n";
    EXPECT_EQ(message(), line + line + line + line);
}

TEST_F(EglFailure, of_drawing_to_a_surface_is_found_when_the_pixel_buffer_is_created) {
    CGLPBufferObj pbuffer = nullptr;
    const int before = surfacesMade - surfacesDestroyed;
    fail("eglMakeCurrent");
    EXPECT_EQ(CGLCreatePBuffer(8, 8, GL_TEXTURE_2D, GL_RGBA, 0, &pbuffer), kCGLBadState);
    EXPECT_EQ(message(), "*** EGL: eglMakeCurrent failed with EGL_BAD_ALLOC\n");
    EXPECT_EQ(pbuffer, nullptr);
    EXPECT_EQ(surfacesMade - surfacesDestroyed, before);
}

TEST_F(EglFailure, leaves_no_surface_of_a_pixel_buffer_that_was_never_set) {
    const int before = surfacesMade - surfacesDestroyed;
    CGLPBufferObj pbuffer = nullptr;
    ASSERT_EQ(CGLCreatePBuffer(8, 8, GL_TEXTURE_2D, GL_RGBA, 0, &pbuffer), kCGLNoError);
    EXPECT_EQ(surfacesMade - surfacesDestroyed, before + 1);
    CGLDestroyPBuffer(pbuffer);
    EXPECT_EQ(surfacesMade - surfacesDestroyed, before);
}

}  // namespace
}  // namespace texprobe::tests
