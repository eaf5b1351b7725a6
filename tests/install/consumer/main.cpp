// An application as users write it: C++11, a context of its own, and functions that happen to have
// a platform function's name. Usage: consumer TOOL

#include <TexProbe.h>

#include <cstdio>
#include <cstdlib>

#include "../compatibility_context.h"

// The library has its own functions of these names. It must neither conflict with these nor call
// them.
extern "C" {
void CFRelease(const void*) {
    std::abort();
}
int CFPreferencesAppSynchronize(const void*) {
    std::abort();
}
int CGGetActiveDisplayList(unsigned, unsigned*, unsigned*) {
    std::abort();
}
int CGLQueryRendererInfo(unsigned, void*, int*) {
    std::abort();
}
}

int main(int argc, char** argv) {
    if (argc != 2 || !open_compatibility_context()) return 2;
    const qor::TexProbe probe(argv[1]);
    const GLenum rgba8 = 0x8058;
    std::printf("GL_RGBA8: %s\n", probe.IsTextureFormatSupported(rgba8, true) &&
                                          probe.IsTextureFormatSettable(rgba8) &&
                                          probe.IsTextureFormatResettable(rgba8) &&
                                          probe.IsTextureFormatGettable(rgba8) &&
                                          probe.IsTextureFormatReadable(rgba8)
                                      ? "all"
                                      : "not all");
    return 0;
}
