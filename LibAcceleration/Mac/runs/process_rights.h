// Whose environment the process has: a file of each system's knows.

#ifndef TEXPROBE_PROCESS_RIGHTS_H
#define TEXPROBE_PROCESS_RIGHTS_H

namespace texprobe {

/// Was the process started with more rights than the user has who started it, and chose its
/// environment? Also after it has become the other user for real.
bool is_environment_of_another();

}  // namespace texprobe

#endif
