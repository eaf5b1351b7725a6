// The sixteen formats, in the order in which applications see them.

#ifndef TEXPROBE_FORMATS_H
#define TEXPROBE_FORMATS_H

#include <CoreFoundation/CoreFoundation.h>
#include <OpenGL/gl.h>
#include <OpenGL/glext.h>

#include <cstddef>

namespace {

struct TextureFormat {
    GLenum internalFormat;
    const char* name;
    CFStringRef key;
};

constexpr std::size_t kFormatCount = 16;

inline const TextureFormat (&texture_formats())[kFormatCount] {
#define TEXPROBE_FORMAT(name) \
    { name, #name, CFSTR(#name) }
    static const TextureFormat formats[kFormatCount] = {
        TEXPROBE_FORMAT(GL_LUMINANCE8),
        TEXPROBE_FORMAT(GL_LUMINANCE8_ALPHA8),
        TEXPROBE_FORMAT(GL_RGB8),
        TEXPROBE_FORMAT(GL_RGBA8),
        TEXPROBE_FORMAT(GL_LUMINANCE16),
        TEXPROBE_FORMAT(GL_LUMINANCE16_ALPHA16),
        TEXPROBE_FORMAT(GL_RGB16),
        TEXPROBE_FORMAT(GL_RGBA16),
        TEXPROBE_FORMAT(GL_LUMINANCE16F_ARB),
        TEXPROBE_FORMAT(GL_LUMINANCE_ALPHA16F_ARB),
        TEXPROBE_FORMAT(GL_RGB16F_ARB),
        TEXPROBE_FORMAT(GL_RGBA16F_ARB),
        TEXPROBE_FORMAT(GL_LUMINANCE32F_ARB),
        TEXPROBE_FORMAT(GL_LUMINANCE_ALPHA32F_ARB),
        TEXPROBE_FORMAT(GL_RGB32F_ARB),
        TEXPROBE_FORMAT(GL_RGBA32F_ARB),
    };
#undef TEXPROBE_FORMAT
    return formats;
}

}  // namespace

#endif
