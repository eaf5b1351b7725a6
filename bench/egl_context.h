// An offscreen OpenGL context by EGL alone, as an application makes one; without the product's
// platform layer.

#ifndef TEXPROBE_BENCH_EGL_CONTEXT_H
#define TEXPROBE_BENCH_EGL_CONTEXT_H

#include <EGL/egl.h>
#include <EGL/eglext.h>

#include <vector>

namespace texprobe::bench {

/// Every EGL device of this machine.
std::vector<EGLDeviceEXT> list_devices();

/// Current from its construction to its destruction. Ends the program if there is no context.
class EglContext {
public:
    enum Kind { kCompatibility, kCore };
    explicit EglContext(EGLDeviceEXT device, Kind kind = kCompatibility);
    ~EglContext();
    EglContext(const EglContext&) = delete;
    EglContext& operator=(const EglContext&) = delete;

private:
    EGLDisplay display_;
    EGLSurface surface_;
    EGLContext context_;
};

}  // namespace texprobe::bench

#endif
