#include <OpenGL/OpenGL.h>

#include <cstdio>
#include <cstring>

#include "CGL/objects.h"
#include "CGL/offscreen.h"
#include "CGL/renderers.h"

using namespace texprobe::platform;

namespace {

/// Attribute lists hold plain integers, such as renderer IDs, which are not in the enumeration.
GLint read_attribute(const CGLPixelFormatAttribute* attribute) {
    static_assert(sizeof(GLint) == sizeof(CGLPixelFormatAttribute));
    GLint value = 0;
    std::memcpy(&value, attribute, sizeof value);
    return value;
}

/// The renderer ID in the list; 0, which no renderer has, if it has none or other attributes.
GLint read_renderer_id(const CGLPixelFormatAttribute* attribs) {
    GLint id = 0;
    for (; read_attribute(attribs) != 0; attribs += 2) {
        if (read_attribute(attribs) != kCGLPFARendererID) return 0;
        id = read_attribute(attribs + 1);
        if (id == 0) return 0;
    }
    return id;
}

}  // namespace

CGLError CGLChoosePixelFormat(const CGLPixelFormatAttribute* attribs, CGLPixelFormatObj* pix,
                              GLint* npix) {
    if (!attribs || !pix || !npix) return kCGLBadAddress;
    *pix = nullptr;
    *npix = 0;
    const GLint id = read_renderer_id(attribs);
    if (id == 0) return kCGLBadAttribute;
    Renderers& renderers = system_renderers();
    EGLDeviceEXT device = nullptr;
    const CGLError error = renderers.find_device(id, &device);
    if (error != kCGLNoError) return error;
    Offscreen offscreen = open_device(renderers.egl(), device);
    if (!offscreen.failure.empty()) {
        std::fprintf(stderr, "*** EGL: %s\n", offscreen.failure.c_str());
        return kCGLBadPixelFormat;
    }
    *pix = new _CGLPixelFormatObject{std::move(offscreen)};
    *npix = 1;
    return kCGLNoError;
}

CGLError CGLDestroyPixelFormat(CGLPixelFormatObj pix) {
    delete pix;
    return kCGLNoError;
}
