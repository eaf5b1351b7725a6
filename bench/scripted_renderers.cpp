// TEXPROBE_BENCH_RENDERERS renderers with IDs from 1 up. Applications can list them, but not open
// them.

#include <OpenGL/OpenGL.h>

#include <cstdlib>

extern "C" {

CGLError CGLQueryRendererInfo(GLuint, CGLRendererInfoObj* rend, GLint* nrend) {
    const char* count = std::getenv("TEXPROBE_BENCH_RENDERERS");
    *rend = nullptr;
    *nrend = count ? std::atoi(count) : 1;
    return kCGLNoError;
}

CGLError CGLDestroyRendererInfo(CGLRendererInfoObj) {
    return kCGLNoError;
}

CGLError CGLDescribeRenderer(CGLRendererInfoObj, GLint rendNum, CGLRendererProperty, GLint* value) {
    *value = rendNum + 1;
    return kCGLNoError;
}

CGLError CGLChoosePixelFormat(const CGLPixelFormatAttribute*, CGLPixelFormatObj*, GLint*) {
    return kCGLBadPixelFormat;
}

CGLError CGLDestroyPixelFormat(CGLPixelFormatObj) {
    return kCGLNoError;
}

CGLError CGLCreateContext(CGLPixelFormatObj, CGLContextObj, CGLContextObj*) {
    return kCGLBadContext;
}

CGLError CGLDestroyContext(CGLContextObj) {
    return kCGLNoError;
}

CGLError CGLSetCurrentContext(CGLContextObj) {
    return kCGLBadContext;
}

CGLError CGLGetVirtualScreen(CGLContextObj, GLint*) {
    return kCGLBadContext;
}

CGLError CGLCreatePBuffer(GLsizei, GLsizei, GLenum, GLenum, GLint, CGLPBufferObj*) {
    return kCGLBadDrawable;
}

CGLError CGLDestroyPBuffer(CGLPBufferObj) {
    return kCGLNoError;
}

CGLError CGLSetPBuffer(CGLContextObj, CGLPBufferObj, GLenum, GLint, GLint) {
    return kCGLBadDrawable;
}

}  // extern "C"
