// Where the measuring turn is taken, and how patient a waiting tool is. A file of its own, because
// the tests' builds of the tool replace it.

#ifndef TEXPROBE_TURN_SETTINGS_H
#define TEXPROBE_TURN_SETTINGS_H

#include <chrono>
#include <string>

namespace qor {

struct TurnSettings {
    /// The file that is locked; empty when there is no place for one.
    std::string file;
    /// Between two looks of a waiting tool.
    std::chrono::milliseconds pause{10};
    /// The looks without progress after which the tool that measures counts as hanging.
    unsigned patience = 6000;
};

/// Makes the folder of the file if need be, but never the user's home.
TurnSettings turn_settings();

}  // namespace qor

#endif
