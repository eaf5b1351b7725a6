// Listing renderers in an application. Nothing in this program opens a device before a test that
// does so explicitly, because the tests check what listing leaves alone.

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <OpenGL/OpenGL.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace texprobe::tests {
namespace {

template <typename Function>
Function load(const char* name) {
    return reinterpret_cast<Function>(eglGetProcAddress(name));
}

std::vector<EGLDisplay> device_displays() {
    const auto queryDevices = load<PFNEGLQUERYDEVICESEXTPROC>("eglQueryDevicesEXT");
    EGLDeviceEXT devices[16] = {};
    EGLint count = 0;
    EXPECT_TRUE(queryDevices(16, devices, &count));
    std::vector<EGLDisplay> displays;
    displays.reserve(static_cast<std::size_t>(count));
    for (EGLint i = 0; i < count; ++i) {
        displays.push_back(eglGetPlatformDisplay(EGL_PLATFORM_DEVICE_EXT, devices[i], nullptr));
    }
    return displays;
}

void list_renderers() {
    CGLRendererInfoObj info = nullptr;
    GLint count = 0;
    ASSERT_EQ(CGLQueryRendererInfo(1, &info, &count), kCGLNoError);
    EXPECT_GE(count, 1);
    for (GLint i = 0; i < count; ++i) {
        GLint id = 0;
        EXPECT_EQ(CGLDescribeRenderer(info, i, kCGLRPRendererID, &id), kCGLNoError);
        EXPECT_NE(id, 0);
    }
    EXPECT_EQ(CGLDestroyRendererInfo(info), kCGLNoError);
}

bool is_initialized(EGLDisplay display) {
    return eglQueryString(display, EGL_VERSION) != nullptr;
}

/// An application's own context on its own surface, current as long as it exists.
class ApplicationContext {
public:
    explicit ApplicationContext(EGLDisplay display) : display_(display) {
        EXPECT_TRUE(eglInitialize(display_, nullptr, nullptr));
        eglBindAPI(EGL_OPENGL_API);
        const EGLint wanted[] = {EGL_SURFACE_TYPE, EGL_PBUFFER_BIT, EGL_RENDERABLE_TYPE,
                                 EGL_OPENGL_BIT, EGL_NONE};
        EGLConfig config = nullptr;
        EGLint count = 0;
        EXPECT_TRUE(eglChooseConfig(display_, wanted, &config, 1, &count));
        context_ = eglCreateContext(display_, config, EGL_NO_CONTEXT, nullptr);
        const EGLint size[] = {EGL_WIDTH, 8, EGL_HEIGHT, 8, EGL_NONE};
        surface_ = eglCreatePbufferSurface(display_, config, size);
        EXPECT_TRUE(eglMakeCurrent(display_, surface_, surface_, context_));
    }
    ~ApplicationContext() {
        eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
        eglDestroySurface(display_, surface_);
        eglDestroyContext(display_, context_);
        eglBindAPI(EGL_OPENGL_ES_API);
    }
    ApplicationContext(const ApplicationContext&) = delete;
    ApplicationContext& operator=(const ApplicationContext&) = delete;

    void expect_current() const {
        EXPECT_EQ(eglGetCurrentContext(), context_);
        EXPECT_EQ(eglGetCurrentSurface(EGL_DRAW), surface_);
        EXPECT_EQ(eglGetCurrentSurface(EGL_READ), surface_);
        EXPECT_EQ(eglQueryAPI(), static_cast<EGLenum>(EGL_OPENGL_API));
    }

private:
    EGLDisplay display_;
    EGLContext context_ = EGL_NO_CONTEXT;
    EGLSurface surface_ = EGL_NO_SURFACE;
};

// First, because the tests after it initialize displays.
TEST(Listing, initializes_no_display_and_opens_no_device) {
    list_renderers();
    for (EGLDisplay display : device_displays()) EXPECT_FALSE(is_initialized(display));
    for (const auto& descriptor : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code error;
        const std::string file = std::filesystem::read_symlink(descriptor.path(), error);
        EXPECT_EQ(file.rfind("/dev/dri/", 0), std::string::npos) << file;
    }
    // The check does detect an initialized display and a loaded driver.
    EGLDisplay last = device_displays().back();
    ASSERT_TRUE(eglInitialize(last, nullptr, nullptr));
    EXPECT_TRUE(is_initialized(last));
}

TEST(Listing, leaves_the_context_of_the_application_current) {
    const ApplicationContext application(device_displays().back());
    glEnable(GL_SCISSOR_TEST);
    glBindTexture(GL_TEXTURE_2D, 5);
    glEnable(0xBAD);
    list_renderers();
    application.expect_current();
    EXPECT_EQ(glIsEnabled(GL_SCISSOR_TEST), GL_TRUE);
    GLint texture = 0;
    glGetIntegerv(GL_TEXTURE_BINDING_2D, &texture);
    EXPECT_EQ(texture, 5);
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_INVALID_ENUM));
    EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
}

TEST(Listing, gives_the_same_ids_every_time) {
    GLint ids[2] = {};
    for (GLint& id : ids) {
        CGLRendererInfoObj info = nullptr;
        GLint count = 0;
        ASSERT_EQ(CGLQueryRendererInfo(1, &info, &count), kCGLNoError);
        ASSERT_EQ(CGLDescribeRenderer(info, count - 1, kCGLRPRendererID, &id), kCGLNoError);
        CGLDestroyRendererInfo(info);
    }
    EXPECT_EQ(ids[0], ids[1]);
}

TEST(CreatingAContext, leaves_the_display_of_the_application_initialized) {
    const ApplicationContext application(device_displays().back());
    CGLRendererInfoObj info = nullptr;
    GLint count = 0;
    GLint id = 0;
    ASSERT_EQ(CGLQueryRendererInfo(1, &info, &count), kCGLNoError);
    ASSERT_EQ(CGLDescribeRenderer(info, count - 1, kCGLRPRendererID, &id), kCGLNoError);
    CGLDestroyRendererInfo(info);
    const CGLPixelFormatAttribute attributes[] = {kCGLPFARendererID,
                                                  static_cast<CGLPixelFormatAttribute>(id),
                                                  static_cast<CGLPixelFormatAttribute>(0)};
    CGLPixelFormatObj format = nullptr;
    CGLContextObj context = nullptr;
    ASSERT_EQ(CGLChoosePixelFormat(attributes, &format, &count), kCGLNoError);
    ASSERT_EQ(CGLCreateContext(format, nullptr, &context), kCGLNoError);
    CGLDestroyContext(context);
    CGLDestroyPixelFormat(format);
    application.expect_current();
    EXPECT_NE(glGetString(GL_RENDERER), nullptr);
}

}  // namespace
}  // namespace texprobe::tests
