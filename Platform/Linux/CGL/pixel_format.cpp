#include <OpenGL/OpenGL.h>

#include <cstdio>
#include <cstring>
#include <utility>

#include "CGL/es_pixel_format.h"
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

/// What an attribute list asks for.
struct Wish {
    GLint id = 0;  ///< 0, which no renderer has: the list does not name one.
    ContextKind kind = ContextKind::kCompatibility;
};

bool read_profile(GLint value, ContextKind* kind) {
    *kind = value == kCGLOGLPVersion_3_2_Core ? ContextKind::kCore : ContextKind::kCompatibility;
    return value == kCGLOGLPVersion_3_2_Core || value == kCGLOGLPVersion_Legacy;
}

/// No renderer if the list has other attributes or values.
Wish read_attributes(const CGLPixelFormatAttribute* attribs) {
    Wish wish;
    for (; read_attribute(attribs) != 0; attribs += 2) {
        const GLint value = read_attribute(attribs + 1);
        const GLint name = read_attribute(attribs);
        if (name == kCGLPFAOpenGLProfile) {
            if (!read_profile(value, &wish.kind)) return {};
        } else if (name == kCGLPFARendererID && value != 0) {
            wish.id = value;
        } else {
            return {};
        }
    }
    return wish;
}

CGLError choose(const Wish& wish, CGLPixelFormatObj* pix) {
    EGLDeviceEXT device = nullptr;
    const CGLError error = system_renderers().find_device(wish.id, &device);
    if (error != kCGLNoError) return error;
    Offscreen offscreen = open_device(device, wish.kind);
    if (!offscreen.failure.empty()) {
        std::fprintf(stderr, "*** EGL: %s\n", offscreen.failure.c_str());
        return kCGLBadPixelFormat;
    }
    *pix = new _CGLPixelFormatObject{std::move(offscreen)};
    return kCGLNoError;
}

}  // namespace

CGLError CGLChoosePixelFormat(const CGLPixelFormatAttribute* attribs, CGLPixelFormatObj* pix,
                              GLint* npix) {
    if (!attribs || !pix || !npix) return kCGLBadAddress;
    *pix = nullptr;
    *npix = 0;
    const Wish wish = read_attributes(attribs);
    if (wish.id == 0) return kCGLBadAttribute;
    const CGLError error = choose(wish, pix);
    if (error == kCGLNoError) *npix = 1;
    return error;
}

CGLError texprobe::platform::choose_es_pixel_format(GLint rendererID, CGLPixelFormatObj* pix) {
    if (!pix) return kCGLBadAddress;
    *pix = nullptr;
    return choose({rendererID, ContextKind::kEs}, pix);
}

CGLError CGLDestroyPixelFormat(CGLPixelFormatObj pix) {
    delete pix;
    return kCGLNoError;
}
