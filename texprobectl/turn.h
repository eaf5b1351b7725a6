// The measuring turn, as somebody sees it who does not measure.

#ifndef TEXPROBECTL_TURN_H
#define TEXPROBECTL_TURN_H

#include <functional>

namespace texprobe::ctl {

/// The process that measures now; 0 for none.
int turn_holder();

/// Does something while nobody measures, and keeps others from beginning. False, with nothing done,
/// while somebody measures.
bool while_nobody_measures(const std::function<void()>& action);

}  // namespace texprobe::ctl

#endif
