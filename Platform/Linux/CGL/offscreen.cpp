#include "CGL/offscreen.h"

#include <algorithm>
#include <initializer_list>
#include <iterator>
#include <vector>

namespace texprobe::platform {

namespace {

/// EGL puts deeper configurations first.
bool has_eight_bits(EGLDisplay display, EGLConfig config) {
    const EGLint sizes[] = {EGL_RED_SIZE, EGL_GREEN_SIZE, EGL_BLUE_SIZE, EGL_ALPHA_SIZE};
    return std::all_of(std::begin(sizes), std::end(sizes), [&](EGLint size) {
        EGLint bits = 0;
        return eglGetConfigAttrib(display, config, size, &bits) && bits == 8;
    });
}

std::vector<EGLConfig> list_configs(EGLDisplay display, ContextKind kind) {
    const EGLint attributes[] = {EGL_SURFACE_TYPE,
                                 EGL_PBUFFER_BIT,
                                 EGL_RENDERABLE_TYPE,
                                 kind == ContextKind::kEs ? EGL_OPENGL_ES3_BIT : EGL_OPENGL_BIT,
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
    if (!eglChooseConfig(display, attributes, nullptr, 0, &count) || count <= 0) return {};
    std::vector<EGLConfig> configs(static_cast<std::size_t>(count));
    if (!eglChooseConfig(display, attributes, configs.data(), count, &count)) return {};
    configs.resize(static_cast<std::size_t>(std::max(count, 0)));
    return configs;
}

struct Version {
    EGLint major;
    EGLint minor;
};

EGLContext create_highest(const Offscreen& offscreen, EGLenum api,
                          std::initializer_list<Version> versions) {
    const BoundApi bound(api);
    for (const Version version : versions) {
        std::vector<EGLint> attributes = {EGL_CONTEXT_MAJOR_VERSION, version.major,
                                          EGL_CONTEXT_MINOR_VERSION, version.minor};
        if (offscreen.kind == ContextKind::kCore) {
            attributes.push_back(EGL_CONTEXT_OPENGL_PROFILE_MASK);
            attributes.push_back(EGL_CONTEXT_OPENGL_CORE_PROFILE_BIT);
        }
        attributes.push_back(EGL_NONE);
        EGLContext context = eglCreateContext(offscreen.display, offscreen.config, EGL_NO_CONTEXT,
                                              attributes.data());
        if (context != EGL_NO_CONTEXT) return context;
    }
    return EGL_NO_CONTEXT;
}

}  // namespace

Offscreen open_device(EGLDeviceEXT device, ContextKind kind) {
    Offscreen offscreen;
    offscreen.kind = kind;
    offscreen.display = eglGetPlatformDisplay(EGL_PLATFORM_DEVICE_EXT, device, nullptr);
    if (offscreen.display == EGL_NO_DISPLAY) {
        offscreen.failure = describe_failure("eglGetPlatformDisplay");
        return offscreen;
    }
    if (!eglInitialize(offscreen.display, nullptr, nullptr)) {
        offscreen.failure = describe_failure("eglInitialize");
        return offscreen;
    }
    const std::vector<EGLConfig> configs = list_configs(offscreen.display, kind);
    const auto config = std::find_if(configs.begin(), configs.end(), [&](EGLConfig candidate) {
        return has_eight_bits(offscreen.display, candidate);
    });
    if (config == configs.end()) {
        offscreen.failure = kind == ContextKind::kEs
                                ? "it cannot draw RGBA8 to a pbuffer with OpenGL ES 3"
                                : "it cannot draw RGBA8 to a pbuffer with OpenGL";
    } else {
        offscreen.config = *config;
    }
    return offscreen;
}

EGLContext create_context(const Offscreen& offscreen) {
    switch (offscreen.kind) {
        case ContextKind::kCore:
            return create_highest(
                offscreen, EGL_OPENGL_API,
                {{4, 6}, {4, 5}, {4, 4}, {4, 3}, {4, 2}, {4, 1}, {4, 0}, {3, 3}, {3, 2}});
        case ContextKind::kEs:
            return create_highest(offscreen, EGL_OPENGL_ES_API, {{3, 2}, {3, 1}, {3, 0}});
        default: {
            const BoundApi desktopGl(EGL_OPENGL_API);
            return eglCreateContext(offscreen.display, offscreen.config, EGL_NO_CONTEXT, nullptr);
        }
    }
}

EGLSurface create_surface(const Offscreen& offscreen, EGLint width, EGLint height) {
    const EGLint attributes[] = {EGL_WIDTH, width, EGL_HEIGHT, height, EGL_NONE};
    return eglCreatePbufferSurface(offscreen.display, offscreen.config, attributes);
}

}  // namespace texprobe::platform
