// The command `forget`.

#ifndef TEXPROBECTL_FORGET_COMMAND_H
#define TEXPROBECTL_FORGET_COMMAND_H

#include "commands/commands.h"

namespace texprobe::ctl {

void add_forget(CLI::App* app, Session* session);

}  // namespace texprobe::ctl

#endif
