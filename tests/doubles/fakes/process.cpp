// The system calls that the product makes. The linker redirects them here (--wrap).

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "fakes.h"

extern "C" {

long __real_random();

long __wrap_random() {
    const long value = __real_random();
    fakes::call("random() = %ld", value);
    return value;
}

pid_t __wrap_fork() {
    fakes::note("fork()");
    if (const int error = fakes::failure("fork")) {
        errno = error;
        return -1;
    }
    return __real_fork();
}

pid_t __wrap_waitpid(pid_t child, int* status, int options) {
    fakes::note("waitpid(%s, %d)", child > 0 ? "child" : "any", options);
    if (const int error = fakes::failure("waitpid")) {
        errno = error;
        return -1;
    }
    return __real_waitpid(child, status, options);
}

}  // extern "C"
