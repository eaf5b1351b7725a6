#include "CGL/offscreen.h"

#include <algorithm>
#include <vector>

namespace texprobe::platform {

namespace {

/// EGL puts deeper configurations first.
bool has_eight_bits(const Egl& egl, EGLDisplay display, EGLConfig config) {
    const EGLint sizes[] = {EGL_RED_SIZE, EGL_GREEN_SIZE, EGL_BLUE_SIZE, EGL_ALPHA_SIZE};
    return std::all_of(std::begin(sizes), std::end(sizes), [&](EGLint size) {
        EGLint bits = 0;
        return egl.getConfigAttrib(display, config, size, &bits) && bits == 8;
    });
}

std::vector<EGLConfig> list_configs(const Egl& egl, EGLDisplay display) {
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
    EGLint count = 0;
    if (!egl.chooseConfig(display, attributes, nullptr, 0, &count) || count <= 0) return {};
    std::vector<EGLConfig> configs(static_cast<std::size_t>(count));
    if (!egl.chooseConfig(display, attributes, configs.data(), count, &count)) return {};
    configs.resize(static_cast<std::size_t>(std::max(count, 0)));
    return configs;
}

}  // namespace

Offscreen open_device(const Egl& egl, EGLDeviceEXT device) {
    Offscreen offscreen;
    offscreen.display = egl.getPlatformDisplay(EGL_PLATFORM_DEVICE_EXT, device, nullptr);
    if (offscreen.display == EGL_NO_DISPLAY) {
        offscreen.failure = describe_failure(egl, "eglGetPlatformDisplay");
        return offscreen;
    }
    if (!egl.initialize(offscreen.display, nullptr, nullptr)) {
        offscreen.failure = describe_failure(egl, "eglInitialize");
        return offscreen;
    }
    const std::vector<EGLConfig> configs = list_configs(egl, offscreen.display);
    const auto config = std::find_if(configs.begin(), configs.end(), [&](EGLConfig candidate) {
        return has_eight_bits(egl, offscreen.display, candidate);
    });
    if (config == configs.end()) {
        offscreen.failure = "it cannot draw RGBA8 to a pbuffer with OpenGL";
    } else {
        offscreen.config = *config;
    }
    return offscreen;
}

EGLContext create_context(const Egl& egl, const Offscreen& offscreen) {
    const DesktopGl desktopGl(egl);
    return egl.createContext(offscreen.display, offscreen.config, EGL_NO_CONTEXT, nullptr);
}

EGLSurface create_surface(const Egl& egl, const Offscreen& offscreen, EGLint width, EGLint height) {
    const EGLint attributes[] = {EGL_WIDTH, width, EGL_HEIGHT, height, EGL_NONE};
    return egl.createPbufferSurface(offscreen.display, offscreen.config, attributes);
}

}  // namespace texprobe::platform
