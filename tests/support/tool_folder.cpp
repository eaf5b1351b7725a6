#include "tool_folder.h"

#include <sqlite3.h>
#include <stdlib.h>

#include <stdexcept>

namespace texprobe::tests {

namespace {

class Database {
public:
    explicit Database(const std::filesystem::path& file) {
        if (sqlite3_open_v2(file.c_str(), &handle_, SQLITE_OPEN_READWRITE, nullptr) != SQLITE_OK) {
            const std::string message = sqlite3_errmsg(handle_);
            sqlite3_close(handle_);
            throw std::runtime_error(file.string() + ": " + message);
        }
        sqlite3_busy_timeout(handle_, 10000);
    }
    ~Database() { sqlite3_close(handle_); }
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    sqlite3* handle() const { return handle_; }

private:
    sqlite3* handle_ = nullptr;
};

int collect(void* sets, int /*columns*/, char** values, char** /*names*/) {
    Records& records = (*static_cast<RecordSets*>(sets))[values[0]];
    records[values[1]] = std::string(values[2]) + " " + (values[3] ? values[3] : "NULL");
    return 0;
}

void must_execute(const Database& database, const std::string& sql,
                  int (*callback)(void*, int, char**, char**), void* argument) {
    char* message = nullptr;
    if (sqlite3_exec(database.handle(), sql.c_str(), callback, argument, &message) != SQLITE_OK) {
        const std::string text = message ? message : "unknown error";
        sqlite3_free(message);
        throw std::runtime_error(sql + ": " + text);
    }
}

}  // namespace

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
    RecordSets sets;
    if (!std::filesystem::exists(database())) return sets;
    must_execute(Database(database()), "SELECT application, key, type, value FROM records", collect,
                 &sets);
    return sets;
}

void ToolFolder::execute(const std::string& sql) const {
    must_execute(Database(database()), sql, nullptr, nullptr);
}

}  // namespace texprobe::tests
