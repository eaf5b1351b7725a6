// A driver that fails in chosen tests: linked into builds of the tool and of texprobectl, in front
// of the system's OpenGL. The file "faults" beside the executable says in which:
//   <internal format> <index of the capability> <signal, or 0 to hang, or a word>
// With a word of damaged_image.h, what came back from a transfer is damaged; with "smaller", a
// texture that holds no image got a smaller format. A hang leaves the file "hangs". A signal with
// "!" is only raised once, which removes the file: a test that is run again would pass.

#include <OpenGL/gl.h>
#include <dlfcn.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <utility>

#include "damaged_image.h"

namespace {

enum Test { kSupported, kRenderable, kUploadSet, kUploadReset, kDownloadGet, kDownloadRead };
constexpr GLenum kUnpackBuffer = 0x88EC;
constexpr GLenum kPackBuffer = 0x88EB;

using Faults = std::map<std::pair<GLenum, int>, std::string>;

std::filesystem::path faults_file() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path() / "faults";
}

const Faults& faults() {
    static const Faults read = [] {
        Faults result;
        std::ifstream file(faults_file());
        GLenum format = 0;
        int test = 0;
        std::string fault;
        while (file >> format >> test >> fault) result[{format, test}] = fault;
        return result;
    }();
    return read;
}

GLuint boundTexture = 0;
GLuint unpackBuffer = 0;
GLuint packBuffer = 0;
GLenum testedFormat = 0;

Test currentTest = kUploadSet;

bool is_damage(const std::string& fault) {
    return std::isdigit(fault[0]) == 0;
}

void fail_in(Test test) {
    currentTest = test;
    const auto found = faults().find({testedFormat, test});
    if (found == faults().end() || is_damage(found->second)) return;
    const int signal = std::stoi(found->second);
    if (found->second.back() == '!') unlink(faults_file().c_str());
    if (signal != 0) {
        raise(signal);
        return;
    }
    std::ofstream(faults_file().replace_filename("hangs")).flush();
    for (;;) pause();
}

/// Without damage to do, images are left alone: those of `time` are of any size.
void damage(GLenum format, GLenum type, void* pixels) {
    static const bool hasDamage = std::any_of(
        faults().begin(), faults().end(), [](const auto& each) { return is_damage(each.second); });
    if (!hasDamage) return;
    const auto found = faults().find({testedFormat, currentTest});
    const bool isDamaged = found != faults().end() && is_damage(found->second);
    texprobe::tests::damage_image(isDamaged ? found->second : "", format, type,
                                  static_cast<unsigned char*>(pixels));
}

/// The system's own function of that name.
template <typename Function>
Function* next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

/// What a call has written into the pack buffer, or into client memory.
void damage_fetched(GLenum format, GLenum type, void* pixels) {
    if (packBuffer == 0) {
        damage(format, type, pixels);
        return;
    }
    constexpr GLenum kReadWrite = 0x88BA;
    static const auto map = next<void*(GLenum, GLenum)>("glMapBuffer");
    static const auto unmap = next<GLboolean(GLenum)>("glUnmapBuffer");
    damage(format, type, map(kPackBuffer, kReadWrite));
    unmap(kPackBuffer);
}

}  // namespace

#define EXPORTED __attribute__((visibility("default")))

extern "C" {

EXPORTED void glBindTexture(GLenum target, GLuint texture) {
    boundTexture = texture;
    static const auto real = next<decltype(glBindTexture)>("glBindTexture");
    real(target, texture);
}

EXPORTED void glBindBuffer(GLenum target, GLuint buffer) {
    if (target == kUnpackBuffer) unpackBuffer = buffer;
    if (target == kPackBuffer) packBuffer = buffer;
    static const auto real = next<decltype(glBindBuffer)>("glBindBuffer");
    real(target, buffer);
}

EXPORTED void glTexImage2D(GLenum target, GLint level, GLint internalFormat, GLsizei width,
                           GLsizei height, GLint border, GLenum format, GLenum type,
                           const void* pixels) {
    // Only the first two tests define their texture with this type.
    const bool isDefined = type == GL_BYTE && internalFormat != GL_RGBA;
    if (boundTexture == 1 || isDefined) testedFormat = static_cast<GLenum>(internalFormat);
    if (isDefined) fail_in(boundTexture == 1 ? kSupported : kRenderable);
    if (boundTexture == 1 && unpackBuffer != 0) fail_in(kUploadReset);
    static const auto real = next<decltype(glTexImage2D)>("glTexImage2D");
    real(target, level, internalFormat, width, height, border, format, type, pixels);
}

EXPORTED void glGetTexLevelParameteriv(GLenum target, GLint level, GLenum name, GLint* value) {
    static const auto real = next<decltype(glGetTexLevelParameteriv)>("glGetTexLevelParameteriv");
    real(target, level, name, value);
    const auto found = faults().find({testedFormat, boundTexture == 1 ? kSupported : kRenderable});
    if (found != faults().end() && found->second == "smaller") *value = GL_RGB5;
}

EXPORTED void glTexSubImage2D(GLenum target, GLint level, GLint x, GLint y, GLsizei width,
                              GLsizei height, GLenum format, GLenum type, const void* pixels) {
    fail_in(kUploadSet);
    static const auto real = next<decltype(glTexSubImage2D)>("glTexSubImage2D");
    real(target, level, x, y, width, height, format, type, pixels);
}

EXPORTED void glGetTexImage(GLenum target, GLint level, GLenum format, GLenum type, void* pixels) {
    fail_in(kDownloadGet);
    static const auto real = next<decltype(glGetTexImage)>("glGetTexImage");
    real(target, level, format, type, pixels);
    damage_fetched(format, type, pixels);
}

EXPORTED void glReadPixels(GLint x, GLint y, GLsizei width, GLsizei height, GLenum format,
                           GLenum type, void* pixels) {
    if (packBuffer != 0) fail_in(kDownloadRead);
    static const auto real = next<decltype(glReadPixels)>("glReadPixels");
    real(x, y, width, height, format, type, pixels);
    damage_fetched(format, type, pixels);
}

}  // extern "C"
