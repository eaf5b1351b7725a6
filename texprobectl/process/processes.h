// This process and others. Each system has its own file.

#ifndef TEXPROBECTL_PROCESSES_H
#define TEXPROBECTL_PROCESSES_H

#include <string>

namespace texprobe::ctl {

/// This program's own file, however it was started; empty when the system does not tell.
std::string own_program();

/// Tells a process from every other that has had or will have its number, here or in a container;
/// empty when it has ended, or cannot be seen.
std::string identity_of_process(int process);

}  // namespace texprobe::ctl

#endif
