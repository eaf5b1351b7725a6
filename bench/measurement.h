// The tool's measurement alone: the product's own tests of the sixteen formats, in the tool's
// order, on a current context. No records, no listing, no identifiers.

#ifndef TEXPROBE_BENCH_MEASUREMENT_H
#define TEXPROBE_BENCH_MEASUREMENT_H

#include <OpenGL/gl.h>

#include "measuring/capability_tests.h"
#include "measuring/render_target.h"
#include "support/formats.h"

namespace texprobe::bench {

/// As the tool's test driver sets it up.
inline void set_up_renderer() {
    read_extensions([](const char*, bool) {});
    set_up_render_target();
}

/// Runs every test whose precondition holds, calling `before` first. Returns how many passed.
template <typename Before>
int measure_format(GLenum internalFormat, Before before) {
    int passed = 0;
    for_each_test([&](const CapabilityTest& test, bool applies) {
        if (!applies) return false;
        before();
        const bool verdict = test.run(internalFormat);
        passed += verdict;
        return verdict;
    });
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
