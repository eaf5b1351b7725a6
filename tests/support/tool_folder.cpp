#include "tool_folder.h"

#include <fcntl.h>
#include <spawn.h>
#include <sqlite3.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace texprobe::tests {

namespace {

std::string contents(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
    std::vector<char*> result;
    result.reserve(texts.size() + 1);
    for (std::string& text : texts) result.push_back(text.data());
    result.push_back(nullptr);
    return result;
}

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

bool Finished::exited_with(int code) const {
    return WIFEXITED(status) && WEXITSTATUS(status) == code;
}

ToolFolder::ToolFolder(const std::filesystem::path& executable) {
    std::string name = std::filesystem::temp_directory_path() / "texprobe-test-XXXXXX";
    if (!mkdtemp(name.data())) throw std::runtime_error("cannot make a folder for a test");
    path_ = name;
    std::filesystem::copy_file(executable, tool());
}

ToolFolder::~ToolFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

Finished ToolFolder::run(const std::vector<std::string>& arguments,
                         const Environment& environment) const {
    const std::filesystem::path out = path_ / "stdout";
    const std::filesystem::path err = path_ / "stderr";
    std::vector<std::string> words = {tool()};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<std::string> variables = environment;

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    constexpr int kWrite = O_WRONLY | O_CREAT | O_TRUNC;
    posix_spawn_file_actions_addopen(&actions, 1, out.c_str(), kWrite, 0600);
    posix_spawn_file_actions_addopen(&actions, 2, err.c_str(), kWrite, 0600);
    pid_t pid = -1;
    const int error = posix_spawn(&pid, tool().c_str(), &actions, nullptr, pointers(words).data(),
                                  pointers(variables).data());
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) throw std::runtime_error("cannot start the tool");

    Finished finished;
    waitpid(pid, &finished.status, 0);
    finished.out = contents(out);
    finished.err = contents(err);
    return finished;
}

RecordSets ToolFolder::records() const {
    RecordSets sets;
    must_execute(Database(database()), "SELECT application, key, type, value FROM records", collect,
                 &sets);
    return sets;
}

void ToolFolder::execute(const std::string& sql) const {
    must_execute(Database(database()), sql, nullptr, nullptr);
}

std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> result;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) result.push_back(line);
    return result;
}

}  // namespace texprobe::tests
