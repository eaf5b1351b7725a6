// The command `inspect`.

#ifndef TEXPROBECTL_INSPECT_COMMAND_H
#define TEXPROBECTL_INSPECT_COMMAND_H

#include "commands/commands.h"

namespace texprobe::ctl {

void add_inspect(CLI::App* app, Session* session);

}  // namespace texprobe::ctl

#endif
