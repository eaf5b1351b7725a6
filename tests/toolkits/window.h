// What a toolkit opens for an application: one source a toolkit.

#ifndef TEXPROBE_TESTS_WINDOW_H
#define TEXPROBE_TESTS_WINDOW_H

#include <string>

namespace texprobe::tests {

/// The OpenGL context that an application asks for.
struct Wish {
    bool isES;
    int major;
    int minor;
    /// Of a context that is not OpenGL ES: the core profile, or the compatibility profile.
    bool isCore;
    /// Of a toolkit that offers both and reads no variable for it: EGL instead of GLX.
    bool isEGL;
};

/// Opens a window with such a context, which is current on this thread until the process
/// ends. Empty, or why there is none.
std::string open_window(const Wish& wish);

}  // namespace texprobe::tests

#endif
