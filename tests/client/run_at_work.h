// Another process that has the measuring turn of this test, and works on one record set.

#ifndef TEXPROBE_TESTS_RUN_AT_WORK_H
#define TEXPROBE_TESTS_RUN_AT_WORK_H

#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "runs/measuring_turn.h"
#include "runs/turn_settings.h"
#include "support/process.h"

namespace texprobe::tests {

class RunAtWork {
public:
    enum class Kind { kOneThatStays, kManyThatFindNothingToDo };

    /// Returns when the first run is at work.
    explicit RunAtWork(const std::string& set, Kind kind = Kind::kOneThatStays) {
        int ready[2];
        if (pipe2(ready, O_CLOEXEC) != 0) std::abort();
        process_ = start([&]() -> int {
            for (bool isFirst = true;; isFirst = false) {
                MeasuringTurn turn(turn_settings(), [] {});
                turn.take_in_hand(set);
                if (isFirst && write(ready[1], "", 1) != 1) return 1;
                while (kind == Kind::kOneThatStays) pause();
                usleep(100);
            }
        });
        char byte = 0;
        if (read(ready[0], &byte, 1) != 1) std::abort();
        for (const int end : ready) close(end);
    }
    ~RunAtWork() {
        kill(process_, SIGKILL);
        status_of(process_);
    }
    RunAtWork(const RunAtWork&) = delete;
    RunAtWork& operator=(const RunAtWork&) = delete;

private:
    pid_t process_ = 0;
};

}  // namespace texprobe::tests

#endif
