// The user's home directory.

#ifndef TEXPROBE_PLATFORM_HOME_H
#define TEXPROBE_PLATFORM_HOME_H

#include <string>

namespace texprobe::platform {

/// The password entry's directory, or the environment's where there is no such entry; only an
/// absolute path counts. Empty when neither is given.
std::string choose_home(const char* in_password_entry, const char* in_environment);

/// The home of the process's real user.
std::string home_of_user();

}  // namespace texprobe::platform

#endif
