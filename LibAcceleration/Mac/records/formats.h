// The one table of the sixteen formats and the six capabilities. It needs no header of the
// platform's, so that code that only names them can include it. The tests have a copy of their own.

#ifndef TEXPROBE_FORMATS_H
#define TEXPROBE_FORMATS_H

#include <array>
#include <cstddef>

// Rows for a macro, because a CFSTR takes only a literal.

// In the order of the tests, which matters: all formats share a context, so each inherits the state
// that the one before it left. A new one goes to the end.
//
// The internal format, and the layout in which its pixels travel between client and renderer:
// integer colours blue first, 8-bit RGBA as one packed word. The verdicts are about exactly these
// layouts.
#define TEXPROBE_FORMATS(ROW)                                                                   \
    ROW("GL_RGB32F_ARB", 0x8815, PixelOrder::kRGB, PixelType::kFloat, 12)                       \
    ROW("GL_RGBA32F_ARB", 0x8814, PixelOrder::kRGBA, PixelType::kFloat, 16)                     \
    ROW("GL_LUMINANCE32F_ARB", 0x8818, PixelOrder::kLuminance, PixelType::kFloat, 4)            \
    ROW("GL_LUMINANCE_ALPHA32F_ARB", 0x8819, PixelOrder::kLuminanceAlpha, PixelType::kFloat, 8) \
    ROW("GL_LUMINANCE8", 0x8040, PixelOrder::kLuminance, PixelType::kByte, 1)                   \
    ROW("GL_LUMINANCE8_ALPHA8", 0x8045, PixelOrder::kLuminanceAlpha, PixelType::kByte, 2)       \
    ROW("GL_RGB8", 0x8051, PixelOrder::kBGR, PixelType::kByte, 3)                               \
    ROW("GL_RGBA8", 0x8058, PixelOrder::kBGRA, PixelType::kPackedBytes, 4)                      \
    ROW("GL_LUMINANCE16", 0x8042, PixelOrder::kLuminance, PixelType::kShort, 2)                 \
    ROW("GL_LUMINANCE16_ALPHA16", 0x8048, PixelOrder::kLuminanceAlpha, PixelType::kShort, 4)    \
    ROW("GL_RGB16", 0x8054, PixelOrder::kBGR, PixelType::kShort, 6)                             \
    ROW("GL_RGBA16", 0x805B, PixelOrder::kBGRA, PixelType::kShort, 8)                           \
    ROW("GL_LUMINANCE16F_ARB", 0x881E, PixelOrder::kLuminance, PixelType::kHalf, 2)             \
    ROW("GL_LUMINANCE_ALPHA16F_ARB", 0x881F, PixelOrder::kLuminanceAlpha, PixelType::kHalf, 4)  \
    ROW("GL_RGB16F_ARB", 0x881B, PixelOrder::kRGB, PixelType::kHalf, 6)                         \
    ROW("GL_RGBA16F_ARB", 0x881A, PixelOrder::kRGBA, PixelType::kHalf, 8)

// In the order of the tests, and of the bits that applications see: the members of CapabilityRow.
#define TEXPROBE_CAPABILITIES(ROW)                   \
    ROW("SUPPORTED", "supported", kSupported)        \
    ROW("RENDERABLE", "renderable", kSupported)      \
    ROW("UPLOAD_SET", "upload SET", kSupported)      \
    ROW("UPLOAD_RESET", "upload RESET", kSupported)  \
    ROW("DOWNLOAD_GET", "download GET", kRenderable) \
    ROW("DOWNLOAD_READ", "download READ", kRenderable)

namespace texprobe {

// OpenGL's numbers.
enum class PixelOrder : unsigned {
    kRGB = 0x1907,
    kRGBA = 0x1908,
    kLuminance = 0x1909,
    kLuminanceAlpha = 0x190A,
    kBGR = 0x80E0,
    kBGRA = 0x80E1,
};
enum class PixelType : unsigned {
    kByte = 0x1401,
    kShort = 0x1403,
    kFloat = 0x1406,
    kHalf = 0x140B,
    kPackedBytes = 0x8367,
};

struct Format {
    const char* name;
    unsigned internalFormat;
    PixelOrder order;
    PixelType type;
    unsigned bytesPerPixel;
};

constexpr std::size_t kFormatCount = 16;

#define TEXPROBE_ROW(...) {__VA_ARGS__},
inline constexpr std::array<Format, kFormatCount> kFormats = {{TEXPROBE_FORMATS(TEXPROBE_ROW)}};
#undef TEXPROBE_ROW

/// The order in which applications see them: the 32-bit floats come last, and luminance first.
inline constexpr std::array<std::size_t, kFormatCount> kOrderOfApplications = {
    4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 2, 3, 0, 1};

enum Capability : std::size_t {
    kSupported,
    kRenderable,
    kUploadSet,
    kUploadReset,
    kDownloadGet,
    kDownloadRead,
    kCapabilityCount
};

struct CapabilityRow {
    /// The end of a record's key, after the format's name.
    const char* key;
    /// In the tool's result line.
    const char* printed;
    /// The capability without which this one is not tested; itself if there is none.
    Capability precondition;
};

#define TEXPROBE_ROW(...) {__VA_ARGS__},
inline constexpr std::array<CapabilityRow, kCapabilityCount> kCapabilityRows = {
    {TEXPROBE_CAPABILITIES(TEXPROBE_ROW)}};
#undef TEXPROBE_ROW

/// How many verdicts there are on one renderer.
constexpr std::size_t kCellCount = kFormatCount * kCapabilityCount;

}  // namespace texprobe

#endif
