#include "scripted_egl.h"

#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <utility>

namespace texprobe::tests {

namespace {

ScriptedEgl* script = nullptr;
thread_local EGLint lastError = EGL_SUCCESS;
thread_local std::size_t current = 0;

// All handles point into this array; an object's index is its position.
char handles[64];

void* handle_of(std::size_t index) {
    return &handles[index];
}

std::size_t index_of(const void* handle) {
    return static_cast<std::size_t>(static_cast<const char*>(handle) - handles);
}

}  // namespace

/// EGL's functions, as scripted.
struct Script {
    static ScriptedDevice& at(std::size_t index) { return script->devices_.at(index); }

    static bool passes(std::size_t index, Step step, const char* call) {
        script->log(std::string(call) + ' ' + std::to_string(index));
        if (at(index).failsAt != step) return true;
        lastError = at(index).error;
        return false;
    }

    static EGLBoolean query_devices(EGLint room, EGLDeviceEXT* devices, EGLint* count) {
        script->log("query_devices");
        if (script->failsAt == Step::kQueryDevices) return EGL_FALSE;
        const auto listed = static_cast<EGLint>(script->devices_.size());
        *count = devices ? std::min(room, listed) : listed;
        for (EGLint i = 0; devices && i < *count; ++i) {
            devices[i] = handle_of(static_cast<std::size_t>(i));
        }
        return EGL_TRUE;
    }

    static const char* query_device_string(EGLDeviceEXT device, EGLint name) {
        script->log("query_device_string " + std::to_string(index_of(device)) + ' ' +
                    std::to_string(name));
        const ScriptedDevice& scripted = at(index_of(device));
        if (name == EGL_EXTENSIONS) return scripted.extensions.c_str();
        const auto found = scripted.strings.find(name);
        return found == scripted.strings.end() ? nullptr : found->second.c_str();
    }

    static EGLDisplay get_platform_display(EGLenum platform, void* device, const EGLAttrib*) {
        const std::size_t index = index_of(device);
        const bool opens = passes(index, Step::kGetPlatformDisplay, "get_platform_display");
        return opens && platform == EGL_PLATFORM_DEVICE_EXT ? device : EGL_NO_DISPLAY;
    }

    static EGLBoolean initialize(EGLDisplay display, EGLint*, EGLint*) {
        const std::size_t index = index_of(display);
        const bool opens = passes(index, Step::kInitialize, "initialize");
        if (at(index).onInitialize) at(index).onInitialize();
        return opens;
    }

    static EGLBoolean bind_api(EGLenum) { return EGL_TRUE; }

    static EGLBoolean choose_config(EGLDisplay display, const EGLint*, EGLConfig* configs,
                                    EGLint room, EGLint* count) {
        const std::size_t index = index_of(display);
        if (!passes(index, Step::kChooseConfig, "choose_config")) return EGL_FALSE;
        const auto listed = static_cast<EGLint>(at(index).configBits.size());
        *count = configs ? std::min(room, listed) : listed;
        for (EGLint i = 0; configs && i < *count; ++i) {
            configs[i] = handle_of(static_cast<std::size_t>(i));
        }
        return EGL_TRUE;
    }

    static EGLBoolean get_config_attrib(EGLDisplay display, EGLConfig config, EGLint,
                                        EGLint* value) {
        *value = at(index_of(display)).configBits.at(index_of(config));
        return EGL_TRUE;
    }

    static EGLContext create_context(EGLDisplay display, EGLConfig config, EGLContext,
                                     const EGLint* attributes) {
        const std::size_t index = index_of(display);
        // With a version, EGL would choose another profile.
        const bool versionless = !attributes || attributes[0] == EGL_NONE;
        const bool passed = passes(index, Step::kCreateContext, "create_context");
        script->log("config " + std::to_string(index_of(config)));
        return passed && versionless ? handle_of(index) : EGL_NO_CONTEXT;
    }

    static EGLSurface create_pbuffer_surface(EGLDisplay display, EGLConfig, const EGLint*) {
        const std::size_t index = index_of(display);
        const bool passed = passes(index, Step::kCreateSurface, "create_surface");
        return passed ? handle_of(index) : EGL_NO_SURFACE;
    }

    static EGLBoolean make_current(EGLDisplay display, EGLSurface, EGLSurface, EGLContext) {
        current = index_of(display);
        return passes(current, Step::kMakeCurrent, "make_current");
    }

    static EGLint get_error() { return std::exchange(lastError, EGL_SUCCESS); }

    static const GLubyte* get_string(GLenum name) {
        if (at(current).failsAt == Step::kGetString) return nullptr;
        const char* text =
            name == GL_EXTENSIONS ? at(current).glExtensions.c_str() : "scripted renderer";
        return reinterpret_cast<const GLubyte*>(text);
    }

    static void get_integerv(GLenum name, GLint* value) { *value = at(current).glIntegers[name]; }
};

ScriptedDevice hardware(const std::string& node) {
    ScriptedDevice device;
    device.extensions = "EGL_EXT_device_drm EGL_EXT_device_drm_render_node";
    device.strings[EGL_DRM_RENDER_NODE_FILE_EXT] = node;
    return device;
}

ScriptedDevice software() {
    ScriptedDevice device;
    device.extensions = "EGL_MESA_device_software";
    return device;
}

ScriptedEgl::ScriptedEgl(std::vector<ScriptedDevice> devices) : devices_(std::move(devices)) {
    script = this;
}

ScriptedEgl::~ScriptedEgl() {
    script = nullptr;
}

platform::Egl ScriptedEgl::functions() const {
    platform::Egl egl;
    egl.queryDevices = Script::query_devices;
    egl.queryDeviceString = Script::query_device_string;
    egl.getPlatformDisplay = Script::get_platform_display;
    egl.initialize = Script::initialize;
    egl.bindApi = Script::bind_api;
    egl.chooseConfig = Script::choose_config;
    egl.getConfigAttrib = Script::get_config_attrib;
    egl.createContext = Script::create_context;
    egl.createPbufferSurface = Script::create_pbuffer_surface;
    egl.makeCurrent = Script::make_current;
    egl.getError = Script::get_error;
    egl.getString = Script::get_string;
    egl.getIntegerv = Script::get_integerv;
    return egl;
}

EGLDeviceEXT ScriptedEgl::device(std::size_t index) {
    return handle_of(index);
}

// A file, because the calls of child processes count too. Each line begins with the caller's
// process ID.
void ScriptedEgl::log(const std::string& call) const {
    std::ofstream(folder_.path() / "calls", std::ios::app) << getpid() << ' ' << call << std::endl;
}

std::vector<std::string> ScriptedEgl::calls_of(const std::string& process) const {
    std::vector<std::string> calls;
    for (const std::string& line : lines_of(read_file(folder_.path() / "calls"))) {
        const std::size_t space = line.find(' ');
        if (process.empty() || process == line.substr(0, space)) {
            calls.push_back(line.substr(space + 1));
        }
    }
    return calls;
}

std::vector<std::string> ScriptedEgl::calls() const {
    return calls_of("");
}

std::vector<std::string> ScriptedEgl::calls_here() const {
    return calls_of(std::to_string(getpid()));
}

}  // namespace texprobe::tests
