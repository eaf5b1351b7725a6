// The tool on the scripted fakes, in a folder and with records of its own, run as a process.

#ifndef TEXPROBE_TESTS_FAKE_TOOL_H
#define TEXPROBE_TESTS_FAKE_TOOL_H

#include <sys/types.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace texprobe::tests {

/// Values as records_program prints them, such as "true", "0.20999999999999999" or "\"text\"".
using Values = std::map<std::string, std::string>;

struct ToolRun {
    pid_t pid = 0;
    int status = 0;
    bool hung = false;  ///< It was ended because it took too long.
    std::string out;
    std::string err;

    bool exited_with(int code) const;
};

/// One display with one renderer, whose identifier is kAppID.
inline const std::string kOneRenderer = "display 1 0x1\nrenderer 0x1 0x20400 268435456\n";
inline const std::string kAppID = "org.texprobe.texprobe2.20400.TESTBUILD";

class FakeTool {
public:
    explicit FakeTool(const std::string& script);
    /// The same with another program on the fakes.
    FakeTool(const std::string& script, const std::filesystem::path& executable);
    ~FakeTool();
    FakeTool(const FakeTool&) = delete;
    FakeTool& operator=(const FakeTool&) = delete;

    /// Replaces the script and forgets the calls, the deaths and the observations so far.
    void set_script(const std::string& script);

    /// Removes the records.
    void remove_records();

    std::string path() const { return folder_ / "texprobe"; }

    /// After how many looks a run that waits takes another one for hanging.
    void set_patience(unsigned looks) const;

    /// Runs the tool to its end, and then ends whatever it left behind. `program` is what it is
    /// told as its own name; its path when empty.
    ToolRun run(const std::vector<std::string>& arguments = {},
                const std::string& program = {}) const;

    /// The same, but ended with SIGKILL once its standard output has `lines` lines.
    ToolRun run_until(std::size_t lines, const std::vector<std::string>& arguments,
                      const std::string& program) const;

    /// Runs that overlap, without what they print.
    pid_t start(const std::vector<std::string>& arguments = {},
                const std::string& program = {}) const;
    ToolRun finish(pid_t pid) const;

    /// The lines of all calls, a line "process PID WORDS | VARIABLES" before those of each process.
    std::vector<std::string> calls() const;

    /// The records that the tool keeps.
    Values records(const std::string& appID = kAppID) const;
    /// One record, whatever its key; empty when there is none.
    std::string record(const std::string& key, const std::string& appID = kAppID) const;
    void set_record(const std::string& key, const std::string& type, const std::string& value,
                    const std::string& appID = kAppID) const;

    /// What another process saw after each synchronize: the test that then began, or nothing, and
    /// the records.
    std::vector<std::pair<std::string, Values>> observations() const;

    /// Whether a process stopped itself.
    bool has_stopped() const;
    /// Whether a process died a death that was to happen once.
    bool has_died() const;

private:
    Values read_records(const std::string& arguments) const;
    std::filesystem::path file(const char* suffix) const;

    std::filesystem::path folder_;
    std::filesystem::path records_;
};

/// The lines of a text, without their line feeds.
std::vector<std::string> lines_of(const std::string& text);

}  // namespace texprobe::tests

#endif
