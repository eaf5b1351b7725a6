// The tasks of a child of this program: one row for each.

#include <cstdio>

#include "doctor/doctor.h"
#include "inspect/child/inspected_test.h"
#include "process/child.h"
#include "time/timed_child.h"

namespace texprobe::ctl {

namespace {

struct Task {
    const char* name;
    int (*run)(const std::vector<std::string>& arguments);
};

constexpr Task kTasks[] = {
    {kInspectTask, inspect_as_child},
    {kOpenTask, open_for_doctor},
    {kTimeTask, run_timed_child},
};

}  // namespace

int run_child_task(const std::string& task, const std::vector<std::string>& arguments) {
    for (const Task& known : kTasks) {
        if (task == known.name) return known.run(arguments);
    }
    std::fprintf(stderr, "texprobectl: there is no task %s\n", task.c_str());
    return 2;
}

}  // namespace texprobe::ctl
