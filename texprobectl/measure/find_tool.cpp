#include "measure/find_tool.h"

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

std::string find_tool(const std::string& self) {
    const auto beside = std::filesystem::path(self).parent_path() / "texprobe";
    return texprobe::find_tool({self.empty() ? "" : beside.string(), TEXPROBECTL_INSTALLED_TOOL});
}

}  // namespace texprobe::ctl
