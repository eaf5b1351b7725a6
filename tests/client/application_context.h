// A context that an application opens for itself.

#ifndef TEXPROBE_TESTS_APPLICATION_CONTEXT_H
#define TEXPROBE_TESTS_APPLICATION_CONTEXT_H

#include <EGL/egl.h>

#include <memory>
#include <optional>

namespace texprobe::tests {

/// Current on this thread until it is destroyed.
class ApplicationContext {
public:
    virtual ~ApplicationContext() = default;
};

/// What an application asks for; by default, the compatibility context that it gets without a word.
struct Wish {
    bool isES = false;
    int major = 0;
    int minor = 0;
    /// Of a context that is not OpenGL ES: the core profile.
    bool isCore = false;
    /// Of a toolkit that offers both and reads no variable for it: EGL instead of GLX.
    bool isEGL = false;
};

inline constexpr Wish kCore33 = {false, 3, 3, true};
inline constexpr Wish kCore45 = {false, 4, 5, true};
inline constexpr Wish kES3 = {true, 3, 0};

// All throw std::runtime_error if the context cannot be created.

/// In an invisible window of the toolkit that the program is built with.
std::unique_ptr<ApplicationContext> open_window(const Wish& wish);

/// On EGL, with a surface for the window if there is one.
std::unique_ptr<ApplicationContext> open_egl(EGLDisplay display, const Wish& wish,
                                             std::optional<EGLNativeWindowType> window);

/// On EGL without a surface or a display.
std::unique_ptr<ApplicationContext> open_surfaceless(const Wish& wish = {});

}  // namespace texprobe::tests

#endif
