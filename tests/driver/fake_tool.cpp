#include "fake_tool.h"

#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace texprobe::tests {

namespace {

namespace fs = std::filesystem;

// Far longer than any run takes, even under a sanitizer on a busy machine.
constexpr unsigned kSeconds = 120;

std::string contents(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
}

fs::path make_folder(const fs::path& parent) {
    std::string name = parent / "texprobe-fakes-XXXXXX";
    if (!mkdtemp(name.data())) throw std::runtime_error("cannot make the folder " + name);
    return name;
}

fs::path writable(const fs::path& folder) {
    return access(folder.c_str(), W_OK) == 0 ? folder : fs::temp_directory_path();
}

std::vector<char*> pointers(std::vector<std::string>& words) {
    std::vector<char*> result;
    result.reserve(words.size() + 1);
    for (std::string& word : words) result.push_back(word.data());
    result.push_back(nullptr);
    return result;
}

void redirect(int descriptor, const fs::path& file) {
    const int opened = open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND, 0600);
    dup2(opened, descriptor);
    close(opened);
}

std::string quoted(const std::string& word) {
    return " '" + word + "'";
}

Values read_values(std::istream& stream, std::string* heading) {
    Values values;
    for (std::string line; std::getline(stream, line);) {
        const std::size_t space = line.find(' ');
        if (line.compare(0, 3, "in ") == 0) {
            if (heading) *heading = line.substr(3);
            break;
        }
        values[line.substr(0, space)] = line.substr(space + 1);
    }
    return values;
}

}  // namespace

bool ToolRun::exited_with(int code) const {
    return WIFEXITED(status) && WEXITSTATUS(status) == code;
}

FakeTool::FakeTool(const std::string& script) : FakeTool(script, TOOL_ON_FAKES) {}

FakeTool::FakeTool(const std::string& script, const fs::path& executable)
    // The folder is beside the executable, so that the tool can be a hard link. The records are in
    // memory if possible, because thousands of runs synchronize before each test.
    : folder_(make_folder(writable(fs::read_symlink("/proc/self/exe").parent_path()))),
      records_(make_folder(writable("/dev/shm"))) {
    std::error_code failed;
    fs::create_hard_link(executable, path(), failed);
    if (failed) fs::copy_file(executable, path());
    set_script(script);
}

FakeTool::~FakeTool() {
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
    fs::remove_all(records_, ignored);
}

std::filesystem::path FakeTool::file(const char* suffix) const {
    return path() + suffix;
}

void FakeTool::set_script(const std::string& script) {
    for (const char* suffix : {".calls", ".died", ".stopped", ".observed"}) {
        fs::remove(file(suffix));
    }
    std::ofstream(file(".script")) << "records " << (records_ / "records").string() << "\n"
                                   << script;
}

void FakeTool::set_patience(unsigned looks) const {
    std::ofstream(folder_ / "patience") << looks;
}

void FakeTool::remove_records() {
    fs::remove_all(records_ / "records");
}

pid_t FakeTool::start(const std::vector<std::string>& arguments, const std::string& program) const {
    std::vector<std::string> words = {program.empty() ? path() : program};
    words.insert(words.end(), arguments.begin(), arguments.end());
    const std::vector<char*> argv = pointers(words);
    char variable[] = "TEXPROBE_TEST=inherited";
    char* environment[] = {variable, nullptr};
    const pid_t pid = fork();
    if (pid == 0) {
        setpgid(0, 0);
        const rlimit none = {0, 0};
        setrlimit(RLIMIT_CORE, &none);
        alarm(kSeconds);
        redirect(1, file(".out"));
        redirect(2, file(".err"));
        execve(path().c_str(), argv.data(), environment);
        _exit(127);
    }
    if (pid == -1) throw std::runtime_error("cannot start the tool");
    return pid;
}

ToolRun FakeTool::finish(pid_t pid) const {
    // The process group is killed before the process is reaped, while its ID cannot be reused.
    siginfo_t info;
    while (waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOWAIT) == -1) {
    }
    kill(-pid, SIGKILL);
    ToolRun run;
    run.pid = pid;
    waitpid(pid, &run.status, 0);
    run.hung = WIFSIGNALED(run.status) && WTERMSIG(run.status) == SIGALRM;
    run.out = contents(file(".out"));
    run.err = contents(file(".err"));
    return run;
}

ToolRun FakeTool::run(const std::vector<std::string>& arguments, const std::string& program) const {
    return finish(start(arguments, program));
}

ToolRun FakeTool::run_until(std::size_t lines, const std::vector<std::string>& arguments,
                            const std::string& program) const {
    const pid_t pid = start(arguments, program);
    siginfo_t info = {};
    while (lines_of(contents(file(".out"))).size() < lines) {
        waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOWAIT | WNOHANG);
        if (info.si_pid == pid) break;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    kill(pid, SIGKILL);
    return finish(pid);
}

std::vector<std::string> FakeTool::calls() const {
    return lines_of(contents(file(".calls")));
}

Values FakeTool::read_records(const std::string& arguments) const {
    const fs::path output = file(".records");
    const std::string command = quoted(RECORDS_PROGRAM) + quoted(records_ / "records") + arguments;
    if (std::system((command + " >" + quoted(output)).c_str()) != 0) {
        throw std::runtime_error("cannot read the records");
    }
    std::ifstream stream(output);
    return read_values(stream, nullptr);
}

Values FakeTool::records(const std::string& appID) const {
    return read_records(quoted(appID));
}

std::string FakeTool::record(const std::string& key, const std::string& appID) const {
    return read_records(quoted(appID) + quoted(key))[key];
}

void FakeTool::set_record(const std::string& key, const std::string& type, const std::string& value,
                          const std::string& appID) const {
    const std::string command = quoted(RECORDS_PROGRAM) + quoted(records_ / "records") +
                                quoted(appID) + quoted(key) + quoted(type) + quoted(value);
    if (std::system(command.c_str()) != 0) throw std::runtime_error("cannot write a record");
}

std::vector<std::pair<std::string, Values>> FakeTool::observations() const {
    std::ifstream stream(file(".observed"));
    std::vector<std::pair<std::string, Values>> result;
    std::string heading;
    read_values(stream, &heading);
    while (stream) {
        std::string next;
        const Values values = read_values(stream, &next);
        result.emplace_back(heading, values);
        heading = next;
    }
    return result;
}

bool FakeTool::has_stopped() const {
    return fs::exists(file(".stopped"));
}

bool FakeTool::has_died() const {
    return fs::exists(file(".died"));
}

std::vector<std::string> lines_of(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

}  // namespace texprobe::tests
