// The commands: one file each, with its arguments and what it does with them.

#ifndef TEXPROBECTL_COMMANDS_H
#define TEXPROBECTL_COMMANDS_H

#include <CLI/CLI.hpp>
#include <string>

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

}  // namespace texprobe::ctl

#endif
