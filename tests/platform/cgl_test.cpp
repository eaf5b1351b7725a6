// CGL's functions on the software renderer of this machine.

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <OpenGL/OpenGL.h>
#include <OpenGL/glext.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "CGL/es_pixel_format.h"

namespace texprobe::tests {
namespace {

/// An attribute list as applications write them: plain integers.
CGLError choose_pixel_format(const std::vector<GLint>& attributes, CGLPixelFormatObj* format,
                             GLint* count) {
    CGLPixelFormatAttribute list[8] = {};
    std::memcpy(list, attributes.data(), attributes.size() * sizeof(GLint));
    return CGLChoosePixelFormat(list, format, count);
}

/// What a context of the pixel format says of itself; the pixel format is destroyed.
struct Described {
    std::string version;
    GLint number = 0;  ///< As 46 for 4.6.
    GLint profileMask = 0;
};

CGLPBufferObj create_pbuffer(GLsizei width, GLsizei height) {
    CGLPBufferObj pbuffer = nullptr;
    EXPECT_EQ(CGLCreatePBuffer(width, height, GL_TEXTURE_2D, GL_RGBA, 0, &pbuffer), kCGLNoError);
    return pbuffer;
}

/// A context that is current and its pixel buffer; they end with it.
struct Drawing {
    Drawing(CGLContextObj itsContext, GLsizei width, GLsizei height)
        : context(itsContext), pbuffer(create_pbuffer(width, height)) {
        EXPECT_EQ(CGLSetPBuffer(context, pbuffer, 0, 0, 0), kCGLNoError);
        EXPECT_EQ(CGLSetCurrentContext(context), kCGLNoError);
    }
    ~Drawing() {
        CGLDestroyContext(context);
        CGLDestroyPBuffer(pbuffer);
    }
    Drawing(const Drawing&) = delete;
    Drawing& operator=(const Drawing&) = delete;

    CGLContextObj context;
    CGLPBufferObj pbuffer;
};

Described describe_context(CGLPixelFormatObj format) {
    CGLContextObj context = nullptr;
    EXPECT_EQ(CGLCreateContext(format, nullptr, &context), kCGLNoError);
    const Drawing drawing(context, 8, 8);
    GLint version[2] = {};
    glGetIntegerv(GL_MAJOR_VERSION, &version[0]);
    glGetIntegerv(GL_MINOR_VERSION, &version[1]);
    Described described = {reinterpret_cast<const char*>(glGetString(GL_VERSION)),
                           version[0] * 10 + version[1]};
    glGetIntegerv(GL_CONTEXT_PROFILE_MASK, &described.profileMask);
    CGLDestroyPixelFormat(format);
    return described;
}

class Cgl : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(CGLQueryRendererInfo(1, &info_, &count_), kCGLNoError);
        ASSERT_GE(count_, 1) << "EGL lists no device: Mesa's drivers are not installed";
        // Software comes last.
        ASSERT_EQ(CGLDescribeRenderer(info_, count_ - 1, kCGLRPRendererID, &id_), kCGLNoError);
    }
    void TearDown() override {
        CGLSetCurrentContext(nullptr);
        CGLDestroyRendererInfo(info_);
        EXPECT_EQ(eglQueryAPI(), static_cast<EGLenum>(EGL_OPENGL_ES_API))
            << "the thread's choice of a client API was not restored";
    }

    CGLPixelFormatObj create_pixel_format() const {
        CGLPixelFormatObj format = nullptr;
        GLint screens = 0;
        EXPECT_EQ(choose_pixel_format({kCGLPFARendererID, id_, 0}, &format, &screens), kCGLNoError);
        EXPECT_EQ(screens, 1);
        return format;
    }

    CGLContextObj create_context() const {
        CGLPixelFormatObj format = create_pixel_format();
        CGLContextObj context = nullptr;
        EXPECT_EQ(CGLCreateContext(format, nullptr, &context), kCGLNoError);
        EXPECT_EQ(CGLDestroyPixelFormat(format), kCGLNoError);
        return context;
    }

