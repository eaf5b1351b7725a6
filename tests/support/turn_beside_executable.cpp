// The measuring turn of the tests' tools is beside the executable, like their records. A file
// "patience" there gives the number of looks after which a run counts as hanging.

#include <filesystem>
#include <fstream>

#include "runs/turn_settings.h"

namespace {

std::filesystem::path folder_of_executable() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

}  // namespace

namespace texprobe {

std::string turn_file() {
    return folder_of_executable() / "measuring.lock";
}

TurnSettings turn_settings() {
    TurnSettings settings;
    settings.file = turn_file();
    std::ifstream(folder_of_executable() / "patience") >> settings.patience;
    return settings;
}

}  // namespace texprobe
