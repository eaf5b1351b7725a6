// A driver that fails in chosen transfer tests, each time that it is asked: linked into a build of
// the tool, in front of the system's OpenGL. The file "faults" beside the executable says in which:
//   <internal format> <index of the capability> <signal, or 0 to hang>

#include <OpenGL/gl.h>
#include <dlfcn.h>
#include <signal.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <utility>

namespace {

enum Test { kUploadSet = 2, kUploadReset, kDownloadGet, kDownloadRead };
constexpr GLenum kUnpackBuffer = 0x88EC;
constexpr GLenum kPackBuffer = 0x88EB;

using Faults = std::map<std::pair<GLenum, int>, int>;

const Faults& faults() {
    static const Faults read = [] {
        Faults result;
        std::ifstream file(std::filesystem::read_symlink("/proc/self/exe").parent_path() /
                           "faults");
        GLenum format = 0;
        int test = 0;
        int signal = 0;
        while (file >> format >> test >> signal) result[{format, test}] = signal;
        return result;
    }();
    return read;
}

GLuint boundTexture = 0;
GLuint unpackBuffer = 0;
GLuint packBuffer = 0;
GLenum testedFormat = 0;

void fail_in(Test test) {
    const auto fault = faults().find({testedFormat, test});
    if (fault == faults().end()) return;
    if (fault->second != 0) raise(fault->second);
    while (fault->second == 0) pause();
}

template <typename Function>
Function next(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

}  // namespace

#define EXPORTED __attribute__((visibility("default")))

extern "C" {

EXPORTED void glBindTexture(GLenum target, GLuint texture) {
    boundTexture = texture;
    static const auto real = next<void (*)(GLenum, GLuint)>("glBindTexture");
    real(target, texture);
}

EXPORTED void glBindBuffer(GLenum target, GLuint buffer) {
    if (target == kUnpackBuffer) unpackBuffer = buffer;
    if (target == kPackBuffer) packBuffer = buffer;
    static const auto real = next<void (*)(GLenum, GLuint)>("glBindBuffer");
    real(target, buffer);
}

EXPORTED void glTexImage2D(GLenum target, GLint level, GLint internalFormat, GLsizei width,
                           GLsizei height, GLint border, GLenum format, GLenum type,
                           const void* pixels) {
    if (boundTexture == 1) testedFormat = static_cast<GLenum>(internalFormat);
    if (boundTexture == 1 && unpackBuffer != 0) fail_in(kUploadReset);
    static const auto real =
        next<void (*)(GLenum, GLint, GLint, GLsizei, GLsizei, GLint, GLenum, GLenum, const void*)>(
            "glTexImage2D");
    real(target, level, internalFormat, width, height, border, format, type, pixels);
}

EXPORTED void glTexSubImage2D(GLenum target, GLint level, GLint x, GLint y, GLsizei width,
                              GLsizei height, GLenum format, GLenum type, const void* pixels) {
    fail_in(kUploadSet);
    static const auto real =
        next<void (*)(GLenum, GLint, GLint, GLint, GLsizei, GLsizei, GLenum, GLenum, const void*)>(
            "glTexSubImage2D");
    real(target, level, x, y, width, height, format, type, pixels);
}

EXPORTED void glGetTexImage(GLenum target, GLint level, GLenum format, GLenum type, void* pixels) {
    fail_in(kDownloadGet);
    static const auto real = next<void (*)(GLenum, GLint, GLenum, GLenum, void*)>("glGetTexImage");
    real(target, level, format, type, pixels);
}

EXPORTED void glReadPixels(GLint x, GLint y, GLsizei width, GLsizei height, GLenum format,
                           GLenum type, void* pixels) {
    if (packBuffer != 0) fail_in(kDownloadRead);
    static const auto real =
        next<void (*)(GLint, GLint, GLsizei, GLsizei, GLenum, GLenum, void*)>("glReadPixels");
    real(x, y, width, height, format, type, pixels);
}

}  // extern "C"
