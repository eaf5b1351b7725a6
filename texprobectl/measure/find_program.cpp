#include "measure/find_program.h"

#include <runs/programs.h>

#include <filesystem>

#include "process/processes.h"

namespace texprobe::ctl {

std::string find_self(const std::string& name) {
    std::string path = own_program();
    // A shell may have given it any name.
    if (path.empty()) path = name.find('/') == std::string::npos ? find_in_path(name) : name;
    std::error_code error;
    const std::filesystem::path real = std::filesystem::canonical(path, error);
    return error ? std::string() : real.string();
}

std::string find_program(const std::string& self, const std::string& name) {
    const std::filesystem::path beside = std::filesystem::path(self).parent_path() / name;
    if (!self.empty() && is_program(beside)) return beside.string();
    const std::string installed = std::string(TEXPROBECTL_INSTALLED_PROGRAMS) + '/' + name;
    return is_program(installed) ? installed : find_in_path(name);
}

}  // namespace texprobe::ctl
