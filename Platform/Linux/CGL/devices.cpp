#include "CGL/devices.h"

#include <algorithm>

#include "fnv1a.h"

namespace texprobe::platform {

namespace {

// Extensions, which EGL may lack: can_list_devices().

EGLBoolean query_devices(EGLint room, EGLDeviceEXT* devices, EGLint* count) {
    return load<PFNEGLQUERYDEVICESEXTPROC>("eglQueryDevicesEXT")(room, devices, count);
}

const char* query_device_string(EGLDeviceEXT device, EGLint name) {
    static const auto query = load<PFNEGLQUERYDEVICESTRINGEXTPROC>("eglQueryDeviceStringEXT");
    return query(device, name);
}

/// One entry of EGL's list. Names are queried only if the entry's extensions offer them: a failed
/// query would leave an EGL error on the application's thread.
class Entry {
public:
    explicit Entry(EGLDeviceEXT device)
        : device_(device), extensions_(query_device_string(device, EGL_EXTENSIONS)) {}

    bool is_software() const { return has_extension(extensions_, "EGL_MESA_device_software"); }

    /// The path of its DRM node; empty if it has none.
    std::string node() const {
        std::string file = string("EGL_EXT_device_drm_render_node", EGL_DRM_RENDER_NODE_FILE_EXT);
        if (file.empty()) file = string("EGL_EXT_device_drm", EGL_DRM_DEVICE_FILE_EXT);
        return file;
    }

    /// The driver's own names for the device.
    std::string description() const {
        return string("EGL_EXT_device_query_name", EGL_VENDOR) + '/' +
               string("EGL_EXT_device_query_name", EGL_RENDERER_EXT) + '/' +
               string("EGL_EXT_device_persistent_id", EGL_DRIVER_NAME_EXT);
    }

private:
    std::string string(const char* extension, EGLint name) const {
        if (!has_extension(extensions_, extension)) return {};
        const char* text = query_device_string(device_, name);
        return text ? text : "";
    }

    EGLDeviceEXT device_;
    const char* extensions_;
};

std::vector<EGLDeviceEXT> list_entries() {
    EGLint count = 0;
    if (!can_list_devices(eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS)) ||
        !query_devices(0, nullptr, &count) || count <= 0) {
        return {};
    }
    std::vector<EGLDeviceEXT> entries(static_cast<std::size_t>(count));
    if (!query_devices(count, entries.data(), &count) || count <= 0) return {};
    entries.resize(std::min(entries.size(), static_cast<std::size_t>(count)));
    return entries;
}

Device describe(const Entry& entry, const std::filesystem::path& sysfs) {
    Device device;
    if (entry.is_software()) {
        device.software = true;
        device.name = device.identity = "software";
        return device;
    }
    const std::string node = entry.node();
    if (!node.empty()) device.gpu = read_gpu(sysfs, node);
    if (device.gpu.directory.empty()) {
        device.name = device.identity = entry.description();
        if (!node.empty()) device.name = node;
    } else {
        device.name = node;
        device.identity = device.gpu.vendor + '/' + device.gpu.device + '/' + device.gpu.driver;
    }
    return device;
}

bool same_device(const Device& a, const Device& b) {
    if (a.software || b.software) return a.software && b.software;
    return !a.gpu.directory.empty() && a.gpu.directory == b.gpu.directory;
}

}  // namespace

bool can_list_devices(const char* clientExtensions) {
    return has_extension(clientExtensions, "EGL_EXT_device_base") ||
           (has_extension(clientExtensions, "EGL_EXT_device_enumeration") &&
            has_extension(clientExtensions, "EGL_EXT_device_query"));
}

std::vector<Device> list_devices(const std::filesystem::path& sysfs) {
    std::vector<Device> devices;
    for (EGLDeviceEXT entry : list_entries()) {
        Device device = describe(Entry(entry), sysfs);
        auto known = std::find_if(devices.begin(), devices.end(),
                                  [&](const Device& other) { return same_device(device, other); });
        if (known == devices.end()) known = devices.insert(devices.end(), std::move(device));
        known->entries.push_back(entry);
    }
    // Hardware first. There is at most one software device.
    const auto software = std::find_if(devices.begin(), devices.end(),
                                       [](const Device& device) { return device.software; });
    if (software != devices.end()) std::rotate(software, software + 1, devices.end());
    return devices;
}

std::uint32_t renderer_id(const std::string& identity, const std::string& overrides) {
    const std::uint32_t hash = fnv1a(identity + '\n' + overrides);
    return hash == 0 ? 1 : hash;
}

}  // namespace texprobe::platform
