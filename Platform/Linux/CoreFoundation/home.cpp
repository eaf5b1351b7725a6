#include "home.h"

#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <vector>

namespace texprobe::platform {

static bool is_absolute(const char* path) {
    return path && path[0] == '/';
}

std::string choose_home(const char* in_password_entry, const char* in_environment) {
    if (is_absolute(in_password_entry)) return in_password_entry;
    if (is_absolute(in_environment)) return in_environment;
    return {};
}

std::string home_of_user() {
    std::vector<char> buffer(1024);
    passwd entry;
    passwd* found = nullptr;
    while (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) == ERANGE) {
        buffer.resize(2 * buffer.size());
    }
    return choose_home(found ? found->pw_dir : nullptr, std::getenv("HOME"));
}

}  // namespace texprobe::platform
