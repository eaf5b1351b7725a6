// The sixteen formats in the order of the tool's pass, and the six capabilities in the order of
// their tests, with their names in the records, in documents and on screen.

#ifndef TEXPROBECTL_CELLS_H
#define TEXPROBECTL_CELLS_H

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace texprobe::ctl {

struct Format {
    const char* name;
    unsigned internalFormat;
};

inline constexpr std::size_t kFormatCount = 16;
inline constexpr std::array<Format, kFormatCount> kFormats = {{
    {"GL_RGB32F_ARB", 0x8815},
    {"GL_RGBA32F_ARB", 0x8814},
    {"GL_LUMINANCE32F_ARB", 0x8818},
    {"GL_LUMINANCE_ALPHA32F_ARB", 0x8819},
    {"GL_LUMINANCE8", 0x8040},
    {"GL_LUMINANCE8_ALPHA8", 0x8045},
    {"GL_RGB8", 0x8051},
    {"GL_RGBA8", 0x8058},
    {"GL_LUMINANCE16", 0x8042},
    {"GL_LUMINANCE16_ALPHA16", 0x8048},
    {"GL_RGB16", 0x8054},
    {"GL_RGBA16", 0x805B},
    {"GL_LUMINANCE16F_ARB", 0x881E},
    {"GL_LUMINANCE_ALPHA16F_ARB", 0x881F},
    {"GL_RGB16F_ARB", 0x881B},
    {"GL_RGBA16F_ARB", 0x881A},
}};

enum Capability : std::size_t {
    kSupported,
    kRenderable,
    kUploadSet,
    kUploadReset,
    kDownloadGet,
    kDownloadRead,
    kCapabilityCount
};

struct CapabilityNames {
    /// The part of a record's key after the format's name.
    const char* key;
    /// In the tool's result line.
    const char* printed;
    /// In documents.
    const char* member;
    /// In sentences.
    const char* words;
    /// Above a column.
    const char* column;
};

constexpr std::size_t kCellCount = kFormatCount * kCapabilityCount;

inline constexpr std::array<CapabilityNames, kCapabilityCount> kCapabilities = {{
    {"SUPPORTED", "supported", "supported", "create", "create"},
    {"RENDERABLE", "renderable", "renderable", "render", "render"},
    {"UPLOAD_SET", "upload SET", "upload_set", "upload set", "set"},
    {"UPLOAD_RESET", "upload RESET", "upload_reset", "upload reset", "reset"},
    {"DOWNLOAD_GET", "download GET", "download_get", "download get", "get"},
    {"DOWNLOAD_READ", "download READ", "download_read", "download read", "read"},
}};

/// The capability that must hold before this one is measured; none for the first.
inline std::optional<Capability> precondition(Capability capability) {
    switch (capability) {
        case kSupported:
            return std::nullopt;
        case kDownloadGet:
        case kDownloadRead:
            return kRenderable;
        default:
            return kSupported;
    }
}

/// One of the 96 verdicts of a record set.
struct Cell {
    std::size_t format = 0;
    Capability capability = kSupported;

    bool operator==(const Cell&) const = default;
};

inline std::string key_of(const Cell& cell) {
    return std::string(kFormats[cell.format].name) + '_' + kCapabilities[cell.capability].key;
}

/// Calls `use` with each cell, in the order of the tests.
template <class Use>
void for_each_cell(Use use) {
    for (std::size_t format = 0; format < kFormatCount; ++format) {
        for (std::size_t capability = 0; capability < kCapabilityCount; ++capability) {
            use(Cell{format, static_cast<Capability>(capability)});
        }
    }
}

}  // namespace texprobe::ctl

#endif
