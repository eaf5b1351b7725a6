#include "context.h"

#ifdef HAVE_GLFW
#define GLFW_INCLUDE_NONE
#include <GLFW/glfw3.h>

#include <cstdlib>
#endif
#ifdef HAVE_EGL
#include <EGL/egl.h>
#include <EGL/eglext.h>

#include <array>
#endif

namespace {

#ifdef HAVE_GLFW
bool open_window_context() {
    if (!glfwInit()) return false;
    std::atexit(glfwTerminate);
    glfwWindowHint(GLFW_VISIBLE, GLFW_FALSE);
    GLFWwindow* window = glfwCreateWindow(64, 64, "texformats", nullptr, nullptr);
    if (!window) return false;
    glfwMakeContextCurrent(window);
    return true;
}
#else
bool open_window_context() {
    return false;
}
#endif

#ifdef HAVE_EGL
bool open_context_on(EGLDeviceEXT device) {
    EGLDisplay display = eglGetPlatformDisplay(EGL_PLATFORM_DEVICE_EXT, device, nullptr);
    if (!eglInitialize(display, nullptr, nullptr) || !eglBindAPI(EGL_OPENGL_API)) return false;

    const EGLint wanted[] = {EGL_SURFACE_TYPE, EGL_PBUFFER_BIT, EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT,
                             EGL_NONE};
    EGLConfig config = nullptr;
    EGLint count = 0;
    if (!eglChooseConfig(display, wanted, &config, 1, &count) || count == 0) return false;

    const EGLint size[] = {EGL_WIDTH, 64, EGL_HEIGHT, 64, EGL_NONE};
    EGLSurface surface = eglCreatePbufferSurface(display, config, size);
    EGLContext context = eglCreateContext(display, config, EGL_NO_CONTEXT, nullptr);
    return eglMakeCurrent(display, surface, surface, context) == EGL_TRUE;
}

bool open_device_context() {
    const auto eglQueryDevices =
        reinterpret_cast<PFNEGLQUERYDEVICESEXTPROC>(eglGetProcAddress("eglQueryDevicesEXT"));
    std::array<EGLDeviceEXT, 16> devices{};
    EGLint count = 0;
    if (!eglQueryDevices || !eglQueryDevices(EGLint{devices.size()}, devices.data(), &count)) {
        return false;
    }
    for (EGLint i = 0; i < count; ++i) {
        if (open_context_on(devices[static_cast<std::size_t>(i)])) return true;
    }
    return false;
}
#else
bool open_device_context() {
    return false;
}
#endif

}  // namespace

bool open_context() {
    return open_window_context() || open_device_context();
}
