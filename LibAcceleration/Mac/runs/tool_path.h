// Where the library finds the tool.

#ifndef TEXPROBE_VERDICTS_TOOL_PATH_H
#define TEXPROBE_VERDICTS_TOOL_PATH_H

#include <dlfcn.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "runs/process_rights.h"
#include "runs/programs.h"

namespace texprobe {

namespace {

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

/// The requested one, unchecked; else the installed one, else the first in PATH. Empty: there is
/// none.
inline std::string find_tool(const char* requested) {
    return requested ? requested : find_tool({installed_tool()});
}

inline std::string describe_search() {
    return "texprobe was not found: not as " + installed_tool() +
           (is_environment_of_another() ? "; a set-user-ID process does not look in PATH"
                                        : ", and not in PATH");
}

}  // namespace

}  // namespace texprobe

#endif
