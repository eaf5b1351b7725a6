// Where the lock file of the measuring turn is, and how long a run waits for another, or is waited
// for. A file of its own, because the tests' builds of the tool replace it.

#ifndef TEXPROBE_TURN_SETTINGS_H
#define TEXPROBE_TURN_SETTINGS_H

#include <chrono>
#include <string>

namespace texprobe {

struct TurnSettings {
    /// The file that is locked; empty when there is no place for one.
    std::string file;
    /// The pause between two looks of a waiting run.
    std::chrono::milliseconds pause{10};
    /// After so many looks without progress, the run that measures counts as hanging.
    unsigned patience = 6000;
    /// An application may not give a test less: if the limit ends it, a no is recorded for every
    /// application of this user.
    std::chrono::milliseconds leastTestTime{10000};
};

/// The file alone, for those who only look: nothing is created. Empty when there is no place.
std::string turn_file();

/// Creates the folder of the file if necessary, but never the user's home.
TurnSettings turn_settings();

}  // namespace texprobe

#endif
