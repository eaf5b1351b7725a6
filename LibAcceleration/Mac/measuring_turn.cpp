#include "measuring_turn.h"

#include <fcntl.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <thread>
#include <utility>

namespace qor {

namespace {

// The run that has the turn locks the first byte; a run that removes the file, the second one.
constexpr off_t kTurn = 0;
constexpr off_t kRemoval = 1;

// How often the file may be replaced between open and lock. No crowd of runs gets there, but a file
// system whose inode numbers change from call to call does.
constexpr unsigned kMostReplacements = 1000;

// This process's turn, for signal handlers. The path only changes while there is no descriptor.
std::atomic<int> heldDescriptor{-1};
char heldFile[1024];

struct flock lock_of(off_t byte) {
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    lock.l_start = byte;
    lock.l_len = 1;
    return lock;
}

bool lock(int descriptor, off_t byte) {
    struct flock wanted = lock_of(byte);
    return fcntl(descriptor, F_SETLK, &wanted) == 0;
}

bool is_same_file(const struct stat& a, const struct stat& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

/// Is the open file still the one at this path?
bool is_in_place(int descriptor, const char* path) {
    struct stat opened;
    struct stat placed;
    return fstat(descriptor, &opened) == 0 && lstat(path, &placed) == 0 &&
           is_same_file(opened, placed);
}

/// Removes the open file, so that all runs meet on a new one. The lock ensures that only one run
/// does so, and that no other removes the new file. False if the file cannot be removed.
bool remove_file(int descriptor, const std::string& path) {
    if (!lock(descriptor, kRemoval) || !is_in_place(descriptor, path.c_str())) return true;
    return unlink(path.c_str()) == 0;
}

/// The file's time is the counter: it takes no space on a full disk. It only goes up.
void count_step(int descriptor) {
    struct stat file;
    if (fstat(descriptor, &file) != 0) return;
    const timespec next = {file.st_mtime + 1, 0};
    const timespec times[] = {next, next};
    futimens(descriptor, times);
}

}  // namespace

MeasuringTurn::MeasuringTurn(TurnSettings settings, std::function<void()> whileWaiting)
    : settings_(std::move(settings)), whileWaiting_(std::move(whileWaiting)) {
    take();
}

MeasuringTurn::~MeasuringTurn() {
    leave();
}

void MeasuringTurn::leave() {
    heldDescriptor = -1;
    if (descriptor_ >= 0) close(descriptor_);
    descriptor_ = -1;
}

bool MeasuringTurn::advance() {
    if (descriptor_ < 0) return true;
    if (is_in_place(descriptor_, settings_.file.c_str())) {
        count_step(descriptor_);
        return true;
    }
    leave();
    take();
    return false;
}

void MeasuringTurn::take() {
    looksWithoutProgress_ = 0;
    unsigned replacements = 0;
    for (;;) {
        switch (attempt()) {
            case Attempt::kTaken:
            case Attempt::kImpossible:
                return;
            case Attempt::kLate:
                if (++replacements > kMostReplacements) return;
                break;
            case Attempt::kBusy:
                hadToWait_ = true;
                whileWaiting_();
                std::this_thread::sleep_for(settings_.pause);
        }
    }
}

/// Reopens the file each time: it may have been replaced, and a network file system may report
/// an old time until the file is opened.
MeasuringTurn::Attempt MeasuringTurn::attempt() {
    // O_NONBLOCK, because opening anything but a regular file may block.
    const int descriptor =
        open(settings_.file.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600);
    if (descriptor < 0) return Attempt::kImpossible;
    Attempt result = Attempt::kImpossible;
    struct stat file;
    if (fstat(descriptor, &file) != 0 || !S_ISREG(file.st_mode) || file.st_uid != geteuid()) {
        result = Attempt::kImpossible;
    } else if (lock(descriptor, kTurn)) {
        if (is_in_place(descriptor, settings_.file.c_str())) {
            count_step(descriptor);
            descriptor_ = descriptor;
            if (settings_.file.size() < sizeof heldFile) {
                settings_.file.copy(heldFile, settings_.file.size());
                heldFile[settings_.file.size()] = '\0';
                heldDescriptor = descriptor;
            }
            return Attempt::kTaken;
        }
        result = Attempt::kLate;
    } else if (errno == EACCES || errno == EAGAIN) {
        look_at_progress(file);
        const bool hangs = looksWithoutProgress_ >= settings_.patience;
        const bool canWait = !hangs || remove_file(descriptor, settings_.file);
        result = canWait ? Attempt::kBusy : Attempt::kImpossible;
    }
    close(descriptor);
    return result;
}

/// Counts looks instead of time, because a clock keeps running while this process itself is
/// stopped.
void MeasuringTurn::look_at_progress(const struct stat& file) {
    const bool same = is_same_file(file, seen_) && file.st_mtime == seen_.st_mtime;
    looksWithoutProgress_ = same ? looksWithoutProgress_ + 1 : 0;
    seen_ = file;
}

bool is_turn_lost() {
    const int descriptor = heldDescriptor;
    return descriptor >= 0 && !is_in_place(descriptor, heldFile);
}

pid_t turn_holder(const TurnSettings& settings) {
    // Opening the file would be harmless, but closing it would drop this process's own lock.
    if (heldDescriptor >= 0) return getpid();
    const int descriptor =
        open(settings.file.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0) return 0;
    struct flock holder = lock_of(kTurn);
    const bool isTold = fcntl(descriptor, F_GETLK, &holder) == 0;
    close(descriptor);
    if (!isTold || holder.l_type == F_UNLCK) return 0;
    return holder.l_pid > 0 ? holder.l_pid : kUnknownHolder;
}

void take_turn_from(pid_t process, const TurnSettings& settings) {
    const int descriptor =
        open(settings.file.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0) return;
    struct flock holder = lock_of(kTurn);
    if (fcntl(descriptor, F_GETLK, &holder) == 0 && holder.l_type != F_UNLCK &&
        holder.l_pid == process) {
        remove_file(descriptor, settings.file);
    }
    close(descriptor);
}

}  // namespace qor
