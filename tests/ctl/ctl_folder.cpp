#include "ctl_folder.h"

#include <unistd.h>

#include <stdexcept>

namespace texprobe::tests {

CtlFolder::CtlFolder(const std::filesystem::path& ctl, const std::filesystem::path& tool)
    : ToolFolder(tool) {
    std::filesystem::copy_file(ctl, file("texprobectl"));
}

pid_t CtlFolder::start_ctl(const std::vector<std::string>& arguments,
                           const Environment& environment) const {
    return tests::start(
        {file("texprobectl"), arguments, environment, {}, file("ctl.out"), file("ctl.err")});
}

Finished CtlFolder::ctl(const std::vector<std::string>& arguments,
                        const Environment& environment) const {
    Finished finished = finish(start_ctl(arguments, environment));
    finished.out = read_file(file("ctl.out"));
    finished.err = read_file(file("ctl.err"));
    return finished;
}

void CtlFolder::await_record(const std::string& key) const {
    for (int i = 0; i < 6000; ++i) {
        try {
            for (const auto& set : records()) {
                if (set.second.count(key) != 0) return;
            }
        } catch (const std::runtime_error&) {
            // The file is there and its table is not, yet.
        }
        usleep(10000);
    }
    throw std::runtime_error("there is no record of " + key);
}

bool CtlFolder::await_error(const std::string& text) const {
    for (int i = 0; i < 6000; ++i) {
        if (read_file(file("ctl.err")).find(text) != std::string::npos) return true;
        usleep(10000);
    }
    return false;
}

void CtlFolder::prepare(const std::filesystem::path& scriptedTool, const std::string& text) const {
    std::filesystem::copy_file(scriptedTool, file("prepare"),
                               std::filesystem::copy_options::overwrite_existing);
    write_file(file("script"), text);
    const Finished finished = tests::run({file("prepare")});
    for (const char* left : {"script", "runs", "prepare"}) std::filesystem::remove(file(left));
    if (finished.status != 0)
        throw std::runtime_error("the records cannot be prepared: " + finished.err);
}

}  // namespace texprobe::tests
