// An offscreen context on one renderer of this machine.

#ifndef TEXPROBE_OFFSCREEN_CONTEXT_H
#define TEXPROBE_OFFSCREEN_CONTEXT_H

#include <OpenGL/OpenGL.h>
#include <OpenGL/gl.h>

#include <cstdio>
#include <cstdlib>

#include "measuring/pattern.h"

namespace texprobe {

namespace {

[[noreturn]] inline void end_set_up(const char* message) {
    std::fputs(message, stderr);
    std::exit(1);
}

/// An offscreen context bound to exactly one renderer. Ends the process on failure.
class OffscreenContext {
public:
    explicit OffscreenContext(GLint rendererID) {
        const CGLPixelFormatAttribute attributes[] = {
            kCGLPFARendererID, static_cast<CGLPixelFormatAttribute>(rendererID),
            static_cast<CGLPixelFormatAttribute>(0)};
        GLint screenCount = 0;
        GLint screen = 0;
        if (CGLChoosePixelFormat(attributes, &pixelFormat_, &screenCount) != kCGLNoError) {
            end_set_up("*** cannot choose pixel format");
        }
        if (CGLCreateContext(pixelFormat_, nullptr, &context_) != kCGLNoError) {
            end_set_up("*** cannot create OpenGL context");
        }
        if (CGLGetVirtualScreen(context_, &screen) != kCGLNoError) {
            end_set_up("*** cannot get virtual screen");
        }
        if (CGLCreatePBuffer(kImageSize, kImageSize, GL_TEXTURE_2D, GL_RGBA, 0, &pbuffer_) !=
            kCGLNoError) {
            end_set_up("*** cannot create pixel buffer");
        }
        CGLSetPBuffer(context_, pbuffer_, 0, 0, screen);
        CGLSetCurrentContext(context_);
    }
    ~OffscreenContext() {
        // The platform allows destroying the current context.
        CGLDestroyContext(context_);
        CGLDestroyPBuffer(pbuffer_);
        CGLDestroyPixelFormat(pixelFormat_);
    }
    OffscreenContext(const OffscreenContext&) = delete;
    OffscreenContext& operator=(const OffscreenContext&) = delete;

private:
    CGLPixelFormatObj pixelFormat_ = nullptr;
    CGLContextObj context_ = nullptr;
    CGLPBufferObj pbuffer_ = nullptr;
};

}  // namespace

}  // namespace texprobe

#endif