    CGLRendererInfoObj info_ = nullptr;
    GLint count_ = 0;
    GLint id_ = 0;
};

EGLint current_surface_size(EGLint dimension) {
    EGLint size = 0;
    eglQuerySurface(eglGetCurrentDisplay(), eglGetCurrentSurface(EGL_DRAW), dimension, &size);
    return size;
}

TEST_F(Cgl, draws_to_a_pixel_buffer_of_the_size_asked_for) {
    const Drawing drawing(create_context(), 37, 21);
    EXPECT_EQ(current_surface_size(EGL_WIDTH), 37);
    EXPECT_EQ(current_surface_size(EGL_HEIGHT), 21);
    GLint viewport[4] = {};
    glGetIntegerv(GL_VIEWPORT, viewport);
    EXPECT_THAT(viewport, testing::ElementsAre(0, 0, 37, 21));

    // 51 and 204 are 0.2 and 0.8 of 255.
    glDrawBuffer(GL_FRONT);
    glReadBuffer(GL_FRONT);
    glClearColor(0.2f, 0.8f, 1.0f, 0.0f);
    glClear(GL_COLOR_BUFFER_BIT);
    GLubyte pixel[4] = {};
    glReadPixels(36, 20, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, pixel);
    EXPECT_THAT(pixel, testing::ElementsAre(51, 204, 255, 0));
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
}

TEST_F(Cgl, gives_the_profile_asked_for_in_the_highest_version) {
    const std::pair<GLint, GLint> rows[] = {
        {kCGLOGLPVersion_Legacy, GL_CONTEXT_COMPATIBILITY_PROFILE_BIT},
        {kCGLOGLPVersion_3_2_Core, GL_CONTEXT_CORE_PROFILE_BIT}};
    for (const auto& [profile, mask] : rows) {
        CGLPixelFormatObj format = nullptr;
        GLint screens = 0;
        ASSERT_EQ(choose_pixel_format({kCGLPFAOpenGLProfile, profile, kCGLPFARendererID, id_, 0},
                                      &format, &screens),
                  kCGLNoError);
        const Described described = describe_context(format);
        EXPECT_EQ(described.profileMask, mask) << described.version;
        // Mesa's software renderer has the same versions in both profiles, far above 3.2.
        EXPECT_EQ(described.number, describe_context(create_pixel_format()).number);
        EXPECT_GE(described.number, 45);
    }
}

TEST_F(Cgl, gives_opengl_es_behind_a_function_of_its_own) {
    CGLPixelFormatObj format = nullptr;
    ASSERT_EQ(platform::choose_es_pixel_format(id_, &format), kCGLNoError);
    const Described es = describe_context(format);
    EXPECT_THAT(es.version, testing::StartsWith("OpenGL ES 3.2"));
    EXPECT_EQ(es.number, 32);
    EXPECT_EQ(platform::choose_es_pixel_format(id_ + 1, &format), kCGLBadPixelFormat);
    EXPECT_EQ(format, nullptr);
    EXPECT_EQ(platform::choose_es_pixel_format(id_, nullptr), kCGLBadAddress);
}

TEST_F(Cgl, makes_nothing_current_for_null_and_before_it_destroys_the_current_context) {
    EXPECT_EQ(CGLSetCurrentContext(nullptr), kCGLNoError);
    for (const bool isDestroyed : {false, true}) {
        CGLContextObj context = create_context();
        CGLPBufferObj pbuffer = create_pbuffer(16, 16);
        CGLSetPBuffer(context, pbuffer, 0, 0, 0);
        ASSERT_EQ(CGLSetCurrentContext(context), kCGLNoError);
        EXPECT_NE(eglGetCurrentContext(), EGL_NO_CONTEXT);
        if (!isDestroyed) {
            EXPECT_EQ(CGLSetCurrentContext(nullptr), kCGLNoError);
            EXPECT_EQ(eglGetCurrentContext(), EGL_NO_CONTEXT);
        }
        EXPECT_EQ(CGLDestroyContext(context), kCGLNoError);
        EXPECT_EQ(eglGetCurrentContext(), EGL_NO_CONTEXT);
        EXPECT_EQ(eglGetCurrentSurface(EGL_DRAW), EGL_NO_SURFACE);
        CGLDestroyPBuffer(pbuffer);
    }
}

