#include "scripted_egl.h"

#include <OpenGL/gl.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <string_view>
#include <utility>

#include "support/text.h"

namespace {

using texprobe::tests::ScriptedDevice;
using texprobe::tests::ScriptedEgl;
using texprobe::tests::Step;

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

ScriptedDevice& device_at(const void* handle) {
    return script->devices.at(index_of(handle));
}

bool passes(const void* handle, Step step, const char* call) {
    script->log(std::string(call) + ' ' + std::to_string(index_of(handle)));
    if (device_at(handle).failsAt != step) return true;
    lastError = device_at(handle).error;
    return false;
}

/// Writes at most `room` of `listed` handles, or none if there is no place for them.
EGLBoolean list_handles(std::size_t listed, void** place, EGLint room, EGLint* count) {
    *count = place ? std::min(room, static_cast<EGLint>(listed)) : static_cast<EGLint>(listed);
    for (EGLint i = 0; place && i < *count; ++i) place[i] = handle_of(static_cast<std::size_t>(i));
    return EGL_TRUE;
}

EGLBoolean query_devices(EGLint room, EGLDeviceEXT* devices, EGLint* count) {
    script->log("query_devices");
    if (!script->listsDevices) return EGL_FALSE;
    return list_handles(script->devices.size(), devices, room, count);
}

const char* query_device_string(EGLDeviceEXT device, EGLint name) {
    script->log("query_device_string " + std::to_string(index_of(device)) + ' ' +
                std::to_string(name));
    if (name == EGL_EXTENSIONS) return device_at(device).extensions.c_str();
    const auto found = device_at(device).strings.find(name);
    return found == device_at(device).strings.end() ? nullptr : found->second.c_str();
}

const GLubyte* get_string(GLenum name) {
    const ScriptedDevice& device = script->devices.at(current);
    if (device.failsAt == Step::kGetString) return nullptr;
    const char* text = name == GL_EXTENSIONS ? device.glExtensions.c_str() : "scripted renderer";
    return reinterpret_cast<const GLubyte*>(text);
}

void get_integerv(GLenum name, GLint* value) {
    *value = script->devices.at(current).glIntegers[name];
}

/// The version that a context's attributes ask for, as "4.6"; "any" without one.
std::string version_in(const EGLint* attributes) {
    std::map<EGLint, EGLint> values;
    for (; attributes && *attributes != EGL_NONE; attributes += 2) {
        values[attributes[0]] = attributes[1];
    }
    if (values.empty()) return "any";
    return std::to_string(values[EGL_CONTEXT_MAJOR_VERSION]) + '.' +
           std::to_string(values[EGL_CONTEXT_MINOR_VERSION]);
}

template <typename Function>
__eglMustCastToProperFunctionPointerType address_of(Function* function) {
    return reinterpret_cast<__eglMustCastToProperFunctionPointerType>(function);
}

}  // namespace

extern "C" {

const char* eglQueryString(EGLDisplay, EGLint) {
    return script->clientExtensions.c_str();
}

__eglMustCastToProperFunctionPointerType eglGetProcAddress(const char* name) {
    const std::string_view wanted = name;
    if (wanted == "eglQueryDevicesEXT") return address_of(query_devices);
    if (wanted == "eglQueryDeviceStringEXT") return address_of(query_device_string);
    if (wanted == "glGetString") return address_of(get_string);
    return wanted == "glGetIntegerv" ? address_of(get_integerv) : nullptr;
}

EGLDisplay eglGetPlatformDisplay(EGLenum platform, void* device, const EGLAttrib*) {
    const bool opens = passes(device, Step::kGetPlatformDisplay, "get_platform_display");
    return opens && platform == EGL_PLATFORM_DEVICE_EXT ? device : EGL_NO_DISPLAY;
}

EGLBoolean eglInitialize(EGLDisplay display, EGLint*, EGLint*) {
    const bool opens = passes(display, Step::kInitialize, "initialize");
    if (device_at(display).onInitialize) device_at(display).onInitialize();
    return opens;
}

EGLBoolean eglBindAPI(EGLenum) {
    return EGL_TRUE;
}

EGLenum eglQueryAPI() {
    return EGL_OPENGL_ES_API;
}

EGLBoolean eglChooseConfig(EGLDisplay display, const EGLint*, EGLConfig* configs, EGLint room,
                           EGLint* count) {
    return passes(display, Step::kChooseConfig, "choose_config") &&
           list_handles(device_at(display).configBits.size(), configs, room, count);
}

EGLBoolean eglGetConfigAttrib(EGLDisplay display, EGLConfig config, EGLint, EGLint* value) {
    *value = device_at(display).configBits.at(index_of(config));
    return EGL_TRUE;
}

EGLContext eglCreateContext(EGLDisplay display, EGLConfig config, EGLContext,
                            const EGLint* attributes) {
    script->log("context " + version_in(attributes) + " of config " +
                std::to_string(index_of(config)));
    return passes(display, Step::kCreateContext, "create_context") ? display : EGL_NO_CONTEXT;
}

EGLBoolean eglDestroyContext(EGLDisplay, EGLContext) {
    return EGL_TRUE;
}

EGLSurface eglCreatePbufferSurface(EGLDisplay display, EGLConfig, const EGLint*) {
    return passes(display, Step::kCreateSurface, "create_surface") ? display : EGL_NO_SURFACE;
}

EGLBoolean eglDestroySurface(EGLDisplay display, EGLSurface) {
    return passes(display, Step::kDestroySurface, "destroy_surface");
}

EGLBoolean eglMakeCurrent(EGLDisplay display, EGLSurface, EGLSurface, EGLContext) {
    current = index_of(display);
    return passes(display, Step::kMakeCurrent, "make_current");
}

// Nothing is ever said to be current.

EGLDisplay eglGetCurrentDisplay() {
    return EGL_NO_DISPLAY;
}

EGLSurface eglGetCurrentSurface(EGLint) {
    return EGL_NO_SURFACE;
}

EGLContext eglGetCurrentContext() {
    return EGL_NO_CONTEXT;
}

EGLint eglGetError() {
    return std::exchange(lastError, EGL_SUCCESS);
}

}  // extern "C"

namespace texprobe::tests {

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

ScriptedEgl::ScriptedEgl(std::vector<ScriptedDevice> itsDevices) : devices(std::move(itsDevices)) {
    script = this;
}

ScriptedEgl::~ScriptedEgl() {
    script = nullptr;
}

EGLDeviceEXT ScriptedEgl::device(std::size_t index) const {
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
