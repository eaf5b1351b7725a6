// Keeps a write beyond the file size limit an error instead of the process's end.

#ifndef TEXPROBE_PLATFORM_FILE_SIZE_SIGNAL_H
#define TEXPROBE_PLATFORM_FILE_SIZE_SIGNAL_H

#include <pthread.h>

#include <csignal>
#include <ctime>

namespace texprobe::platform {

/// Holds back SIGXFSZ on this thread and takes away the one that its own writes raised. The
/// signal's action belongs to the application and is left alone.
class FileSizeSignalBlocked {
public:
    FileSizeSignalBlocked() {
        sigemptyset(&signal_);
        sigaddset(&signal_, SIGXFSZ);
        pthread_sigmask(SIG_BLOCK, &signal_, &before_);
        was_pending_ = is_pending();
    }
    ~FileSizeSignalBlocked() {
        const timespec at_once{0, 0};
        if (!was_pending_) sigtimedwait(&signal_, nullptr, &at_once);
        pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    }
    /// Whether a write has met the limit, seen from inside.
    static bool is_pending() {
        sigset_t pending;
        sigpending(&pending);
        return sigismember(&pending, SIGXFSZ) == 1;
    }

    FileSizeSignalBlocked(const FileSizeSignalBlocked&) = delete;
    FileSizeSignalBlocked& operator=(const FileSizeSignalBlocked&) = delete;

private:
    sigset_t signal_;
    sigset_t before_;
    bool was_pending_ = false;
};

}  // namespace texprobe::platform

#endif
