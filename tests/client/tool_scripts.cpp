#include "tool_scripts.h"

#include <fstream>
#include <iterator>

namespace texprobe::tests {

std::string ToolScripts::write(const std::string& name, const std::string& body) const {
    const std::filesystem::path path = folder_.path() / name;
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path) << "#!/bin/sh\n" << body << "\n";
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    return path;
}

std::string ToolScripts::count_run() const {
    return "echo run >>" + quote(runs_file());
}

std::size_t ToolScripts::runs() const {
    std::ifstream stream(runs_file());
    return lines_of({std::istreambuf_iterator<char>(stream), {}}).size();
}

std::string ToolScripts::quote(const std::filesystem::path& path) {
    std::string word = "'";
    word += path;
    word += '\'';
    return word;
}

}  // namespace texprobe::tests
