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
        Egl egl = system_egl();
        std::filesystem::path sysfs = "/sys";
        std::chrono::milliseconds openLimit = std::chrono::seconds(30);
    };

    explicit Renderers(System system);

    GLint count() const { return static_cast<GLint>(renderers_.size()); }

    /// The renderer ID, without opening anything. kCGLBadRendererInfo for a renderer that
    /// check_all() has found unusable.
    CGLError describe_id(std::size_t index, GLint* id) const;

    /// Is it a GPU? Opens nothing.
    CGLError describe_accelerated(std::size_t index, GLint* accelerated) const;

    /// The texture memory in bytes, at most 2^31 - 1; checks all renderers first.
    CGLError describe_texture_memory(std::size_t index, GLint* bytes);

    /// The device of the renderer with this ID; checks all renderers first. kCGLBadPixelFormat when
    /// there is no such renderer.
    CGLError find_device(GLint id, EGLDeviceEXT* device);

    const Egl& egl() const { return system_.egl; }

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
    bool is_unusable(std::size_t index) const;

    System system_;
    std::vector<Renderer> renderers_;
    std::once_flag check_once_;
    std::atomic<bool> checked_{false};
};

/// The renderers of this machine.
Renderers& system_renderers();

/// A number of bytes as CGL returns it.
GLint clamp_bytes(std::uint64_t bytes);

}  // namespace texprobe::platform

#endif
