#include "runs/process_rights.h"

#include <unistd.h>

namespace texprobe {

bool is_environment_of_another() {
    return issetugid() != 0;
}

}  // namespace texprobe
