// Where the user's home is. The records, the measuring turn and texprobectl all ask here.

#ifndef TEXPROBE_PLATFORM_USER_HOME_H
#define TEXPROBE_PLATFORM_USER_HOME_H

#include <string>

namespace texprobe::platform {

struct Home {
    /// Absolute; empty when there is none.
    std::string path;
    /// Why there is none, as a part of a sentence.
    std::string missing;
};

/// The home in the real user's password entry, because safe mode empties the environment. HOME
/// serves only where the entry is missing or names no absolute path.
Home home_of_user();

}  // namespace texprobe::platform

#endif
