// If GLFW is not installed, the tests that need a window are skipped.

#include "application_context.h"

namespace texprobe::tests {

std::unique_ptr<ApplicationContext> open_window(const Wish& /*wish*/) {
    return nullptr;
}

}  // namespace texprobe::tests
