// The measuring turn, as seen by a program that does not measure.

#ifndef TEXPROBECTL_TURN_H
#define TEXPROBECTL_TURN_H

#include <functional>
#include <string>

namespace texprobe::ctl {

/// The process that measures now; 0 for none.
int turn_holder();
/// "process 4711", or other words when the system does not tell which.
std::string name_of_holder(int process);

/// Is it a process of this group, or its leader? A wrapper of the tool measures in a child.
bool is_in_group(int process, int group);

/// Does something under the turn: no run measures meanwhile. While one does, asks `mayWait`
/// before each pause; false, with nothing done, when that says no.
bool under_turn(const std::function<bool()>& mayWait, const std::function<void()>& action);

/// The same, without waiting.
bool while_nobody_measures(const std::function<void()>& action);

}  // namespace texprobe::ctl

#endif
