#include "sysctl/build_id.h"

#include <elf.h>
#include <fcntl.h>
#include <link.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <system_error>

namespace texprobe::platform {

namespace {

using namespace std::string_view_literals;

constexpr std::size_t kLongestNotes = 65536;

template <typename Header>
bool read_header(const ReadAt& readAt, std::uint64_t offset, Header* header) {
    const std::string bytes = readAt(offset, sizeof *header);
    if (bytes.size() != sizeof *header) return false;
    std::memcpy(header, bytes.data(), sizeof *header);
    return true;
}

/// Removes and returns the first `size` bytes of `notes`, with padding to the notes' alignment.
std::string_view take(std::string_view* notes, std::size_t size) {
    const std::string_view part = notes->substr(0, size);
    notes->remove_prefix(std::min(notes->size(), (size + 3) & ~std::size_t{3}));
    return part;
}

std::string find_build_id(std::string_view notes) {
    ElfW(Nhdr) note;
    while (notes.size() >= sizeof note) {
        std::memcpy(&note, notes.data(), sizeof note);
        notes.remove_prefix(sizeof note);
        const std::string_view name = take(&notes, note.n_namesz);
        const std::string_view id = take(&notes, note.n_descsz);
        if (note.n_type == NT_GNU_BUILD_ID && name == "GNU\0"sv) {
            return std::string(id);
        }
    }
    return {};
}

}  // namespace

std::string read_build_id(const ReadAt& readAt) {
    constexpr unsigned char kClass = sizeof(void*) == 8 ? ELFCLASS64 : ELFCLASS32;
    ElfW(Ehdr) file;
    if (!read_header(readAt, 0, &file) || std::memcmp(file.e_ident, ELFMAG, SELFMAG) != 0 ||
        file.e_ident[EI_CLASS] != kClass || file.e_phentsize != sizeof(ElfW(Phdr))) {
        return {};
    }
    for (std::uint64_t i = 0; i < file.e_phnum; ++i) {
        ElfW(Phdr) segment;
        if (!read_header(readAt, file.e_phoff + i * sizeof segment, &segment)) return {};
        if (segment.p_type != PT_NOTE || segment.p_filesz > kLongestNotes) continue;
        const std::string notes = readAt(segment.p_offset, segment.p_filesz);
        if (std::string id = find_build_id(notes); !id.empty()) return id;
    }
    return {};
}

std::string identify_library(const std::filesystem::path& library) {
    std::error_code error;
    // Opening anything else could block.
    if (!std::filesystem::is_regular_file(library, error)) return {};
    std::string identity;
    if (const int file = open(library.c_str(), O_RDONLY | O_CLOEXEC); file >= 0) {
        identity = read_build_id([file](std::uint64_t offset, std::size_t size) {
            std::string bytes(size, '\0');
            const ssize_t count = pread(file, bytes.data(), size, static_cast<off_t>(offset));
            bytes.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
            return bytes;
        });
        close(file);
    }
    if (identity.empty()) {
        const auto time = std::filesystem::last_write_time(library, error);
        // libc++ counts in 128 bits, which std::to_string does not accept.
        const auto ticks = static_cast<std::int64_t>(time.time_since_epoch().count());
        identity = std::to_string(std::filesystem::file_size(library, error)) + ' ' +
                   std::to_string(ticks);
    }
    return identity;
}

}  // namespace texprobe::platform
