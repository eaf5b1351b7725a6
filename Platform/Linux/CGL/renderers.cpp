#include "CGL/renderers.h"

#include <link.h>
#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <future>
#include <limits>
#include <string_view>
#include <system_error>
#include <utility>

#include "CGL/offscreen.h"
#include "CGL/open_check.h"

namespace texprobe::platform {

namespace {

std::uint64_t system_memory() {
    const long pages = sysconf(_SC_PHYS_PAGES);
    const long pageSize = sysconf(_SC_PAGESIZE);
    if (pages < 0 || pageSize < 0) return 0;
    return static_cast<std::uint64_t>(pages) * static_cast<std::uint64_t>(pageSize);
}

/// Blocks all signals on this thread, and on threads that it starts meanwhile.
class BlockedSignals {
public:
    BlockedSignals() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    ~BlockedSignals() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    BlockedSignals(const BlockedSignals&) = delete;
    BlockedSignals& operator=(const BlockedSignals&) = delete;

private:
    sigset_t before_;
};

/// Has EGL loaded a vendor's library? They are called "libEGL_<vendor>.so".
bool is_egl_in_use() {
    const auto isVendor = [](dl_phdr_info* object, std::size_t, void*) -> int {
        const std::string_view path = object->dlpi_name ? object->dlpi_name : "";
        return path.substr(path.rfind('/') + 1).starts_with("libEGL_");
    };
    return dl_iterate_phdr(isVendor, nullptr) != 0;
}

/// EGL keeps one error per thread, and every call overwrites it. If the application uses EGL, the
/// calling thread may have an error that the application has yet to read. So the renderers are
/// listed on a short-lived thread, where none of the application's signal handlers run. If EGL is
/// not in use, listing loads libraries. That must happen on the calling thread: it may hold the
/// loader's lock, in the constructor of a plugin's global object, and another thread would
/// deadlock.
Renderers* list_renderers() {
    if (!is_egl_in_use()) return new Renderers({});
    std::future<Renderers*> list;
    try {
        const BlockedSignals blocked;
        list = std::async(std::launch::async, [] { return new Renderers({}); });
    } catch (const std::system_error&) {
        // No thread could be started. Losing an EGL error is better than having no renderers.
        return new Renderers({});
    }
    return list.get();
}

}  // namespace

Renderers::Renderers(System system) : system_(std::move(system)) {
    const std::string overrides = driver_overrides();
    for (Device& device : list_devices(system_.sysfs)) {
        Renderer renderer;
        renderer.id = static_cast<GLint>(renderer_id(device.identity, overrides));
        renderer.device = std::move(device);
        renderers_.push_back(std::move(renderer));
    }
}

CGLError Renderers::describe(std::size_t index, CGLRendererProperty property, GLint* value) {
    if (property == kCGLRPTextureMemory) check_all();
    const Renderer& renderer = renderers_[index];
    if (checked_.load(std::memory_order_acquire) && !renderer.usable) return kCGLBadRendererInfo;
    switch (property) {
        case kCGLRPRendererID:
            *value = renderer.id;
            return kCGLNoError;
        case kCGLRPAccelerated:
            *value = renderer.device.software ? 0 : 1;
            return kCGLNoError;
        case kCGLRPTextureMemory:
            *value = renderer.memory;
            return kCGLNoError;
        default:
            return kCGLBadProperty;
    }
}

CGLError Renderers::find_device(GLint id, EGLDeviceEXT* device) {
    check_all();
    CGLError error = kCGLBadPixelFormat;
    for (const Renderer& renderer : renderers_) {
        if (renderer.id != id) continue;
        if (renderer.usable) {
            *device = renderer.entry;
            return kCGLNoError;
        }
        error = kCGLBadRendererInfo;
    }
    return error;
}

void Renderers::check_all() {
    std::call_once(check_once_, [this] {
        for (Renderer& renderer : renderers_) check(renderer);
        checked_.store(true, std::memory_order_release);
    });
}

void Renderers::check(Renderer& renderer) const {
    std::string reasons;
    std::uint64_t memory = 0;
    renderer.usable = false;
    for (EGLDeviceEXT entry : renderer.device.entries) {
        OpenCheck result;
        if (renderer.device.software) {
            // The software device is last in the list, has no hardware that could hang, and is
            // needed by this process next. So it is opened here.
            result.failure = open_device(entry).failure;
        } else {
            result = check_device(entry, system_.openLimit);
        }
        if (result.failure.empty()) {
            renderer.usable = true;
            renderer.entry = entry;
            memory = result.memory;
            break;
        }
        reasons += (reasons.empty() ? "" : "; ") + result.failure;
    }
    if (!renderer.usable) {
        std::fprintf(stderr, "*** EGL: the device %s cannot be used: %s\n",
                     renderer.device.name.c_str(), reasons.c_str());
        return;
    }
    if (const std::uint64_t videoMemory = read_video_memory(renderer.device.gpu)) {
        memory = videoMemory;
    }
    constexpr std::uint64_t kMost = std::numeric_limits<GLint>::max();
    renderer.memory = static_cast<GLint>(std::min(memory ? memory : system_memory(), kMost));
}

Renderers& system_renderers() {
    // Never destroyed: another thread may be using it while the process exits.
    static Renderers& renderers = *list_renderers();
    return renderers;
}

}  // namespace texprobe::platform
