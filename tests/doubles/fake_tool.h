// The tool on the scripted fakes, in a folder and with records of its own, run as a process.

#ifndef TEXPROBE_TESTS_FAKE_TOOL_H
#define TEXPROBE_TESTS_FAKE_TOOL_H

#include <sys/types.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "support/process.h"
#include "support/scratch_folder.h"
#include "support/stored_records.h"
#include "support/text.h"

namespace texprobe::tests {

/// Values such as "true", "0.20999999999999999" or "\"text\"".
using Values = std::map<std::string, std::string>;

/// The number of keys that only one of them has, or that have another value in each.
unsigned differences(const Values& actual, const Values& expected);

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

    /// Replaces the script, and removes the calls, deaths and observations so far.
    void set_script(const std::string& script);

    /// Removes the records.
    void remove_records();

    std::string path() const { return folder_ / "texprobe"; }

    /// The number of looks after which a waiting run assumes that the other one hangs.
    void set_patience(unsigned looks) const;

    /// Runs the tool to its end and then kills any process that it left behind. `program` is its
    /// argv[0]; by default its path.
    Finished run(const std::vector<std::string>& arguments = {},
                 const std::string& program = {}) const;

    /// The same, but kills it with SIGKILL once its standard output has `lines` lines.
    Finished run_until(std::size_t lines, const std::vector<std::string>& arguments,
                       const std::string& program) const;

    /// For runs that overlap; their output is discarded.
    pid_t start(const std::vector<std::string>& arguments = {},
                const std::string& program = {}) const;
    Finished finish(pid_t pid) const;

    /// All calls, a line each. Each process's begin with a line "process PID WORDS | VARIABLES".
    std::vector<std::string> calls() const;

    Values records(const std::string& appID = kAppID) const;
    /// One record; empty if there is none.
    std::string record(const std::string& key, const std::string& appID = kAppID) const;
    /// The value of a boolean or double as a literal of SQL.
    void set_record(const std::string& key, const std::string& type, const std::string& value,
                    const std::string& appID = kAppID) const;
    void remove_record(const std::string& key) const;

    /// What others see after each synchronize: the test that then starts, if any, and the
    /// records.
    std::vector<std::pair<std::string, Values>> observations() const;

    /// Did a process stop itself?
    bool has_stopped() const;
    /// Has the death that happens only once happened?
    bool has_died() const;

private:
    std::filesystem::path file(const char* suffix) const;
    std::filesystem::path records_folder() const { return scratch_.path() / "records"; }
    std::filesystem::path database() const { return records_folder() / "records.sqlite3"; }

    std::filesystem::path folder_;
    /// In memory, because thousands of runs synchronize before each test.
    ScratchFolder scratch_;
};

}  // namespace texprobe::tests

#endif
