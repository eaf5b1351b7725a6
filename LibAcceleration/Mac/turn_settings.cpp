#include "turn_settings.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <vector>

namespace {

/// The user's home: from the password database, since safe mode empties the environment, or from
/// HOME if the user has no entry. Empty if neither knows.
std::string home_of_user() {
    std::vector<char> buffer(1024);
    passwd entry;
    passwd* found = nullptr;
    while (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) == ERANGE) {
        buffer.resize(2 * buffer.size());
    }
    const char* home = found ? found->pw_dir : std::getenv("HOME");
    return home && home[0] == '/' ? home : "";
}

}  // namespace

namespace qor {

TurnSettings turn_settings() {
    TurnSettings settings;
    std::string folder = home_of_user();
    if (folder.empty()) return settings;
    // If this fails, opening the file fails, too.
    for (const char* name : {"/.config", "/texprobe"}) mkdir((folder += name).c_str(), 0700);
    settings.file = folder + "/measuring.lock";
    return settings;
}

}  // namespace qor
