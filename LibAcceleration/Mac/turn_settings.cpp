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

constexpr const char* kFolders[] = {"/.config", "/texprobe"};

}  // namespace

namespace qor {

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
    // If this fails, opening the file fails, too.
    for (const char* name : kFolders) mkdir((folder += name).c_str(), 0700);
    return settings;
}

}  // namespace qor
