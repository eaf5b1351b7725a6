// A driver that lacks one extension: linked into a build of the tool, before the system's OpenGL.
// The environment variable MISSING_EXTENSION names it. Mesa's own MESA_EXTENSION_OVERRIDE removes
// other extensions as well in some versions.

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

}  // namespace

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
