// The preferences of macOS: the system keeps them, and tells nothing of their state.

#include "doctor/doctor.h"

namespace texprobe::ctl {

ExaminedStore examine_store() {
    ExaminedStore store;
    store.place = "~/Library/Preferences";
    store.health = "kept by the system";
    return store;
}

}  // namespace texprobe::ctl
