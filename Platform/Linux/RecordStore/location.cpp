#include "location.h"

#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <vector>

namespace texprobe::platform {

std::string records_directory() {
    std::vector<char> buffer(1024);
    passwd entry;
    passwd* found = nullptr;
    while (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) == ERANGE) {
        buffer.resize(2 * buffer.size());
    }
    const char* const homes[] = {found ? found->pw_dir : nullptr, std::getenv("HOME")};
    for (const char* const home : homes) {
        if (home && home[0] == '/') return std::string(home) + "/.config/texprobe";
    }
    return {};
}

}  // namespace texprobe::platform
