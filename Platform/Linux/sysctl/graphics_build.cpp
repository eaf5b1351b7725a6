#include "sysctl/graphics_build.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string_view>

#include "sysctl/build_id.h"

namespace texprobe::platform {

namespace {

/// FNV-1a.
void add_to_hash(std::uint32_t* hash, std::string_view text) {
    for (const char c : text) *hash = (*hash ^ static_cast<unsigned char>(c)) * 16777619u;
}

}  // namespace

std::string describe_graphics_build(std::string kernel_release,
                                    const Directories& vendor_directories,
                                    const Directories& library_directories) {
    std::vector<std::string> libraries = list_vendor_libraries(vendor_directories);
    if (libraries.empty()) libraries.push_back("libEGL.so.1");
    std::uint32_t hash = 2166136261u;
    for (const std::string& library : libraries) {
        add_to_hash(&hash, library + '\n');
        add_to_hash(&hash, identify_library(find_library(library, library_directories)) + '\n');
    }
    char suffix[16];
    std::snprintf(suffix, sizeof suffix, "-%08x", hash);
    // The build becomes part of names that hold neither.
    const auto is_unfit = [](char c) { return c == '/' || static_cast<unsigned char>(c) <= ' '; };
    std::replace_if(kernel_release.begin(), kernel_release.end(), is_unfit, '_');
    return kernel_release + suffix;
}

}  // namespace texprobe::platform
