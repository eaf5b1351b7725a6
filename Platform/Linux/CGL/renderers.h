// The renderers of this process: their IDs, whether they can be used, and their texture memory.

#ifndef TEXPROBE_PLATFORM_CGL_RENDERERS_H
#define TEXPROBE_PLATFORM_CGL_RENDERERS_H

#include <OpenGL/OpenGL.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <mutex>
#include <string>
#include <vector>

#include "CGL/devices.h"
#include "CGL/egl.h"

namespace texprobe::platform {

/// Lists the devices once and checks them once. Thread-safe.
class Renderers {
public:
    struct System {
        std::filesystem::path sysfs = "/sys";
        std::chrono::milliseconds openLimit = std::chrono::seconds(30);
    };

    explicit Renderers(System system);

    GLint count() const { return static_cast<GLint>(renderers_.size()); }

    /// The renderer ID or, 1 or 0, whether it is a GPU, without opening anything; or the texture
    /// memory in bytes, at most 2^31 - 1, which checks all renderers first. kCGLBadRendererInfo for
    /// a renderer that a check has found unusable.
    CGLError describe(std::size_t index, CGLRendererProperty property, GLint* value);

    /// The device of the renderer with this ID; checks all renderers first. kCGLBadPixelFormat when
    /// there is no such renderer.
    CGLError find_device(GLint id, EGLDeviceEXT* device);

private:
    struct Renderer {
        Device device;
        GLint id = 0;
        bool usable = true;
        EGLDeviceEXT entry = nullptr;  ///< The one of the device's entries that can be opened.
        GLint memory = 0;
    };

    /// On the first call, opens every renderer, GPUs in child processes, where a crash does no
    /// harm. Prints on standard error why a renderer cannot be used.
    void check_all();
    void check(Renderer& renderer) const;

    System system_;
    std::vector<Renderer> renderers_;
    std::once_flag check_once_;
    std::atomic<bool> checked_{false};
};

/// The renderers of this machine.
Renderers& system_renderers();

}  // namespace texprobe::platform

#endif
