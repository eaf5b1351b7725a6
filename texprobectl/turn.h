// The measuring turn, as somebody sees it who does not measure.

#ifndef TEXPROBECTL_TURN_H
#define TEXPROBECTL_TURN_H

#include <functional>
#include <string>

namespace texprobe::ctl {

/// The process that measures now; 0 for none.
int turn_holder();
/// "process 4711", or what to say when the system does not tell which.
std::string name_of_holder(int process);

/// Does something while nobody measures, and keeps others from beginning. False, with nothing done,
/// while somebody measures.
bool while_nobody_measures(const std::function<void()>& action);

}  // namespace texprobe::ctl

#endif
