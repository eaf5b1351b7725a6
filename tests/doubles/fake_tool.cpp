#include "fake_tool.h"

#include <signal.h>
#include <stdlib.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <stdexcept>
#include <thread>

namespace texprobe::tests {

namespace {

namespace fs = std::filesystem;

/// Beside the test, so that the tool can be a hard link, if that is possible.
fs::path make_folder() {
    const fs::path beside = fs::read_symlink("/proc/self/exe").parent_path();
    const bool isWritable = access(beside.c_str(), W_OK) == 0;
    std::string name = (isWritable ? beside : fs::temp_directory_path()) / "texprobe-fakes-XXXXXX";
    if (!mkdtemp(name.data())) throw std::runtime_error("cannot make the folder " + name);
    return name;
}

/// A record of the store, such as "double 0.21".
std::string value_of(const std::string& record) {
    const std::size_t space = record.find(' ');
    const std::string text = record.substr(space + 1);
    if (record[0] == 'b') return text == "1" ? "true" : "false";
    if (record[0] == 's') return '"' + text + '"';
    char number[32];
    std::snprintf(number, sizeof number, "%.17g", std::stod(text));
    return number;
}

Values values_of(const Records& records) {
    Values values;
    for (const auto& [key, record] : records) values[key] = value_of(record);
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

FakeTool::FakeTool(const std::string& script, const fs::path& executable) : folder_(make_folder()) {
    std::error_code failed;
    fs::create_hard_link(executable, path(), failed);
    if (failed) fs::copy_file(executable, path());
    set_script(script);
}

FakeTool::~FakeTool() {
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
}

std::filesystem::path FakeTool::file(const char* suffix) const {
    return path() + suffix;
}

void FakeTool::set_script(const std::string& script) {
    for (const char* suffix : {".calls", ".died", ".stopped", ".observed"}) {
        fs::remove(file(suffix));
    }
    std::ofstream(file(".script")) << "records " << records_folder().string() << "\n" << script;
}

void FakeTool::set_patience(unsigned looks) const {
    std::ofstream(folder_ / "patience") << looks;
}

void FakeTool::remove_records() {
    fs::remove_all(records_folder());
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

Values FakeTool::records(const std::string& appID) const {
    return values_of(read_store(database())[appID]);
}

std::string FakeTool::record(const std::string& key, const std::string& appID) const {
    return records(appID)[key];
}

void FakeTool::set_record(const std::string& key, const std::string& type, const std::string& value,
                          const std::string& appID) const {
    const std::string literal = type == "string" ? "'" + value + "'" : value;
    execute_on_store(database(), "REPLACE INTO records VALUES ('" + appID + "', '" + key + "', '" +
                                     type + "', " + literal + ")");
}

void FakeTool::remove_record(const std::string& key) const {
    execute_on_store(database(), "DELETE FROM records WHERE key = '" + key + "'");
}

std::vector<std::pair<std::string, Values>> FakeTool::observations() const {
    std::vector<std::pair<std::string, Values>> result;
    for (const std::string& line : lines_of(read_file(file(".observed")))) {
        const std::size_t space = line.find(' ');
        const std::string word = line.substr(0, space);
        const std::string rest = line.substr(space + 1);
        if (word == "in") {
            result.emplace_back(rest, Values());
        } else {
            result.back().second[word] = value_of(rest);
        }
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
