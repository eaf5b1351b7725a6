// The user's home. Each system has its own file; on Linux the records ask the same
// function.

#ifndef TEXPROBE_HOME_H
#define TEXPROBE_HOME_H

#include <string>

namespace texprobe {

/// The absolute path in the real user's password entry, or HOME if that is missing or relative.
/// Empty if neither is there.
std::string home_of_user();

}  // namespace texprobe

#endif
