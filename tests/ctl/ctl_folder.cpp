#include "ctl_folder.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace texprobe::tests {

namespace {

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> result;
    result.reserve(texts.size() + 1);
    for (std::string& text : texts) result.push_back(text.data());
    result.push_back(nullptr);
    return result;
}

pid_t start(const std::filesystem::path& program, std::vector<std::string> words,
            std::vector<std::string> variables, const std::filesystem::path& out,
            const std::filesystem::path& err) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    constexpr int kWrite = O_WRONLY | O_CREAT | O_TRUNC;
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), kWrite, 0600);
    posix_spawn_file_actions_addopen(&actions, 2, err.c_str(), kWrite, 0600);
    pid_t process = -1;
    const int error = posix_spawn(&process, program.c_str(), &actions, nullptr,
                                  pointers(words).data(), pointers(variables).data());
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) throw std::runtime_error("cannot start " + program.string());
    return process;
}

}  // namespace

CtlFolder::CtlFolder(const std::filesystem::path& ctl, const std::filesystem::path& tool)
    : ToolFolder(tool) {
    std::filesystem::copy_file(ctl, file("texprobectl"));
}

pid_t CtlFolder::start_ctl(const std::vector<std::string>& arguments,
                           const Environment& environment) const {
    std::vector<std::string> words = {file("texprobectl")};
    words.insert(words.end(), arguments.begin(), arguments.end());
    return start(file("texprobectl"), words, environment, file("ctl.out"), file("ctl.err"));
}

Finished CtlFolder::ctl(const std::vector<std::string>& arguments,
                        const Environment& environment) const {
    const pid_t process = start_ctl(arguments, environment);
    Finished finished;
    waitpid(process, &finished.status, 0);
    finished.out = read_file(file("ctl.out"));
    finished.err = read_file(file("ctl.err"));
    return finished;
}

void CtlFolder::script(const std::string& text) const {
    write_file(file("script"), text);
}

void CtlFolder::script(int run, const std::string& text) const {
    write_file(file("script." + std::to_string(run)), text);
}

int CtlFolder::runs() const {
    int runs = 0;
    std::ifstream(file("runs")) >> runs;
    return runs;
}

void CtlFolder::prepare(const std::filesystem::path& scriptedTool, const std::string& text) const {
    std::filesystem::copy_file(scriptedTool, file("prepare"),
                               std::filesystem::copy_options::overwrite_existing);
    write_file(file("script"), text);
    const pid_t process = start(file("prepare"), {"prepare"}, {}, "/dev/null", "/dev/null");
    int status = 0;
    waitpid(process, &status, 0);
    for (const char* left : {"script", "runs", "prepare"}) std::filesystem::remove(file(left));
    if (status != 0) throw std::runtime_error("the records could not be prepared");
}

std::string read_file(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
}

void write_file(const std::filesystem::path& file, const std::string& text) {
    std::ofstream(file, std::ios::binary) << text;
}

}  // namespace texprobe::tests
