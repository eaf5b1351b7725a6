#include "runs/home.h"

#include "RecordStore/user_home.h"

namespace qor {

std::string home_of_user() {
    return texprobe::platform::home_of_user().path;
}

}  // namespace qor
