#include "sysctl/graphics_build.h"

#include <algorithm>
#include <cstdio>

#include "fnv1a.h"
#include "sysctl/build_id.h"

namespace texprobe::platform {

std::string describe_graphics_build(std::string kernelRelease, const Directories& vendorDirectories,
                                    const Directories& libraryDirectories) {
    std::vector<std::string> libraries = list_vendor_libraries(vendorDirectories);
    if (libraries.empty()) libraries.push_back("libEGL.so.1");
    Fnv1a librariesHash;
    for (const std::string& library : libraries) {
        librariesHash.add(library + '\n');
        librariesHash.add(identify_library(find_library(library, libraryDirectories)) + '\n');
    }
    char suffix[16];
    std::snprintf(suffix, sizeof suffix, "-%08x", librariesHash.hash());
    // The build becomes part of identifiers that allow neither white space nor slashes.
    const auto isUnfit = [](char c) { return c == '/' || static_cast<unsigned char>(c) <= ' '; };
    std::replace_if(kernelRelease.begin(), kernelRelease.end(), isUnfit, '_');
    return kernelRelease + suffix;
}

}  // namespace texprobe::platform
