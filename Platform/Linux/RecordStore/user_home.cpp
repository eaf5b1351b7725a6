#include "user_home.h"

#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <vector>

namespace texprobe::platform {

Home home_of_user() {
    std::vector<char> buffer(1024);
    passwd entry;
    passwd* found = nullptr;
    while (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) == ERANGE) {
        buffer.resize(2 * buffer.size());
    }
    const char* const variable = std::getenv("HOME");
    const char* const homes[] = {found ? found->pw_dir : nullptr, variable};
    for (const char* const home : homes) {
        if (home && home[0] == '/') return {home, ""};
    }
    const std::string ofEntry = found ? "the password database names no absolute path"
                                      : "there is no entry in the password database";
    return {"", ofEntry + (variable ? ", and HOME is no absolute path" : ", and HOME is not set")};
}

}  // namespace texprobe::platform
