#include "tool_folder.h"

#include <stdlib.h>

#include <stdexcept>

namespace texprobe::tests {

ToolFolder::ToolFolder(const std::filesystem::path& executable) {
    std::string name = std::filesystem::temp_directory_path() / "texprobe-test-XXXXXX";
    if (!mkdtemp(name.data())) throw std::runtime_error("cannot make a folder for a test");
    path_ = name;
    std::filesystem::copy_file(executable, tool());
}

ToolFolder::~ToolFolder() {
    // Not in a child that ends like its parent would.
    if (owner_ != getpid()) return;
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

Finished ToolFolder::run(const std::vector<std::string>& arguments,
                         const Environment& environment) const {
    return tests::run({tool(), arguments, environment});
}

void ToolFolder::script(const std::string& text) const {
    write_file(path_ / "script", text);
}

void ToolFolder::script(int run, const std::string& text) const {
    write_file(path_ / ("script." + std::to_string(run)), text);
}

std::string ToolFolder::write_program(const std::string& name, const std::string& body) const {
    const std::filesystem::path program = path_ / name;
    std::filesystem::create_directories(program.parent_path());
    write_file(program, "#!/bin/sh\n" + body + "\n");
    std::filesystem::permissions(program, std::filesystem::perms::owner_all);
    return program;
}

int ToolFolder::runs() const {
    return static_cast<int>(lines_of(read_file(path_ / "runs")).size());
}

std::vector<pid_t> ToolFolder::processes() const {
    std::vector<pid_t> found;
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        const auto program = std::filesystem::read_symlink(entry.path() / "exe", ignored);
        if (!ignored && program == tool()) found.push_back(std::stoi(entry.path().filename()));
    }
    return found;
}

RecordSets ToolFolder::records() const {
    return read_store(database());
}

void ToolFolder::execute(const std::string& sql) const {
    execute_on_store(database(), sql);
}

}  // namespace texprobe::tests