TEST_F(Cgl, leaves_current_what_was_when_others_are_created_and_destroyed) {
    CGLContextObj first = create_context();
    CGLPBufferObj small = create_pbuffer(16, 16);
    EXPECT_EQ(eglGetCurrentContext(), EGL_NO_CONTEXT);
    CGLSetPBuffer(first, small, 0, 0, 0);
    ASSERT_EQ(CGLSetCurrentContext(first), kCGLNoError);
    EGLContext before = eglGetCurrentContext();
    CGLContextObj second = create_context();
    CGLPBufferObj large = create_pbuffer(64, 32);
    EXPECT_EQ(eglGetCurrentContext(), before);
    EXPECT_EQ(current_surface_size(EGL_WIDTH), 16);
    EXPECT_EQ(CGLSetPBuffer(second, large, 0, 0, 0), kCGLNoError);
    EXPECT_EQ(CGLSetCurrentContext(second), kCGLNoError);
    CGLDestroyPBuffer(large);
    EXPECT_EQ(current_surface_size(EGL_HEIGHT), 32) << "the context lost its surface";
    EXPECT_EQ(CGLSetCurrentContext(first), kCGLNoError);
    EXPECT_EQ(CGLDestroyContext(second), kCGLNoError);
    EXPECT_EQ(eglGetCurrentContext(), before);
    EXPECT_NE(glGetString(GL_RENDERER), nullptr);
    CGLDestroyContext(first);
    CGLDestroyPBuffer(small);
}

TEST_F(Cgl, leaves_the_display_of_the_application_initialized_and_its_context_current) {
    // The application's own display is that of the same device, which comes last.
    EGLDeviceEXT devices[16] = {};
    EGLint count = 0;
    ASSERT_TRUE(reinterpret_cast<PFNEGLQUERYDEVICESEXTPROC>(
        eglGetProcAddress("eglQueryDevicesEXT"))(16, devices, &count));
    EGLDisplay display =
        eglGetPlatformDisplay(EGL_PLATFORM_DEVICE_EXT, devices[count - 1], nullptr);
    ASSERT_TRUE(eglInitialize(display, nullptr, nullptr));
    eglBindAPI(EGL_OPENGL_API);
    const EGLint wanted[] = {EGL_SURFACE_TYPE, EGL_PBUFFER_BIT, EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT,
                             EGL_NONE};
    EGLConfig config = nullptr;
    ASSERT_TRUE(eglChooseConfig(display, wanted, &config, 1, &count));
    EGLContext context = eglCreateContext(display, config, EGL_NO_CONTEXT, nullptr);
    const EGLint size[] = {EGL_WIDTH, 8, EGL_HEIGHT, 8, EGL_NONE};
    EGLSurface surface = eglCreatePbufferSurface(display, config, size);
    ASSERT_TRUE(eglMakeCurrent(display, surface, surface, context));
    CGLDestroyContext(create_context());
    EXPECT_EQ(eglGetCurrentContext(), context);
    EXPECT_EQ(eglGetCurrentSurface(EGL_DRAW), surface);
    EXPECT_EQ(eglQueryAPI(), static_cast<EGLenum>(EGL_OPENGL_API));
    EXPECT_NE(glGetString(GL_RENDERER), nullptr);
    eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    eglDestroySurface(display, surface);
    eglDestroyContext(display, context);
    eglBindAPI(EGL_OPENGL_ES_API);
}

