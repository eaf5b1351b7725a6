// The commands: one file each, with its arguments and its work. A command's arguments
// are shared, because it runs later.

#ifndef TEXPROBECTL_COMMANDS_H
#define TEXPROBECTL_COMMANDS_H

#include <CLI/CLI.hpp>
#include <functional>
#include <ostream>
#include <string>

#include "process/terminal.h"
#include "records/machine.h"
#include "records/record_set.h"

namespace texprobe::ctl {

/// Shared by the commands.
struct Session {
    /// This program's own file.
    std::string self;
    int status = 0;
};

/// Adds every command; the one that is given runs within `app`'s parsing and leaves its status.
void add_commands(CLI::App* app, Session* session);

// The order in which the help lists them.
void add_measure(CLI::App* app, Session* session);
void add_list(CLI::App* app, Session* session);
void add_show(CLI::App* app, Session* session);
void add_survey(CLI::App* app, Session* session);
void add_compare(CLI::App* app, Session* session);
void add_inspect(CLI::App* app, Session* session);
void add_export(CLI::App* app, Session* session);
void add_report(CLI::App* app, Session* session);
void add_merge(CLI::App* app, Session* session);
void add_time(CLI::App* app, Session* session);
void add_forget(CLI::App* app, Session* session);
void add_doctor(CLI::App* app, Session* session);

// Shared by several commands.

inline constexpr const char* kSet = "an identifier, a part of it, or a number of `list`";
inline constexpr const char* kSetOrFile = "a record set, an exported file, or - for stdin";

inline constexpr const char* kToolProgram = "texprobe";
inline constexpr const char* kSurveyProgram = "texprobe-survey";

void add_json(CLI::App* command, bool* json);

/// A number of seconds.
void add_seconds(CLI::App* command, const char* name, int* seconds, const char* description);

CLI::Validator number_between(int least, int most);

/// To standard output, which may be a terminal.
void print(const std::function<void(const Terminal&, std::ostream&)>& write);

/// Why nothing can be run: the program was not found, or there is no renderer; empty if neither.
std::string describe_lack(const char* name, const std::string& program, const Machine& machine);

/// Of --require-hardware, after a command has succeeded: 0 where one of the sets is of hardware;
/// else 1, and a line on standard error names the renderers.
int require_hardware(const RecordSets& sets);

/// A document with an empty list is valid, but its reader wants to know.
void say_empty(const std::string& file, const char* what);

}  // namespace texprobe::ctl

#endif
