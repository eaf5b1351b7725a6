#include <OpenGL/OpenGL.h>

#include "CGL/renderers.h"

using texprobe::platform::Renderers;
using texprobe::platform::system_renderers;

struct _CGLRendererInfoObject {
    Renderers* renderers;
    GLint count;
};

CGLError CGLQueryRendererInfo(GLuint displayMask, CGLRendererInfoObj* rend, GLint* nrend) {
    if (!rend || !nrend) return kCGLBadAddress;
    Renderers& renderers = system_renderers();
    // Every renderer can drive every display. An empty mask names no display.
    *nrend = displayMask == 0 ? 0 : renderers.count();
    *rend = new _CGLRendererInfoObject{&renderers, *nrend};
    return kCGLNoError;
}

CGLError CGLDestroyRendererInfo(CGLRendererInfoObj rend) {
    delete rend;
    return kCGLNoError;
}

CGLError CGLDescribeRenderer(CGLRendererInfoObj rend, GLint rendNum, CGLRendererProperty prop,
                             GLint* value) {
    if (!rend) return kCGLBadRendererInfo;
    if (!value) return kCGLBadAddress;
    if (rendNum < 0 || rendNum >= rend->count) return kCGLBadValue;
    const auto index = static_cast<std::size_t>(rendNum);
    switch (prop) {
        case kCGLRPRendererID:
            return rend->renderers->describe_id(index, value);
        case kCGLRPTextureMemory:
            return rend->renderers->describe_texture_memory(index, value);
        case kCGLRPAccelerated:
            return rend->renderers->describe_accelerated(index, value);
        default:
            return kCGLBadProperty;
    }
}
