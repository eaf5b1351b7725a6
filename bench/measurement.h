// The tool's measurement alone: the product's own tests of the sixteen formats, in the tool's
// order, on a current context. No records, no listing, no identifiers.

#ifndef TEXPROBE_BENCH_MEASUREMENT_H
#define TEXPROBE_BENCH_MEASUREMENT_H

#include <OpenGL/gl.h>
#include <OpenGL/glext.h>
#include <OpenGL/glu.h>

#include "measuring/probe.h"
#include "support/formats.h"

namespace texprobe::bench {

inline bool has_extension(const char* name) {
    return gluCheckExtension(reinterpret_cast<const GLubyte*>(name), glGetString(GL_EXTENSIONS));
}

/// As the tool's test driver sets it up.
inline void set_up_render_target() {
    __hasFBO = has_extension("GL_EXT_framebuffer_object");
    __hasPBO = has_extension("GL_ARB_pixel_buffer_object");
    if (__hasFBO) {
        glBindFramebufferEXT(GL_FRAMEBUFFER_EXT, 1);
        glBindTexture(GL_TEXTURE_2D, kTargetTexture);
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, kImageSize, kImageSize, 0, GL_RGBA, GL_BYTE,
                     nullptr);
        glFramebufferTexture2DEXT(GL_FRAMEBUFFER_EXT, GL_COLOR_ATTACHMENT0_EXT, GL_TEXTURE_2D,
                                  kTargetTexture, 0);
    }
    const GLenum buffer = __hasFBO ? GL_COLOR_ATTACHMENT0_EXT : GL_FRONT;
    glDrawBuffer(buffer);
    glReadBuffer(buffer);
    glViewport(0, 0, kImageSize, kImageSize);
}

/// Runs every test whose precondition holds, calling `before` first. Returns how many passed.
template <typename Before>
int measure_format(GLenum internalFormat, Before before) {
    bool verdicts[kCapabilityCount] = {};
    int passed = 0;
    for (const CapabilityTest& test : kCapabilityTests) {
        const Capability needed = kCapabilityRows[test.capability].precondition;
        if (needed != test.capability && !verdicts[needed]) continue;
        before();
        verdicts[test.capability] = test.run(internalFormat);
        passed += verdicts[test.capability];
    }
    return passed;
}

template <typename Before>
int measure_all_formats(Before before) {
    int passed = 0;
    for (const tests::Format& format : tests::kFormats) {
        passed += measure_format(format.internalFormat, before);
    }
    return passed;
}

}  // namespace texprobe::bench

#endif
