#include "turn_settings.h"

#include <sys/stat.h>

#include "home.h"

namespace qor {

TurnSettings turn_settings() {
    TurnSettings settings;
    std::string folder = home_of_user();
    if (folder.empty()) return settings;
    for (const char* name : {"/.config", "/texprobe"}) {
        folder += name;
        // The umask may take away even the owner's rights. If this fails, opening the file fails,
        // too.
        if (mkdir(folder.c_str(), 0700) == 0) chmod(folder.c_str(), 0700);
    }
    settings.file = folder + "/measuring.lock";
    return settings;
}

}  // namespace qor
