#include "runs/home.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>

namespace texprobe {

std::string home_of_user() {
    const passwd* entry = getpwuid(getuid());  // cppcheck-suppress getpwuidCalled
    const char* const homes[] = {entry ? entry->pw_dir : nullptr, std::getenv("HOME")};
    for (const char* const home : homes) {
        if (home && home[0] == '/') return home;
    }
    return "";
}

}  // namespace texprobe
