// The commands: the arguments of each, and its action.

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

}  // namespace texprobe::ctl

#endif