TEST_F(Cgl, gives_a_fresh_context_after_each_other) {
    for (int run = 0; run < 3; ++run) {
        const Drawing drawing(create_context(), 128, 128);
        EXPECT_EQ(glIsTexture(1), GL_FALSE) << "a name of the context before";
        glBindTexture(GL_TEXTURE_2D, 1);
        EXPECT_EQ(glIsTexture(1), GL_TRUE);
    }
}

TEST_F(Cgl, has_one_virtual_screen) {
    CGLContextObj context = create_context();
    GLint screen = -1;
    EXPECT_EQ(CGLGetVirtualScreen(context, &screen), kCGLNoError);
    EXPECT_EQ(screen, 0);
    EXPECT_EQ(CGLGetVirtualScreen(context, nullptr), kCGLBadAddress);
    EXPECT_EQ(CGLGetVirtualScreen(nullptr, &screen), kCGLBadContext);
    CGLDestroyContext(context);
}

TEST_F(Cgl, describes_the_id_and_the_memory_of_a_renderer_in_the_list_only) {
    GLint value = -7;
    EXPECT_EQ(CGLDescribeRenderer(info_, -1, kCGLRPRendererID, &value), kCGLBadValue);
    EXPECT_EQ(CGLDescribeRenderer(info_, count_, kCGLRPRendererID, &value), kCGLBadValue);
    EXPECT_EQ(CGLDescribeRenderer(info_, 0, kCGLRPRendererCount, &value), kCGLBadProperty);
    EXPECT_EQ(CGLDescribeRenderer(nullptr, 0, kCGLRPRendererID, &value), kCGLBadRendererInfo);
    EXPECT_EQ(CGLDescribeRenderer(info_, 0, kCGLRPRendererID, nullptr), kCGLBadAddress);
    EXPECT_EQ(value, -7);
    EXPECT_EQ(CGLDescribeRenderer(info_, count_ - 1, kCGLRPTextureMemory, &value), kCGLNoError);
    EXPECT_GT(value, 0);
}

TEST_F(Cgl, lists_no_renderer_for_no_display_and_the_same_for_every_other_mask) {
    for (const GLuint mask : {0u, 2u, 0x80000000u, 0xFFFFFFFFu}) {
        CGLRendererInfoObj info = nullptr;
        GLint count = -1;
        ASSERT_EQ(CGLQueryRendererInfo(mask, &info, &count), kCGLNoError);
        EXPECT_EQ(count, mask == 0 ? 0 : count_);
        EXPECT_EQ(CGLDestroyRendererInfo(info), kCGLNoError);
    }
    EXPECT_EQ(CGLQueryRendererInfo(1, nullptr, &count_), kCGLBadAddress);
    EXPECT_EQ(CGLQueryRendererInfo(1, &info_, nullptr), kCGLBadAddress);
}

TEST_F(Cgl, refuses_attribute_lists_that_do_not_name_one_renderer) {
    CGLPixelFormatObj format = nullptr;
    GLint screens = -1;
    const std::pair<std::vector<GLint>, CGLError> rows[] = {
        {{0}, kCGLBadAttribute},
        {{kCGLPFARendererID, 0}, kCGLBadAttribute},
        {{kCGLPFARendererID, 0, kCGLPFARendererID, id_, 0}, kCGLBadAttribute},
        {{kCGLPFAVirtualScreenCount, 1, 0}, kCGLBadAttribute},
        {{kCGLPFARendererID, id_, 5, 0}, kCGLBadAttribute},
        {{kCGLPFARendererID, id_, kCGLPFAOpenGLProfile, 0x2000, 0}, kCGLBadAttribute},
        {{kCGLPFARendererID, id_ + 1, 0}, kCGLBadPixelFormat}};
    for (const auto& [attributes, error] : rows) {
        EXPECT_EQ(choose_pixel_format(attributes, &format, &screens), error);
    }
    EXPECT_EQ(format, nullptr);
    EXPECT_EQ(screens, 0);
    EXPECT_EQ(CGLChoosePixelFormat(nullptr, &format, &screens), kCGLBadAddress);
    EXPECT_EQ(choose_pixel_format({0}, nullptr, &screens), kCGLBadAddress);
    EXPECT_EQ(choose_pixel_format({0}, &format, nullptr), kCGLBadAddress);
}

