// Where programs are, the tool among them.

#ifndef TEXPROBE_PROGRAMS_H
#define TEXPROBE_PROGRAMS_H

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <initializer_list>
#include <string>
#include <string_view>

#include "runs/process_rights.h"

namespace texprobe {

namespace {

/// Can this file be started?
inline bool is_program(const std::string& path) {
    struct stat file;
    return stat(path.c_str(), &file) == 0 && S_ISREG(file.st_mode) &&
           access(path.c_str(), X_OK) == 0;
}

/// The first in PATH; empty without one, and in a process whose environment another has chosen.
inline std::string find_in_path(const std::string& name) {
    const char* variable = is_environment_of_another() ? nullptr : std::getenv("PATH");
    std::string_view path = variable ? variable : "";
    while (!path.empty()) {
        const std::size_t end = path.find(':');
        const std::string_view folder = path.substr(0, end);
        path.remove_prefix(end == std::string_view::npos ? path.size() : end + 1);
        // A relative one depends on the working directory, which is no place to find programs.
        if (folder.substr(0, 1) != "/") continue;
        std::string program = std::string(folder) + '/' + name;
        if (is_program(program)) return program;
    }
    return {};
}

/// The tool: in the first of these places where there is one, else the first in PATH. Empty: there
/// is none.
inline std::string find_tool(std::initializer_list<std::string> places) {
    for (const std::string& place : places) {
        if (is_program(place)) return place;
    }
    return find_in_path("texprobe");
}

}  // namespace

}  // namespace texprobe

#endif
