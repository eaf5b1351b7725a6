#include <OpenGL/OpenGL.h>

#include "CGL/renderers.h"

using texprobe::platform::system_renderers;

struct _CGLRendererInfoObject {
    GLint count;
};

CGLError CGLQueryRendererInfo(GLuint displayMask, CGLRendererInfoObj* rend, GLint* nrend) {
    if (!rend || !nrend) return kCGLBadAddress;
    // Every renderer can drive every display. An empty mask names no display.
    *nrend = displayMask == 0 ? 0 : system_renderers().count();
    *rend = new _CGLRendererInfoObject{*nrend};
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
    return system_renderers().describe(static_cast<std::size_t>(rendNum), prop, value);
}
