// Where the user's records are. The one function that the tests' builds replace.

#ifndef TEXPROBE_PLATFORM_LOCATION_H
#define TEXPROBE_PLATFORM_LOCATION_H

#include <string>

namespace texprobe::platform {

/// The absolute path of the directory that holds the records database: below the home that the
/// password entry of the process's real user names, or HOME where there is no such entry. Empty
/// when there is no absolute path. Creates nothing.
std::string records_directory();

}  // namespace texprobe::platform

#endif
