#include "sysctl/graphics_build.h"

#include <algorithm>
#include <cstdio>

#include "fnv1a.h"
#include "sysctl/build_id.h"

namespace texprobe::platform {

std::string describe_graphics_build(std::string kernel_release,
                                    const Directories& vendor_directories,
                                    const Directories& library_directories) {
    std::vector<std::string> libraries = list_vendor_libraries(vendor_directories);
    if (libraries.empty()) libraries.push_back("libEGL.so.1");
    Fnv1a libraries_hash;
    for (const std::string& library : libraries) {
        libraries_hash.add(library + '\n');
        libraries_hash.add(identify_library(find_library(library, library_directories)) + '\n');
    }
    char suffix[16];
    std::snprintf(suffix, sizeof suffix, "-%08x", libraries_hash.hash());
    // The build becomes part of identifiers that allow neither white space nor slashes.
    const auto is_unfit = [](char c) { return c == '/' || static_cast<unsigned char>(c) <= ' '; };
    std::replace_if(kernel_release.begin(), kernel_release.end(), is_unfit, '_');
    return kernel_release + suffix;
}

}  // namespace texprobe::platform
