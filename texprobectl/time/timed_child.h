// The child process that times: it alone calls OpenGL, and says what it does line by line. It
// begins with the small images: where time does not suffice, only the large ones lack.
//
//   begin GL_RGBA8:upload_set:1080p    this transfer is in hand
//   step                               it has come further
//   bytes 8294400                      of an image
//   way one_kept 5 0.1 0.2 0.3         rounds and quartiles, seconds an image
//   done | failed REASON | late        how it ended; late: there was no time left

#ifndef TEXPROBECTL_TIME_TIMED_CHILD_H
#define TEXPROBECTL_TIME_TIMED_CHILD_H

#include <string>
#include <vector>

namespace texprobe::ctl {

inline constexpr const char* kTimeTask = "time";

/// The renderer in hexadecimal, the seconds that all may take, and the transfers. Returns the exit
/// status; ends the process where the renderer's context cannot be set up.
int run_timed_child(const std::vector<std::string>& arguments);

}  // namespace texprobe::ctl

#endif
