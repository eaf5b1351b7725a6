// The formats and capabilities of the tool's table, in the order of the tests, with their names in
// documents and on screen.

#ifndef TEXPROBECTL_CELLS_H
#define TEXPROBECTL_CELLS_H

#include <records/formats.h>

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace texprobe::ctl {

struct CapabilityNames : CapabilityRow {
    /// In documents.
    const char* member;
    /// In sentences.
    const char* words;
    /// Above a column.
    const char* column;
};

inline constexpr std::array<CapabilityNames, kCapabilityCount> kCapabilities = {{
    {kCapabilityRows[kSupported], "supported", "create", "create"},
    {kCapabilityRows[kRenderable], "renderable", "render", "render"},
    {kCapabilityRows[kUploadSet], "upload_set", "upload set", "set"},
    {kCapabilityRows[kUploadReset], "upload_reset", "upload reset", "reset"},
    {kCapabilityRows[kDownloadGet], "download_get", "download get", "get"},
    {kCapabilityRows[kDownloadRead], "download_read", "download read", "read"},
}};

/// The capability that must hold before this one is measured; none for the first.
inline std::optional<Capability> precondition(Capability capability) {
    const Capability needed = kCapabilities[capability].precondition;
    return needed == capability ? std::nullopt : std::optional(needed);
}

/// The place of a name among others.
template <class Names>
std::optional<std::size_t> find_name(const Names& names, std::string_view wanted) {
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (wanted == names[i]) return i;
    }
    return std::nullopt;
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

/// A cell's place among the tests.
inline std::size_t number_of(const Cell& cell) {
    return cell.format * kCapabilityCount + cell.capability;
}
inline Cell cell_of(std::size_t number) {
    return {number / kCapabilityCount, static_cast<Capability>(number % kCapabilityCount)};
}

/// A value for each cell.
template <class Value>
struct CellTable : std::array<std::array<Value, kCapabilityCount>, kFormatCount> {
    using std::array<std::array<Value, kCapabilityCount>, kFormatCount>::operator[];
    Value& operator[](const Cell& cell) { return (*this)[cell.format][cell.capability]; }
    const Value& operator[](const Cell& cell) const {
        return (*this)[cell.format][cell.capability];
    }
};

/// Of one format.
inline std::array<Cell, kCapabilityCount> cells_of(std::size_t format) {
    return {{{format, kSupported},
             {format, kRenderable},
             {format, kUploadSet},
             {format, kUploadReset},
             {format, kDownloadGet},
             {format, kDownloadRead}}};
}

/// Calls `use` with each cell, in the order of the tests.
template <class Use>
void for_each_cell(Use use) {
    for (std::size_t format = 0; format < kFormatCount; ++format) {
        for (const Cell& cell : cells_of(format)) use(cell);
    }
}

}  // namespace texprobe::ctl

#endif
