#include "CGL/egl.h"

namespace texprobe::platform {

bool has_extension(const char* extensions, std::string_view name) {
    std::string_view rest = extensions ? extensions : "";
    while (!rest.empty()) {
        const std::size_t end = rest.find(' ');
        if (rest.substr(0, end) == name) return true;
        rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
    }
    return false;
}

std::string describe_failure(std::string_view call) {
    static constexpr const char* kNames[] = {
        "EGL_SUCCESS",       "EGL_NOT_INITIALIZED",     "EGL_BAD_ACCESS",
        "EGL_BAD_ALLOC",     "EGL_BAD_ATTRIBUTE",       "EGL_BAD_CONFIG",
        "EGL_BAD_CONTEXT",   "EGL_BAD_CURRENT_SURFACE", "EGL_BAD_DISPLAY",
        "EGL_BAD_MATCH",     "EGL_BAD_NATIVE_PIXMAP",   "EGL_BAD_NATIVE_WINDOW",
        "EGL_BAD_PARAMETER", "EGL_BAD_SURFACE",         "EGL_CONTEXT_LOST"};
    const EGLint error = eglGetError();
    std::string text(call);
    text += " failed";
    // Some drivers fail without setting an error.
    if (error > EGL_SUCCESS && error <= EGL_CONTEXT_LOST) {
        text += " with ";
        text += kNames[error - EGL_SUCCESS];
    }
    return text;
}

}  // namespace texprobe::platform
