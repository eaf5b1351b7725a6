#include "fake_tool.h"

#include <signal.h>
#include <stdlib.h>
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

fs::path make_folder(const fs::path& parent) {
    std::string name = parent / "texprobe-fakes-XXXXXX";
    if (!mkdtemp(name.data())) throw std::runtime_error("cannot make the folder " + name);
    return name;
}

fs::path writable(const fs::path& folder) {
    return access(folder.c_str(), W_OK) == 0 ? folder : fs::temp_directory_path();
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

unsigned differences(const Values& actual, const Values& expected) {
    unsigned count = 0;
    for (const auto& [key, value] : expected) {
        const auto found = actual.find(key);
        count += found == actual.end() || found->second != value;
    }
    for (const auto& entry : actual) count += expected.count(entry.first) == 0;
    return count;
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
    return tests::start(
        {path(), arguments, {"TEXPROBE_TEST=inherited"}, program, file(".out"), file(".err")});
}

Finished FakeTool::finish(pid_t pid) const {
    Finished finished = tests::finish(pid);
    finished.out = read_file(file(".out"));
    finished.err = read_file(file(".err"));
    return finished;
}

Finished FakeTool::run(const std::vector<std::string>& arguments,
                       const std::string& program) const {
    return finish(start(arguments, program));
}

Finished FakeTool::run_until(std::size_t lines, const std::vector<std::string>& arguments,
                             const std::string& program) const {
    const pid_t pid = start(arguments, program);
    while (lines_of(read_file(file(".out"))).size() < lines && !has_ended(pid)) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    kill(pid, SIGKILL);
    return finish(pid);
}

std::vector<std::string> FakeTool::calls() const {
    return lines_of(read_file(file(".calls")));
}

Values FakeTool::read_records(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), records_ / "records");
    const Finished finished = tests::run({RECORDS_PROGRAM, arguments});
    if (finished.status != 0) throw std::runtime_error("records_program failed: " + finished.err);
    std::istringstream stream(finished.out);
    return read_values(stream, nullptr);
}

Values FakeTool::records(const std::string& appID) const {
    return read_records({appID});
}

std::string FakeTool::record(const std::string& key, const std::string& appID) const {
    return read_records({appID, key})[key];
}

void FakeTool::set_record(const std::string& key, const std::string& type, const std::string& value,
                          const std::string& appID) const {
    read_records({appID, key, type, value});
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

}  // namespace texprobe::tests
