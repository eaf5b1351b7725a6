#include "measure/find_tool.h"

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <utility>

#include "process/processes.h"

namespace texprobe::ctl {

namespace {

std::string find_in_path(const std::string& name) {
    const char* path = std::getenv("PATH");
    std::istringstream folders(path ? path : "");
    for (std::string folder; std::getline(folders, folder, ':');) {
        // An empty entry means the working directory, which is no place to find programs.
        if (folder.empty()) continue;
        std::string program = std::move(folder);
        program.append("/").append(name);
        if (is_program(program)) return program;
    }
    return {};
}

}  // namespace

bool is_program(const std::string& path) {
    std::error_code ignored;
    return std::filesystem::is_regular_file(path, ignored) && access(path.c_str(), X_OK) == 0;
}

std::string find_self(const std::string& name) {
    std::string path = own_program();
    // A shell may have given it any name.
    if (path.empty()) path = name.find('/') == std::string::npos ? find_in_path(name) : name;
    std::error_code error;
    const std::filesystem::path real = std::filesystem::canonical(path, error);
    return error ? std::string() : real.string();
}

std::string find_tool(const std::string& self) {
    if (!self.empty()) {
        const auto beside = std::filesystem::path(self).parent_path() / "texprobe";
        if (is_program(beside)) return beside;
    }
    if (is_program(TEXPROBECTL_INSTALLED_TOOL)) return TEXPROBECTL_INSTALLED_TOOL;
    return find_in_path("texprobe");
}

}  // namespace texprobe::ctl
