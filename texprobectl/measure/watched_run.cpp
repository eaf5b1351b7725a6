#include "measure/watched_run.h"

#include "records/turn.h"

namespace texprobe::ctl {

RunObserver::Wish WatchedRun::look() {
    if (watcher_.is_interrupted()) return Wish::kStop;
    // Once a second is enough to see who has the turn, and to move the time left.
    if (++looks_ % 10 != 0) return Wish::kGoOn;
    const int holder = turn_holder();
    if (holder != 0 && !is_in_group(holder, process_)) {
        wait_for_other();
        watcher_.waits_for(holder);
        return Wish::kGoOnAnew;
    }
    go_on();
    return Wish::kGoOn;
}

bool WatchedRun::has_trouble_with_records() const {
    return trouble_.rfind("*** texprobe records: ", 0) == 0;
}

/// The first of the records says which file and which error, those after it the consequences.
void WatchedRun::take_trouble(const std::string& text) {
    if (!has_trouble_with_records()) trouble_ = text;
}

}  // namespace texprobe::ctl
