// A driver that lacks one extension, or fails in one call of EGL: linked into a build of the tool,
// before the system's libraries. The environment variables MISSING_EXTENSION and FAILING_EGL_CALL
// name it. Mesa's own MESA_EXTENSION_OVERRIDE removes other extensions as well in some versions.

#include <EGL/egl.h>
#include <OpenGL/gl.h>
#include <dlfcn.h>

#include <cstdlib>
#include <string>

namespace {

/// `words`, separated by blanks, without `word`.
std::string without(const std::string& words, const std::string& word) {
    std::string padded = " " + words + " ";
    const std::size_t found = padded.find(" " + word + " ");
    if (found != std::string::npos) padded.erase(found, word.size() + 1);
    return padded;
}

/// EGL's own function; null if this call is to fail.
template <typename Function>
Function real_unless_failing(const char* name, Function) {
    const char* failing = std::getenv("FAILING_EGL_CALL");
    if (failing && std::string(failing) == name) return nullptr;
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" __attribute__((visibility("default"))) EGLSurface eglCreatePbufferSurface(
    EGLDisplay display, EGLConfig config, const EGLint* attributes) {
    const auto real = real_unless_failing("eglCreatePbufferSurface", &eglCreatePbufferSurface);
    return real ? real(display, config, attributes) : EGL_NO_SURFACE;
}

extern "C" __attribute__((visibility("default"))) EGLBoolean eglMakeCurrent(EGLDisplay display,
                                                                            EGLSurface draw,
                                                                            EGLSurface read,
                                                                            EGLContext context) {
    const auto real = real_unless_failing("eglMakeCurrent", &eglMakeCurrent);
    return real ? real(display, draw, read, context) : EGL_FALSE;
}

extern "C" __attribute__((visibility("default"))) const GLubyte* glGetString(GLenum name) {
    static const auto real =
        reinterpret_cast<const GLubyte* (*)(GLenum)>(dlsym(RTLD_NEXT, "glGetString"));
    const GLubyte* text = real(name);
    const char* missing = std::getenv("MISSING_EXTENSION");
    if (name != GL_EXTENSIONS || !missing || !text) return text;
    static std::string offered;
    offered = without(reinterpret_cast<const char*>(text), missing);
    return reinterpret_cast<const GLubyte*>(offered.c_str());
}
