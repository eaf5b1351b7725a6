#include "runs/home.h"

#include "RecordStore/user_home.h"

namespace texprobe {

std::string home_of_user() {
    return platform::home_of_user().path;
}

}  // namespace texprobe
