// If GLFW is not installed, the tests that need a window are skipped.

#include "application_context.h"

namespace texprobe::tests {

bool has_glfw() {
    return false;
}

std::unique_ptr<ApplicationContext> open_glx_window() {
    return nullptr;
}

std::unique_ptr<ApplicationContext> open_egl_window() {
    return nullptr;
}

}  // namespace texprobe::tests