TEST_F(Cgl, refuses_contexts_without_a_pixel_format_and_shared_ones) {
    CGLContextObj context = nullptr;
    EXPECT_EQ(CGLCreateContext(nullptr, nullptr, &context), kCGLBadPixelFormat);
    CGLPixelFormatObj format = create_pixel_format();
    CGLContextObj first = create_context();
    EXPECT_EQ(CGLCreateContext(format, first, &context), kCGLBadMatch);
    EXPECT_EQ(context, nullptr);
    EXPECT_EQ(CGLCreateContext(format, nullptr, nullptr), kCGLBadAddress);
    EXPECT_EQ(CGLDestroyContext(nullptr), kCGLBadContext);
    CGLDestroyContext(first);
    CGLDestroyPixelFormat(format);
}

TEST_F(Cgl, refuses_pixel_buffers_of_impossible_sizes_and_kinds_and_without_a_context) {
    CGLPBufferObj pbuffer = nullptr;
    const auto create = [&](GLsizei width, GLsizei height, GLenum target, GLenum format,
                            GLint level) {
        return CGLCreatePBuffer(width, height, target, format, level, &pbuffer);
    };
    CGLContextObj context = create_context();
    EXPECT_EQ(create(0, 1, GL_TEXTURE_2D, GL_RGBA, 0), kCGLBadValue);
    EXPECT_EQ(create(1, -1, GL_TEXTURE_2D, GL_RGBA, 0), kCGLBadValue);
    EXPECT_EQ(create(1, 1, GL_TEXTURE_2D, GL_RGBA, -1), kCGLBadValue);
    EXPECT_EQ(create(1, 1, GL_TEXTURE_3D, GL_RGBA, 0), kCGLBadEnumeration);
    EXPECT_EQ(create(1, 1, GL_TEXTURE_2D, GL_RGBA8, 0), kCGLBadEnumeration);
    EXPECT_EQ(CGLCreatePBuffer(1, 1, GL_TEXTURE_2D, GL_RGBA, 0, nullptr), kCGLBadAddress);
    CGLDestroyContext(context);
    EXPECT_EQ(create(1, 1, GL_TEXTURE_2D, GL_RGBA, 0), kCGLBadContext);
    EXPECT_EQ(pbuffer, nullptr);
}

TEST_F(Cgl, sets_a_pixel_buffer_once_on_a_context_that_has_none) {
    CGLContextObj context = create_context();
    CGLPBufferObj pbuffer = create_pbuffer(16, 16);
    CGLPBufferObj second = create_pbuffer(16, 16);
    EXPECT_EQ(CGLSetCurrentContext(context), kCGLBadDrawable) << "it has none yet";
    EXPECT_EQ(CGLSetPBuffer(nullptr, pbuffer, 0, 0, 0), kCGLBadContext);
    EXPECT_EQ(CGLSetPBuffer(context, nullptr, 0, 0, 0), kCGLBadDrawable);
    EXPECT_EQ(CGLSetPBuffer(context, pbuffer, 1, 0, 0), kCGLBadValue);
    EXPECT_EQ(CGLSetPBuffer(context, pbuffer, 0, 1, 0), kCGLBadValue);
    EXPECT_EQ(CGLSetPBuffer(context, pbuffer, 0, 0, 1), kCGLBadValue);
    EXPECT_EQ(CGLSetPBuffer(context, pbuffer, 0, 0, 0), kCGLNoError);
    EXPECT_EQ(CGLSetPBuffer(context, pbuffer, 0, 0, 0), kCGLBadDrawable);
    EXPECT_EQ(CGLSetPBuffer(context, second, 0, 0, 0), kCGLBadMatch);
    for (CGLPBufferObj each : {pbuffer, second}) CGLDestroyPBuffer(each);
    CGLDestroyContext(context);
}

}  // namespace
}  // namespace texprobe::tests
