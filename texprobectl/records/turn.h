// The measuring turn, as a process sees it that does not measure.

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

/// Takes the turn for `action`: no one else measures meanwhile. While another process has the turn,
/// asks `mayWait` before each pause; when that says no, returns false, with nothing done.
bool under_turn(const std::function<bool()>& mayWait, const std::function<void()>& action);

}  // namespace texprobe::ctl

#endif
