// Where the library finds the tool and the survey's program.

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

/// The survey's program lies beside the tool.
inline std::string survey_beside(const std::string& tool) {
    const std::size_t slash = tool.rfind('/');
    return (slash == std::string::npos ? "" : tool.substr(0, slash + 1)) + "texprobe-survey";
}

/// As the tool: that of the requested tool, unchecked. Empty: there is none.
inline std::string find_survey(const char* requestedTool) {
    if (requestedTool) return survey_beside(requestedTool);
    const std::string installed = survey_beside(installed_tool());
    return is_program(installed) ? installed : find_in_path("texprobe-survey");
}

inline std::string describe_search(const std::string& name = "texprobe",
                                   const std::string& installed = installed_tool()) {
    return name + " was not found: not as " + installed +
           (is_environment_of_another() ? "; a set-user-ID process does not look in PATH"
                                        : ", and not in PATH");
}

}  // namespace

}  // namespace texprobe

#endif
