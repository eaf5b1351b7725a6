#include "runs/process_rights.h"

#include <sys/auxv.h>
#include <unistd.h>

namespace texprobe {

bool is_environment_of_another() {
    // The kernel's word from the start, and the process's own changes since.
    return getauxval(AT_SECURE) != 0 || getuid() != geteuid() || getgid() != getegid();
}

}  // namespace texprobe
