// A driver that dies inside a chosen test: linked into a build of the tool, before libOpenGL.
//
// The order is in a file "die" beside the executable, because safe mode empties the environment:
//   <internal format> <index of the capability> <signal>
// It is only followed once. If a test were run again, it would pass, and the records would show it.

#include <OpenGL/gl.h>
#include <dlfcn.h>
#include <signal.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

namespace {

struct Order {
    GLenum internalFormat = 0;
    int capability = -1;
    int signal = 0;
};

std::filesystem::path order_file() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path() / "die";
}

const Order& order() {
    static const Order read = [] {
        Order result;
        std::ifstream(order_file()) >> result.internalFormat >> result.capability >> result.signal;
        return result;
    }();
    return read;
}

GLuint boundTexture = 0;
int definitions = 0;  // Of the test texture, in the ordered format.

/// Which of the six tests defines a texture with this call, in a process that measures the format
/// from its first test on; -1 if the call is not the first of a test.
int capability_of(GLenum internalFormat, GLenum format) {
    constexpr GLuint kTestTexture = 1;
    constexpr int kSupported = 0;
    constexpr int kRenderable = 1;
    if (internalFormat != order().internalFormat) return -1;
    if (boundTexture != kTestTexture) return format == GL_LUMINANCE ? kRenderable : -1;
    const int earlier = definitions++;
    return earlier == 0 ? kSupported : kRenderable + earlier;
}

template <typename Function>
Function next(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

__attribute__((visibility("default"))) void glBindTexture(GLenum target, GLuint texture) {
    boundTexture = texture;
    static const auto real = next<void (*)(GLenum, GLuint)>("glBindTexture");
    real(target, texture);
}

__attribute__((visibility("default"))) void glTexImage2D(GLenum target, GLint level,
                                                         GLint internalFormat, GLsizei width,
                                                         GLsizei height, GLint border,
                                                         GLenum format, GLenum type,
                                                         const void* pixels) {
    const int capability = capability_of(static_cast<GLenum>(internalFormat), format);
    if (capability >= 0 && capability == order().capability) {
        unlink(order_file().c_str());
        raise(order().signal);
    }
    static const auto real =
        next<void (*)(GLenum, GLint, GLint, GLsizei, GLsizei, GLint, GLenum, GLenum, const void*)>(
            "glTexImage2D");
    real(target, level, internalFormat, width, height, border, format, type, pixels);
}

}  // extern "C"
