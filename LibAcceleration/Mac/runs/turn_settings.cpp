#include "runs/turn_settings.h"

#include <sys/stat.h>

#include "runs/home.h"

namespace texprobe {

namespace {

constexpr const char* kFolders[] = {"/.config", "/texprobe"};

}  // namespace

std::string turn_file() {
    std::string path = home_of_user();
    if (path.empty()) return path;
    for (const char* name : kFolders) path += name;
    return path + "/measuring.lock";
}

TurnSettings turn_settings() {
    TurnSettings settings;
    settings.file = turn_file();
    std::string folder = home_of_user();
    if (folder.empty()) return settings;
    for (const char* name : kFolders) {
        folder += name;
        // The umask may take away even the owner's rights. If this fails, opening the file fails,
        // too.
        if (mkdir(folder.c_str(), 0700) == 0) chmod(folder.c_str(), 0700);
    }
    return settings;
}

}  // namespace texprobe
