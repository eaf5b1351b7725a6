// The kind of the current context, found without an error and without a change of its state.

#ifndef TEXPROBE_VERDICTS_CONTEXT_H
#define TEXPROBE_VERDICTS_CONTEXT_H

#include <OpenGL/gl.h>
#include <table/promises.h>

#include <cstdlib>
#include <sstream>
#include <string>
#include <string_view>

// Not in macOS's header of all profiles, but in its framework.
extern "C" const GLubyte* glGetStringi(GLenum name,  // NOLINT(readability-redundant-declaration)
                                       GLuint index);

namespace texprobe {

namespace {

// Not in every header of OpenGL.
constexpr GLenum kContextProfileMask = 0x9126;
constexpr GLenum kNumberOfExtensions = 0x821D;
constexpr GLint kCoreProfileBit = 1;

inline std::string string_of_context(GLenum name) {
    const auto* text = reinterpret_cast<const char*>(glGetString(name));
    return text ? text : "";
}

/// Where the number begins in "4.5 (Core Profile) Mesa 22.3.6" and in "OpenGL ES 3.2 Mesa 22.3.6".
inline std::size_t begin_of_number(const std::string& version) {
    const std::size_t digit = version.find_first_of("0123456789");
    return digit == std::string::npos ? version.size() : digit;
}

/// As 45 for 4.5.
inline int number_of_version(const std::string& version) {
    char* end = nullptr;
    const long major = std::strtol(version.c_str() + begin_of_number(version), &end, 10);
    const long minor = *end == '.' ? std::strtol(end + 1, nullptr, 10) : 0;
    return static_cast<int>(major * 10 + minor);
}

/// "Mesa 22.3.6": the driver in a version string, without the context's own version and profile.
/// Two contexts of one kind and of one driver have the same.
inline std::string driver_of_version(const std::string& version) {
    const std::size_t space = version.find(' ', begin_of_number(version));
    std::string driver = space == std::string::npos ? "" : version.substr(space + 1);
    const std::size_t end = driver.find(')');
    const bool isProfile = driver.substr(0, 1) == "(" && end != std::string::npos && end >= 8 &&
                           driver.compare(end - 7, 7, "Profile") == 0;
    if (isProfile) driver.erase(0, driver.find_first_not_of(' ', end + 1));
    return driver;
}

inline void read_extensions_of_context(survey::ContextFacts* facts) {
    if (facts->version < 30) {
        std::istringstream words(string_of_context(GL_EXTENSIONS));
        for (std::string word; words >> word;) facts->extensions.insert(word);
        return;
    }
    GLint count = 0;
    glGetIntegerv(kNumberOfExtensions, &count);
    for (GLint i = 0; i < count; ++i) {
        const GLubyte* name = glGetStringi(GL_EXTENSIONS, static_cast<GLuint>(i));
        if (name) facts->extensions.insert(reinterpret_cast<const char*>(name));
    }
}

/// The current context's version, profile and extensions. The extensions are only read where the
/// version does not bring every call that can be asked about.
inline survey::ContextFacts facts_of_context() {
    survey::ContextFacts facts;
    const std::string version = string_of_context(GL_VERSION);
    facts.version = number_of_version(version);
    if (version.compare(0, 9, "OpenGL ES") == 0) {
        facts.profile = survey::Profile::kEs;
    } else if (facts.version >= 32) {
        // Before 3.2 there are no profiles, and asking for one is an error.
        GLint profile = 0;
        glGetIntegerv(kContextProfileMask, &profile);
        if ((profile & kCoreProfileBit) != 0) facts.profile = survey::Profile::kCore;
    }
    if (!facts.is_desktop(42) && !facts.is_es(30)) read_extensions_of_context(&facts);
    return facts;
}

}  // namespace

}  // namespace texprobe

#endif
