// Where the user's records are. The one function that the tests' builds replace.

#ifndef TEXPROBE_PLATFORM_LOCATION_H
#define TEXPROBE_PLATFORM_LOCATION_H

#include <string>

namespace texprobe::platform {

/// The absolute path of the directory of the records: below the home directory in the real user's
/// password entry, or below HOME if there is no entry. Empty if there is no absolute path. Creates
/// nothing.
std::string records_directory();

}  // namespace texprobe::platform

#endif
