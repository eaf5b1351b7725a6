// A folder of its own for one test, with texprobectl, a tool and their records side by side.

#ifndef TEXPROBE_TESTS_CTL_FOLDER_H
#define TEXPROBE_TESTS_CTL_FOLDER_H

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

#include "support/tool_folder.h"

namespace texprobe::tests {

class CtlFolder : public ToolFolder {
public:
    CtlFolder(const std::filesystem::path& ctl, const std::filesystem::path& tool);

    /// Runs texprobectl to its end, with nothing on its standard input.
    Finished ctl(const std::vector<std::string>& arguments,
                 const Environment& environment = {}) const;
    /// Starts it, and returns its process.
    pid_t start_ctl(const std::vector<std::string>& arguments,
                    const Environment& environment = {}) const;

    /// Waits until a set has this record, as `measure` in another process makes it.
    void await_record(const std::string& key) const;

    /// Waits until texprobectl has written this to its standard error; false after a minute.
    bool await_error(const std::string& text) const;

    /// Writes records by the product's own way into the preferences: a script of "set" lines.
    void prepare(const std::filesystem::path& scriptedTool, const std::string& text) const;

    std::filesystem::path file(const std::string& name) const { return path() / name; }
};

}  // namespace texprobe::tests

#endif
