// The sixteen formats in the order of the pass, and the six capabilities in the order of the tests.

#ifndef TEXPROBE_TESTS_FORMATS_H
#define TEXPROBE_TESTS_FORMATS_H

#include <array>

namespace texprobe::tests {

/// An internal format's published value and its transfer: the names and values of the transfer
/// format and type, and the bytes per pixel.
struct Format {
    const char* name;
    unsigned internalFormat;
    const char* formatName;
    unsigned format;
    const char* typeName;
    unsigned type;
    unsigned bytesPerPixel;
};

inline constexpr std::array<Format, 16> kFormats = {{
    {"GL_RGB32F_ARB", 0x8815, "GL_RGB", 0x1907, "GL_FLOAT", 0x1406, 12},
    {"GL_RGBA32F_ARB", 0x8814, "GL_RGBA", 0x1908, "GL_FLOAT", 0x1406, 16},
    {"GL_LUMINANCE32F_ARB", 0x8818, "GL_LUMINANCE", 0x1909, "GL_FLOAT", 0x1406, 4},
    {"GL_LUMINANCE_ALPHA32F_ARB", 0x8819, "GL_LUMINANCE_ALPHA", 0x190A, "GL_FLOAT", 0x1406, 8},
    {"GL_LUMINANCE8", 0x8040, "GL_LUMINANCE", 0x1909, "GL_UNSIGNED_BYTE", 0x1401, 1},
    {"GL_LUMINANCE8_ALPHA8", 0x8045, "GL_LUMINANCE_ALPHA", 0x190A, "GL_UNSIGNED_BYTE", 0x1401, 2},
    {"GL_RGB8", 0x8051, "GL_BGR", 0x80E0, "GL_UNSIGNED_BYTE", 0x1401, 3},
    {"GL_RGBA8", 0x8058, "GL_BGRA", 0x80E1, "GL_UNSIGNED_INT_8_8_8_8_REV", 0x8367, 4},
    {"GL_LUMINANCE16", 0x8042, "GL_LUMINANCE", 0x1909, "GL_UNSIGNED_SHORT", 0x1403, 2},
    {"GL_LUMINANCE16_ALPHA16", 0x8048, "GL_LUMINANCE_ALPHA", 0x190A, "GL_UNSIGNED_SHORT", 0x1403,
     4},
    {"GL_RGB16", 0x8054, "GL_BGR", 0x80E0, "GL_UNSIGNED_SHORT", 0x1403, 6},
    {"GL_RGBA16", 0x805B, "GL_BGRA", 0x80E1, "GL_UNSIGNED_SHORT", 0x1403, 8},
    {"GL_LUMINANCE16F_ARB", 0x881E, "GL_LUMINANCE", 0x1909, "GL_HALF_FLOAT_ARB", 0x140B, 2},
    {"GL_LUMINANCE_ALPHA16F_ARB", 0x881F, "GL_LUMINANCE_ALPHA", 0x190A, "GL_HALF_FLOAT_ARB", 0x140B,
     4},
    {"GL_RGB16F_ARB", 0x881B, "GL_RGB", 0x1907, "GL_HALF_FLOAT_ARB", 0x140B, 6},
    {"GL_RGBA16F_ARB", 0x881A, "GL_RGBA", 0x1908, "GL_HALF_FLOAT_ARB", 0x140B, 8},
}};

/// The names in the order in which applications are told of them.
inline constexpr std::array<const char*, 16> kNamesForApplications = {
    "GL_LUMINANCE8",       "GL_LUMINANCE8_ALPHA8",      "GL_RGB8",       "GL_RGBA8",
    "GL_LUMINANCE16",      "GL_LUMINANCE16_ALPHA16",    "GL_RGB16",      "GL_RGBA16",
    "GL_LUMINANCE16F_ARB", "GL_LUMINANCE_ALPHA16F_ARB", "GL_RGB16F_ARB", "GL_RGBA16F_ARB",
    "GL_LUMINANCE32F_ARB", "GL_LUMINANCE_ALPHA32F_ARB", "GL_RGB32F_ARB", "GL_RGBA32F_ARB"};

inline constexpr std::array<const char*, 6> kCapabilities = {
    "SUPPORTED", "RENDERABLE", "UPLOAD_SET", "UPLOAD_RESET", "DOWNLOAD_GET", "DOWNLOAD_READ"};

}  // namespace texprobe::tests

#endif
