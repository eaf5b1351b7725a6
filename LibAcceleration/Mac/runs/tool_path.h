// Where the tool is.

#ifndef TEXPROBE_VERDICTS_TOOL_PATH_H
#define TEXPROBE_VERDICTS_TOOL_PATH_H

#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include "verdicts/process_rights.h"

namespace texprobe {

namespace {

inline bool is_program(const std::string& path) {
    struct stat file;
    return stat(path.c_str(), &file) == 0 && S_ISREG(file.st_mode) &&
           access(path.c_str(), X_OK) == 0;
}

#ifdef TEXPROBE_TOOL_FROM_LIBRARY
/// With a slash at its end; empty if it is not known.
inline std::string folder_of_library() {
    static const char ofThisLibrary = 0;
    Dl_info library;
    if (!dladdr(&ofThisLibrary, &library) || !library.dli_fname) return {};
    std::string folder = library.dli_fname;
    folder.erase(folder.rfind('/') + 1);
    if (folder.substr(0, 1) == "/") return folder;
    const std::unique_ptr<char, void (*)(void*)> path(realpath(("./" + folder).c_str(), nullptr),
                                                      std::free);
    return path ? std::string(path.get()) + "/" : "";
}

// When the library is loaded: its name may be relative to a working directory that the application
// leaves.
const std::string folderOfLibrary = folder_of_library();
#endif

/// The tool that was installed with this library: a shared one is beside it wherever both were
/// moved to; a static one only knows the prefix that it was configured for.
inline std::string installed_tool() {
#ifdef TEXPROBE_TOOL_FROM_LIBRARY
    return folderOfLibrary.empty() ? "" : folderOfLibrary + TEXPROBE_TOOL_FROM_LIBRARY;
#else
    return TEXPROBE_INSTALLED_TOOL;
#endif
}

inline std::string find_in_path(std::string_view path) {
    while (!path.empty()) {
        const std::size_t end = path.find(':');
        const std::string_view folder = path.substr(0, end);
        path.remove_prefix(end == std::string_view::npos ? path.size() : end + 1);
        // A relative one depends on the working directory, which is no place to find programs.
        if (folder.substr(0, 1) != "/") continue;
        std::string program = std::string(folder) + "/texprobe";
        if (is_program(program)) return program;
    }
    return {};
}

/// The requested one, unchecked; else the installed one, else the first in PATH. Empty: there is
/// none.
inline std::string find_tool(const char* requested) {
    if (requested) return requested;
    std::string installed = installed_tool();
    if (is_program(installed)) return installed;
    const char* path = is_environment_of_another() ? nullptr : std::getenv("PATH");
    return find_in_path(path ? path : "");
}

inline std::string describe_search() {
    return "texprobe was not found: not as " + installed_tool() +
           (is_environment_of_another() ? "; a set-user-ID process does not look in PATH"
                                                  : ", and not in PATH");
}

}  // namespace

}  // namespace texprobe

#endif
