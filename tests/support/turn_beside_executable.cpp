// The measuring turn of the tests' tools is beside the executable, like their records. A file
// "patience" there gives the number of looks after which a run counts as hanging.

#include <filesystem>
#include <fstream>

#include "turn_settings.h"

namespace qor {

TurnSettings turn_settings() {
    const auto folder = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    TurnSettings settings;
    settings.file = folder / "measuring.lock";
    std::ifstream(folder / "patience") >> settings.patience;
    return settings;
}

}  // namespace qor
