// The child process that times: it alone calls OpenGL, and reports line by line.
//
//   begin GL_RGBA8:upload_set:1080p    this transfer is visited
//   step                               it has come further
//   way one_kept 0.11 0.12             the seconds an image of each round
//   done | failed REASON | late        how the visit ended; late: there was no time left

#ifndef TEXPROBECTL_TIME_TIMED_CHILD_H
#define TEXPROBECTL_TIME_TIMED_CHILD_H

#include <string>
#include <vector>

namespace texprobe::ctl {

inline constexpr const char* kTimeTask = "time";

/// The renderer in hexadecimal, the seconds that all may take, and the visits. Returns the exit
/// status; ends the process where the renderer's context cannot be set up.
int run_timed_child(const std::vector<std::string>& arguments);

}  // namespace texprobe::ctl

#endif
