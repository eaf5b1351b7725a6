// Shell scripts that an application can use as the tool.

#ifndef TEXPROBE_TESTS_TOOL_SCRIPTS_H
#define TEXPROBE_TESTS_TOOL_SCRIPTS_H

#include <string>

#include "support/tool_folder.h"

namespace texprobe::tests {

class ToolScripts {
public:
    /// Scripts go into `folder`, which is borrowed.
    explicit ToolScripts(const ToolFolder& folder) : folder_(folder) {}

    /// Writes an executable script; returns its path.
    std::string write(const std::string& name, const std::string& body) const;

    /// The command with which a script counts its runs.
    std::string count_run() const;
    std::size_t runs() const;

    /// A path as one word of a script.
    static std::string quote(const std::filesystem::path& path);

private:
    std::filesystem::path runs_file() const { return folder_.path() / "runs"; }

    const ToolFolder& folder_;
};

}  // namespace texprobe::tests

#endif
