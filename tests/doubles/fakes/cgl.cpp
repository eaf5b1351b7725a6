#include <OpenGL/OpenGL.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "fakes.h"

using fakes::call;

struct _CGLRendererInfoObject {
    int number;
    std::vector<const fakes::Renderer*> renderers;
};

struct _CGLPixelFormatObject {
    int number;
    const fakes::Renderer* renderer;
};

struct _CGLContextObject {
    int number;
    fakes::Context state;
};

struct _CGLPBufferObject {
    int number;
};

namespace {

CGLContextObj current = nullptr;

// The objects of each kind are numbered from 1.
int rendererInfos = 0;
int pixelFormats = 0;
int contexts = 0;
int pixelBuffers = 0;

constexpr GLint kVirtualScreen = 3;

CGLError failure(const char* name) {
    return static_cast<CGLError>(fakes::failure(name));
}

/// An entry of an attribute list as a number: renderer IDs are not in the enumeration.
int number_of(const CGLPixelFormatAttribute& attribute) {
    static_assert(sizeof(int) == sizeof attribute, "attributes are 32-bit numbers");
    int number = 0;
    std::memcpy(&number, &attribute, sizeof number);
    return number;
}

const fakes::Renderer* find_renderer(int id) {
    for (const fakes::Renderer& renderer : fakes::script().renderers) {
        if (renderer.id == id) return &renderer;
    }
    return nullptr;
}

}  // namespace

namespace fakes {

Context& context() {
    if (!current) {
        std::fputs("a GL call without a current context\n", stderr);
        std::abort();
    }
    return current->state;
}

}  // namespace fakes

extern "C" {

CGLError CGLQueryRendererInfo(GLuint mask, CGLRendererInfoObj* info, GLint* count) {
    call("CGLQueryRendererInfo(%#x)", mask);
    if (const CGLError error = failure("CGLQueryRendererInfo")) return error;
    *info = new _CGLRendererInfoObject{++rendererInfos, {}};
    for (const fakes::Renderer& renderer : fakes::script().renderers) {
        if (renderer.mask & mask) (*info)->renderers.push_back(&renderer);
    }
    // An empty list has a negative count, which the product must also treat as empty.
    *count = (*info)->renderers.empty() ? -1 : static_cast<GLint>((*info)->renderers.size());
    return kCGLNoError;
}

CGLError CGLDestroyRendererInfo(CGLRendererInfoObj info) {
    call("CGLDestroyRendererInfo(info %d)", info->number);
    delete info;
    return kCGLNoError;
}

CGLError CGLDescribeRenderer(CGLRendererInfoObj info, GLint index, CGLRendererProperty property,
                             GLint* value) {
    const bool memory = property == kCGLRPTextureMemory;
    call("CGLDescribeRenderer(info %d, %d, %d)", info->number, index, static_cast<int>(property));
    if (const CGLError error = failure(memory ? "memory" : "ID")) return error;
    const fakes::Renderer& renderer = *info->renderers.at(static_cast<std::size_t>(index));
    *value = memory ? renderer.memory : renderer.id;
    return kCGLNoError;
}

CGLError CGLChoosePixelFormat(const CGLPixelFormatAttribute* attributes,
                              CGLPixelFormatObj* pixelFormat, GLint* screens) {
    const int id = number_of(attributes[1]);
    call("CGLChoosePixelFormat({%d, %d, %d})", number_of(attributes[0]), id,
         number_of(attributes[2]));
    if (const CGLError error = failure("CGLChoosePixelFormat")) return error;
    *pixelFormat = new _CGLPixelFormatObject{++pixelFormats, find_renderer(id)};
    *screens = 1;
    return kCGLNoError;
}

CGLError CGLDestroyPixelFormat(CGLPixelFormatObj pixelFormat) {
    call("CGLDestroyPixelFormat(pixel format %d)", pixelFormat->number);
    delete pixelFormat;
    return kCGLNoError;
}

CGLError CGLCreateContext(CGLPixelFormatObj pixelFormat, CGLContextObj share,
                          CGLContextObj* context) {
    call("CGLCreateContext(pixel format %d, %s)", pixelFormat->number, share ? "shared" : "NULL");
    if (const CGLError error = failure("CGLCreateContext")) return error;
    *context = new _CGLContextObject{++contexts, {}};
    (*context)->state.renderer = pixelFormat->renderer;
    (*context)->state.frame = {GL_RGBA8, GL_RGBA, GL_UNSIGNED_BYTE, {}};
    return kCGLNoError;
}

CGLError CGLDestroyContext(CGLContextObj context) {
    call("CGLDestroyContext(context %d)", context->number);
    if (current == context) current = nullptr;
    delete context;
    return kCGLNoError;
}

CGLError CGLSetCurrentContext(CGLContextObj context) {
    call("CGLSetCurrentContext(context %d)", context ? context->number : 0);
    current = context;
    return kCGLNoError;
}

CGLError CGLGetVirtualScreen(CGLContextObj context, GLint* screen) {
    call("CGLGetVirtualScreen(context %d)", context->number);
    if (const CGLError error = failure("CGLGetVirtualScreen")) return error;
    *screen = kVirtualScreen;
    return kCGLNoError;
}

CGLError CGLCreatePBuffer(GLsizei width, GLsizei height, GLenum target, GLenum internalFormat,
                          GLint level, CGLPBufferObj* pixelBuffer) {
    call("CGLCreatePBuffer(%d, %d, %s, %s, %d)", width, height, fakes::name(target).c_str(),
         fakes::name(internalFormat).c_str(), level);
    if (const CGLError error = failure("CGLCreatePBuffer")) return error;
    *pixelBuffer = new _CGLPBufferObject{++pixelBuffers};
    return kCGLNoError;
}

CGLError CGLDestroyPBuffer(CGLPBufferObj pixelBuffer) {
    call("CGLDestroyPBuffer(pixel buffer %d)", pixelBuffer->number);
    delete pixelBuffer;
    return kCGLNoError;
}

CGLError CGLSetPBuffer(CGLContextObj context, CGLPBufferObj pixelBuffer, GLenum face, GLint level,
                       GLint screen) {
    call("CGLSetPBuffer(context %d, pixel buffer %d, %u, %d, %d)", context->number,
         pixelBuffer->number, face, level, screen);
    return kCGLNoError;
}

}  // extern "C"
