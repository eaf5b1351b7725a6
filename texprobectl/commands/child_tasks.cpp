// The tasks of a child of this program.

#include <cstdio>

#include "doctor/doctor.h"
#include "inspect/child/inspected_test.h"
#include "process/child.h"
#include "time/timed_child.h"

namespace texprobe::ctl {

int run_child_task(const std::string& task, const std::vector<std::string>& arguments) {
    if (task == kInspectTask) return inspect_as_child(arguments);
    if (task == kOpenTask) return open_for_doctor(arguments);
    if (task == kTimeTask) return run_timed_child(arguments);
    std::fprintf(stderr, "texprobectl: there is no task %s\n", task.c_str());
    return 2;
}

}  // namespace texprobe::ctl
