// Where the user's records are. The one function that the tests' builds replace.

#ifndef TEXPROBE_PLATFORM_RECORDS_LOCATION_H
#define TEXPROBE_PLATFORM_RECORDS_LOCATION_H

#include <string>

namespace texprobe::platform {

/// The absolute path of the directory that holds the records database; empty when the user has no
/// home. Does not depend on the environment where the user has a password entry. Creates nothing.
std::string records_directory();

}  // namespace texprobe::platform

#endif
