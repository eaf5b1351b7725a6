#include "CGL/sysfs.h"

#include <charconv>
#include <fstream>
#include <system_error>

namespace texprobe::platform {

namespace {

namespace fs = std::filesystem;

/// The file's first line, cut off at a length that no device attribute reaches.
std::string read_line(const fs::path& file) {
    constexpr std::streamsize kLongest = 256;
    char line[kLongest] = {};
    std::ifstream(file).getline(line, kLongest);
    return line;
}

}  // namespace

Gpu read_gpu(const fs::path& sysfs, const fs::path& node) {
    Gpu gpu;
    std::error_code error;
    gpu.directory = fs::canonical(sysfs / "class" / "drm" / node.filename() / "device", error);
    if (error) return {};
    gpu.vendor = read_line(gpu.directory / "vendor");
    gpu.device = read_line(gpu.directory / (gpu.vendor.empty() ? "modalias" : "device"));
    gpu.driver = fs::read_symlink(gpu.directory / "driver", error).filename();
    return gpu;
}

std::uint64_t read_video_memory(const Gpu& gpu) {
    std::uint64_t bytes = 0;
    if (!gpu.directory.empty()) {
        const std::string text = read_line(gpu.directory / "mem_info_vram_total");
        std::from_chars(text.data(), text.data() + text.size(), bytes);
    }
    return bytes;
}

}  // namespace texprobe::platform
