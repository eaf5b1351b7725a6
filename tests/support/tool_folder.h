// A folder for one test, with copies of executables, which keep their records beside themselves.

#ifndef TEXPROBE_TESTS_TOOL_FOLDER_H
#define TEXPROBE_TESTS_TOOL_FOLDER_H

#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "support/process.h"
#include "support/stored_records.h"
#include "support/text.h"

namespace texprobe::tests {

class ToolFolder {
public:
    /// Creates the folder and copies `executable` into it as "texprobe".
    explicit ToolFolder(const std::filesystem::path& executable);
    ~ToolFolder();
    ToolFolder(const ToolFolder&) = delete;
    ToolFolder& operator=(const ToolFolder&) = delete;

    const std::filesystem::path& path() const { return path_; }
    std::filesystem::path tool() const { return path_ / "texprobe"; }
    std::filesystem::path database() const { return path_ / "records" / "records.sqlite3"; }

    /// Runs the tool to its end.
    Finished run(const std::vector<std::string>& arguments = {},
                 const Environment& environment = {}) const;

    /// What the scripted tool does: in each of its runs, or in the run of that number (from 1).
    void script(const std::string& text) const;
    void script(int run, const std::string& text) const;
    /// How often it has run.
    int runs() const;
    /// Writes an executable script of the shell; returns its path.
    std::string write_program(const std::string& name, const std::string& body) const;
    /// The processes of this folder's tool.
    std::vector<pid_t> processes() const;

    /// Everything in the store, read without texprobe's own code; nothing if there is no store.
    RecordSets records() const;

    /// Runs one SQL statement on the store.
    void execute(const std::string& sql) const;

private:
    std::filesystem::path path_;
    const pid_t owner_ = getpid();
};

}  // namespace texprobe::tests

#endif
