// The readers of foreign files: GLVND's vendor files, ELF libraries, sysfs attributes.

#include <elf.h>
#include <link.h>
#include <stdlib.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "CGL/devices.h"
#include "CGL/sysfs.h"
#include "CoreGraphics/displays.h"
#include "sysctl/build_id.h"
#include "sysctl/graphics_build.h"

namespace {

namespace fs = std::filesystem;
using namespace texprobe::platform;

void require(bool condition, const char* what) {
    if (condition) return;
    std::fprintf(stderr, "%s\n", what);
    std::abort();
}

void read_vendor_file(const std::string& text) {
    require(read_library_path(text).size() <= text.size(), "a longer path than the file");
    const std::string library = read_library_path("{\"library_path\" : \"" + text);
    require(library.size() <= text.size(), "a longer path than the value");
}

/// The input as a whole file, and with a header that leads the reader to its segments.
void read_elf(std::string text) {
    const auto readAt = [&text](std::uint64_t offset, std::size_t size) {
        return offset < text.size() ? text.substr(offset, size) : std::string();
    };
    require(read_build_id(readAt).size() <= text.size(), "a longer build ID than the file");

    ElfW(Ehdr) header;
    if (text.size() < sizeof header) return;
    std::memcpy(&header, text.data(), sizeof header);
    std::memcpy(header.e_ident, ELFMAG, SELFMAG);
    header.e_ident[EI_CLASS] = sizeof(void*) == 8 ? ELFCLASS64 : ELFCLASS32;
    header.e_phoff %= text.size();
    header.e_phentsize = sizeof(ElfW(Phdr));
    header.e_phnum %= 8;
    std::memcpy(text.data(), &header, sizeof header);
    ElfW(Phdr) segment = {};
    segment.p_type = PT_NOTE;
    segment.p_filesz = text.size() / 2;
    if (header.e_phoff + sizeof segment <= text.size()) {
        std::memcpy(text.data() + header.e_phoff, &segment, sizeof segment);
    }
    require(read_build_id(readAt).size() <= text.size(), "a longer build ID than the file");
}

/// Creates a new file: overwriting one makes some file systems write it to disk.
void replace(const fs::path& file, const std::string& text) {
    fs::remove(file);
    std::ofstream(file) << text;
}

/// A machine of one GPU and one connector, all of whose attributes are the input.
class FuzzedMachine {
public:
    FuzzedMachine() {
        std::string name = fs::temp_directory_path() / "texprobe-fuzz-XXXXXX";
        if (!mkdtemp(name.data())) std::abort();
        root_ = name;
        fs::create_directories(gpu());
        fs::create_directories(connector());
    }
    ~FuzzedMachine() { fs::remove_all(root_); }
    FuzzedMachine(const FuzzedMachine&) = delete;
    FuzzedMachine& operator=(const FuzzedMachine&) = delete;

    void read(const std::string& text) const {
        for (const char* name : {"vendor", "device", "modalias", "mem_info_vram_total"}) {
            replace(gpu() / name, text);
        }
        for (const char* name : {"status", "enabled"}) replace(connector() / name, text);

        const Gpu read = read_gpu(root_, "/dev/dri/renderD128");
        require(read.directory == fs::canonical(gpu()), "the GPU was not found");
        require(read.vendor.size() < 256 && read.device.size() < 256, "an endless attribute");
        require(renderer_id(read.vendor, read.device) != 0, "a renderer ID of 0");
        read_video_memory(read);
        std::uint32_t count = 0;
        require(get_active_displays(root_, 1, nullptr, &count) == kCGErrorSuccess && count == 1,
                "not one display");
    }

private:
    fs::path gpu() const { return root_ / "class/drm/renderD128/device"; }
    fs::path connector() const { return root_ / "class/drm/card0-DP-1"; }

    fs::path root_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const FuzzedMachine machine;
    const std::string text(reinterpret_cast<const char*>(data), size);
    read_vendor_file(text);
    read_elf(text);
    // Files are slow, so only one input in sixteen is used.
    if (size > 0 && data[0] % 16 == 0) machine.read(text);
    return 0;
}
