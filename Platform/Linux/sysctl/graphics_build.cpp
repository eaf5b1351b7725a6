#include "sysctl/graphics_build.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <system_error>
#include <utility>

#include "fnv1a.h"
#include "sysctl/build_id.h"

namespace texprobe::platform {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view kWhiteSpace = " \t\r\n";

/// Cuts off white space and then `expected`; false when something else comes first.
bool skip(std::string_view* json, char expected) {
    json->remove_prefix(std::min(json->find_first_not_of(kWhiteSpace), json->size()));
    if (json->empty() || json->front() != expected) return false;
    json->remove_prefix(1);
    return true;
}

/// The text up to the closing quote; empty if that is missing. A character after a backslash is
/// taken literally: in file names only quotes, slashes and backslashes are escaped.
std::string read_string(std::string_view json) {
    std::string text;
    for (std::size_t i = 0; i < json.size(); ++i) {
        if (json[i] == '"') return text;
        if (json[i] == '\\' && ++i == json.size()) break;
        text += json[i];
    }
    return {};
}

std::vector<fs::path> list_json_files(const fs::path& directory) {
    std::vector<fs::path> files;
    std::error_code error;
    fs::directory_iterator entry(directory, error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
        std::error_code unknown;
        const bool isFile = entry->is_regular_file(unknown);
        if (isFile && entry->path().extension() == ".json") files.push_back(entry->path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

/// As much of the file as can be read.
std::string read_file(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

}  // namespace

std::string read_library_path(std::string_view json) {
    constexpr std::string_view kKey = "\"library_path\"";
    const std::size_t key = json.find(kKey);
    if (key == std::string_view::npos) return {};
    json.remove_prefix(key + kKey.size());
    return skip(&json, ':') && skip(&json, '"') ? read_string(json) : std::string();
}

std::vector<std::string> list_vendor_libraries(const Directories& vendorDirectories) {
    std::vector<std::string> libraries;
    for (const fs::path& directory : vendorDirectories) {
        for (const fs::path& file : list_json_files(directory)) {
            std::string library = read_library_path(read_file(file));
            if (!library.empty()) libraries.push_back(std::move(library));
        }
    }
    return libraries;
}

fs::path find_library(const std::string& name, const Directories& libraryDirectories) {
    for (const fs::path& directory : libraryDirectories) {
        // An absolute name replaces the directory.
        fs::path file = directory / name;
        std::error_code error;
        if (fs::exists(file, error)) return file;
    }
    return name;
}

std::string describe_graphics_build(std::string kernelRelease, const Directories& vendorDirectories,
                                    const Directories& libraryDirectories) {
    std::vector<std::string> libraries = list_vendor_libraries(vendorDirectories);
    if (libraries.empty()) libraries.push_back("libEGL.so.1");
    std::string identities;
    for (const std::string& library : libraries) {
        identities += library + '\n';
        identities += identify_library(find_library(library, libraryDirectories)) + '\n';
    }
    char suffix[16];
    std::snprintf(suffix, sizeof suffix, "-%08x", fnv1a(identities));
    // The build becomes part of identifiers that allow neither white space nor slashes.
    const auto isUnfit = [](char c) { return c == '/' || static_cast<unsigned char>(c) <= ' '; };
    std::replace_if(kernelRelease.begin(), kernelRelease.end(), isUnfit, '_');
    return kernelRelease + suffix;
}

}  // namespace texprobe::platform
