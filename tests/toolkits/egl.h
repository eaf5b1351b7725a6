// Contexts of applications that use EGL without a toolkit.

#ifndef TEXPROBE_TESTS_EGL_H
#define TEXPROBE_TESTS_EGL_H

#include <EGL/egl.h>

#include <optional>
#include <string>

#include "window.h"

namespace texprobe::tests {

/// Makes such a context current, with a surface for the window if there is one. Empty, or why there
/// is none.
std::string make_current(EGLDisplay display, const Wish& wish,
                         std::optional<EGLNativeWindowType> window);

}  // namespace texprobe::tests

#endif
