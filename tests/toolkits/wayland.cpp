#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <wayland-client.h>
#include <wayland-egl.h>

#include <cstdint>
#include <cstring>
#include <stdexcept>

#include "client/application_context.h"

namespace texprobe::tests {

namespace {

void bind_compositor(void* compositor, wl_registry* registry, std::uint32_t name,
                     const char* interface, std::uint32_t /*version*/) {
    if (std::strcmp(interface, wl_compositor_interface.name) != 0) return;
    *static_cast<void**>(compositor) =
        wl_registry_bind(registry, name, &wl_compositor_interface, 1);
}

void forget(void* /*compositor*/, wl_registry* /*registry*/, std::uint32_t /*name*/) {}

constexpr wl_registry_listener kListener = {bind_compositor, forget};

}  // namespace

std::unique_ptr<ApplicationContext> open_window(const Wish& wish) {
    wl_display* connection = wl_display_connect(nullptr);
    if (!connection) throw std::runtime_error("there is no Wayland server");
    void* compositor = nullptr;
    wl_registry_add_listener(wl_display_get_registry(connection), &kListener, &compositor);
    wl_display_roundtrip(connection);
    if (!compositor) throw std::runtime_error("the Wayland server has no compositor");
    wl_surface* surface = wl_compositor_create_surface(static_cast<wl_compositor*>(compositor));
    constexpr int kSize = 64;
    wl_egl_window* window = wl_egl_window_create(surface, kSize, kSize);
    return open_egl(eglGetPlatformDisplay(EGL_PLATFORM_WAYLAND_KHR, connection, nullptr), wish,
                    reinterpret_cast<EGLNativeWindowType>(window));
}

}  // namespace texprobe::tests
