#include "egl.h"

#include <EGL/eglext.h>

namespace texprobe::tests {

std::string open_window(const Wish& wish) {
    return make_current(
        eglGetPlatformDisplay(EGL_PLATFORM_SURFACELESS_MESA, EGL_DEFAULT_DISPLAY, nullptr), wish,
        std::nullopt);
}

}  // namespace texprobe::tests
