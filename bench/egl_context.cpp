#include "egl_context.h"

#include <cstdio>
#include <cstdlib>

namespace texprobe::bench {

namespace {

template <typename Function>
Function* function(const char* name) {
    return reinterpret_cast<Function*>(eglGetProcAddress(name));
}

void expect(bool success, const char* call) {
    if (success) return;
    std::fprintf(stderr, "%s failed: %#x\n", call, static_cast<unsigned>(eglGetError()));
    std::exit(1);
}

EGLConfig choose_config(EGLDisplay display) {
    const EGLint attributes[] = {EGL_SURFACE_TYPE,
                                 EGL_PBUFFER_BIT,
                                 EGL_RENDERABLE_TYPE,
                                 EGL_OPENGL_BIT,
                                 EGL_RED_SIZE,
                                 8,
                                 EGL_GREEN_SIZE,
                                 8,
                                 EGL_BLUE_SIZE,
                                 8,
                                 EGL_ALPHA_SIZE,
                                 8,
                                 EGL_NONE};
    EGLConfig config = nullptr;
    EGLint count = 0;
    expect(eglChooseConfig(display, attributes, &config, 1, &count) && count > 0,
           "eglChooseConfig");
    return config;
}

}  // namespace

std::vector<EGLDeviceEXT> list_devices() {
    std::vector<EGLDeviceEXT> devices(32);
    EGLint count = 0;
    const auto queryDevices =
        function<EGLBoolean(EGLint, EGLDeviceEXT*, EGLint*)>("eglQueryDevicesEXT");
    expect(queryDevices && queryDevices(32, devices.data(), &count), "eglQueryDevicesEXT");
    devices.resize(static_cast<std::size_t>(count));
    return devices;
}

EglContext::EglContext(EGLDeviceEXT device, Kind kind) {
    const auto getDisplay =
        function<EGLDisplay(EGLenum, void*, const EGLint*)>("eglGetPlatformDisplayEXT");
    display_ = getDisplay(EGL_PLATFORM_DEVICE_EXT, device, nullptr);
    expect(eglInitialize(display_, nullptr, nullptr), "eglInitialize");
    const EGLConfig config = choose_config(display_);
    expect(eglBindAPI(EGL_OPENGL_API), "eglBindAPI");
    const EGLint core[] = {EGL_CONTEXT_MAJOR_VERSION, 3, EGL_CONTEXT_MINOR_VERSION, 3, EGL_NONE};
    context_ = eglCreateContext(display_, config, EGL_NO_CONTEXT, kind == kCore ? core : nullptr);
    const EGLint size[] = {EGL_WIDTH, 128, EGL_HEIGHT, 128, EGL_NONE};
    surface_ = eglCreatePbufferSurface(display_, config, size);
    expect(eglMakeCurrent(display_, surface_, surface_, context_), "eglMakeCurrent");
}

EglContext::~EglContext() {
    eglMakeCurrent(display_, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    eglDestroySurface(display_, surface_);
    eglDestroyContext(display_, context_);
}

}  // namespace texprobe::bench
