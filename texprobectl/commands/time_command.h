// time: how fast the verified transfers are.

#ifndef TEXPROBECTL_TIME_COMMAND_H
#define TEXPROBECTL_TIME_COMMAND_H

#include "commands/commands.h"

namespace texprobe::ctl {

void add_time(CLI::App* app, Session* session);

}  // namespace texprobe::ctl

#endif
