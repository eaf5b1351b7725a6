// A context that an application opens for itself, and what is current on its thread.

#ifndef TEXPROBE_TESTS_APPLICATION_CONTEXT_H
#define TEXPROBE_TESTS_APPLICATION_CONTEXT_H

#include <cstdint>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace texprobe::tests {

/// Current on this thread until it is destroyed.
class ApplicationContext {
public:
    virtual ~ApplicationContext() = default;
};

// All throw std::runtime_error if the context cannot be created.

/// An invisible GLFW window of the X server, on GLX or on EGL.
std::unique_ptr<ApplicationContext> open_glx_window();
std::unique_ptr<ApplicationContext> open_egl_window();
/// False if this was built without GLFW.
bool has_glfw();

/// An EGL context without a surface or a display.
std::unique_ptr<ApplicationContext> open_surfaceless();
/// The same with a core profile.
std::unique_ptr<ApplicationContext> open_surfaceless_core();
std::unique_ptr<ApplicationContext> open_surfaceless_core_45();
/// The same for OpenGL ES 3.
std::unique_ptr<ApplicationContext> open_surfaceless_es();

/// A way to open one, for the name of a test. `window` if it needs an X server, `isOfTool` if it is
/// one of the kind that the tool measures.
struct ContextKind {
    const char* name;
    std::unique_ptr<ApplicationContext> (*open)();
    bool window;
    bool isOfTool;
};

inline void PrintTo(const ContextKind& kind, std::ostream* stream) {
    *stream << kind.name;
}

/// All the handles by which GLX and EGL name what is current on this thread.
std::vector<std::uintptr_t> current_handles();

}  // namespace texprobe::tests

#endif
