// The kind of the current context, found without an error and without a change of its state.

#ifndef TEXPROBE_VERDICTS_CONTEXT_H
#define TEXPROBE_VERDICTS_CONTEXT_H

#include <OpenGL/gl.h>

#include <cstdlib>
#include <string_view>

namespace texprobe {

namespace {

// Not in every header of OpenGL.
constexpr GLenum kContextProfileMask = 0x9126;
constexpr GLint kCoreProfileBit = 1;

/// Does a version "4.5 (Core Profile) Mesa 22.3.6" have profiles? Only then asking is no error.
inline bool has_profiles(const char* version) {
    char* end = nullptr;
    const long major = std::strtol(version, &end, 10);
    const long minor = *end == '.' ? std::strtol(end + 1, nullptr, 10) : 0;
    return major > 3 || (major == 3 && minor >= 2);
}

/// Is the current context one of the kind that the tool measures? False for OpenGL ES and for the
/// core profile.
inline bool is_compatibility_context() {
    const auto* version = reinterpret_cast<const char*>(glGetString(GL_VERSION));
    if (!version || std::string_view(version).substr(0, 9) == "OpenGL ES") return false;
    if (!has_profiles(version)) return true;
    GLint profile = 0;
    glGetIntegerv(kContextProfileMask, &profile);
    return (profile & kCoreProfileBit) == 0;
}

}  // namespace

}  // namespace texprobe

#endif
