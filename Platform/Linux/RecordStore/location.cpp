#include "location.h"

#include "user_home.h"

namespace texprobe::platform {

std::string records_directory() {
    const std::string home = home_of_user().path;
    return home.empty() ? home : home + "/.config/texprobe";
}

}  // namespace texprobe::platform
