// The preferences of macOS: a synchronization says whether the system could read them, but not why.

#include "records/store_trouble.h"

#include "records/preferences.h"
#include "records/record_set.h"

namespace texprobe::ctl {

std::string trouble_of_store(const std::function<void()>& read) {
    read();
    return refresh(std::string(kDomain)) ? "" : "the system cannot read this user's preferences";
}

}  // namespace texprobe::ctl
