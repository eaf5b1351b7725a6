#include "runs/measuring_turn.h"

#include <fcntl.h>
#include <sys/file.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <thread>
#include <utility>

namespace texprobe {

namespace {

// The run that has the turn locks the first byte; a run that removes the file, the second one. With
// the third one the run says that it names its sets, which older tools do not.
constexpr off_t kTurn = 0;
constexpr off_t kRemoval = 1;
constexpr off_t kNamesSets = 2;
// From here on each byte is a set's. If two sets share one, both are taken for the one in hand.
constexpr off_t kFirstSet = 1024;
constexpr std::uint32_t kSetBytes = 1U << 30;

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

void unlock(int descriptor, off_t byte) {
    struct flock wanted = lock_of(byte);
    wanted.l_type = F_UNLCK;
    fcntl(descriptor, F_SETLK, &wanted);
}

/// The same in every build of the tool and the library (FNV-1a).
off_t byte_of(const std::string& set) {
    std::uint32_t hash = 2166136261U;
    for (const char c : set) hash = (hash ^ static_cast<unsigned char>(c)) * 16777619U;
    return kFirstSet + static_cast<off_t>(hash % kSetBytes);
}

/// Has another process locked this byte?
bool is_locked(int descriptor, off_t byte) {
    struct flock holder = lock_of(byte);
    return fcntl(descriptor, F_GETLK, &holder) == 0 && holder.l_type != F_UNLCK;
}

bool is_own_file(const struct stat& file) {
    return S_ISREG(file.st_mode) && file.st_uid == geteuid();
}

constexpr mode_t kPrivate = 0600;

/// Makes a file of this user's private, and removes anything else. Returns 0 or the error.
int make_place_for_file(const char* path) {
    struct stat found;
    if (lstat(path, &found) != 0) return errno == ENOENT ? 0 : errno;
    if (is_own_file(found)) return chmod(path, kPrivate) == 0 ? 0 : errno;
    const bool isGone = S_ISDIR(found.st_mode) ? rmdir(path) == 0 : unlink(path) == 0;
    return isGone || errno == ENOENT ? 0 : errno;
}

int open_to_look(const std::string& file) {
    return open(file.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
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

// The file's times are counters: they take no space on a full disk. Both only go up.

/// Of the run's progress, for those who wait for the turn.
void count_step(int descriptor) {
    struct stat file;
    if (fstat(descriptor, &file) != 0) return;
    const timespec times[] = {{0, UTIME_OMIT}, {file.st_mtime + 1, 0}};
    futimens(descriptor, times);
}

/// Of the set in hand, for those who read records meanwhile.
void count_work(int descriptor) {
    struct stat file;
    if (fstat(descriptor, &file) != 0) return;
    const timespec times[] = {{file.st_atime + 1, 0}, {0, UTIME_OMIT}};
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
    inHand_.clear();
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

void MeasuringTurn::take_in_hand(const std::string& set) {
    if (descriptor_ < 0 || !inHand_.insert(set).second) return;
    // The set first: once the run names its sets, all others are free.
    const bool isNamed = set.empty() || lock(descriptor_, byte_of(set));
    if (!isNamed) {
        unlock(descriptor_, kNamesSets);
    } else if (inHand_.size() == 1) {
        lock(descriptor_, kNamesSets);
    }
    count_work(descriptor_);
}

std::string MeasuringTurn::trouble() const {
    if (descriptor_ >= 0 || settings_.file.empty() || error_ == ENOENT) return {};
    return "cannot lock " + settings_.file + ": " + std::strerror(error_) +
           "; do not measure twice at the same time";
}

void MeasuringTurn::take() {
    looksWithoutProgress_ = busyRepairs_ = 0;
    unsigned replacements = 0;
    for (;;) {
        switch (attempt()) {
            case Attempt::kTaken:
            case Attempt::kImpossible:
                return;
            case Attempt::kLate:
                error_ = EBUSY;
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
    const int descriptor = open(settings_.file.c_str(),
                                O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, kPrivate);
    struct stat file = {};
    const bool isUsable = descriptor >= 0 && fstat(descriptor, &file) == 0 && is_own_file(file);
    const int error = descriptor < 0 ? errno : EPERM;
    const Attempt result = isUsable ? lock_and_keep(descriptor, file) : put_right(error);
    if (descriptor >= 0 && result != Attempt::kTaken) close(descriptor);
    return result;
}

MeasuringTurn::Attempt MeasuringTurn::lock_and_keep(int descriptor, const struct stat& file) {
    // The umask may have taken away even the owner's rights.
    if ((file.st_mode & 07777) != kPrivate) fchmod(descriptor, kPrivate);
    if (lock(descriptor, kTurn)) {
        if (!is_in_place(descriptor, settings_.file.c_str())) return Attempt::kLate;
        count_step(descriptor);
        count_work(descriptor);
        descriptor_ = descriptor;
        if (settings_.file.size() < sizeof heldFile) {
            settings_.file.copy(heldFile, settings_.file.size());
            heldFile[settings_.file.size()] = '\0';
            heldDescriptor = descriptor;
        }
        return Attempt::kTaken;
    }
    error_ = errno;
    if (error_ != EACCES && error_ != EAGAIN) return Attempt::kImpossible;
    look_at_progress(file);
    const bool hangs = looksWithoutProgress_ >= settings_.patience;
    if (!hangs || remove_file(descriptor, settings_.file)) return Attempt::kBusy;
    error_ = errno;
    return Attempt::kImpossible;
}

/// Makes room for the file where something else is in its place, which could not be opened because
/// of `error`. Only in a folder of this user's.
MeasuringTurn::Attempt MeasuringTurn::put_right(int error) {
    error_ = error;
    const std::string place = settings_.file.substr(0, settings_.file.rfind('/') + 1);
    const int folder = open(place.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0) return Attempt::kImpossible;
    Attempt result = Attempt::kImpossible;
    struct stat found = {};
    // One process at a time, so that none removes the file that another has just made.
    if (flock(folder, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
        if (++busyRepairs_ < settings_.patience) result = Attempt::kBusy;
    } else if (fstat(folder, &found) == 0 && found.st_uid == geteuid()) {
        error_ = make_place_for_file(settings_.file.c_str());
        if (error_ == 0) result = Attempt::kLate;
    }
    close(folder);
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
    const int descriptor = open_to_look(settings.file);
    if (descriptor < 0) return 0;
    struct flock holder = lock_of(kTurn);
    const bool isTold = fcntl(descriptor, F_GETLK, &holder) == 0;
    close(descriptor);
    if (!isTold || holder.l_type == F_UNLCK) return 0;
    return holder.l_pid > 0 ? holder.l_pid : kUnknownHolder;
}

SetAtRest::SetAtRest(std::string file, std::string set)
    : file_(std::move(file)), set_(std::move(set)), before_(look()) {}

/// The file's state first, so that any later change shows in the next look.
SetAtRest::Look SetAtRest::look() const {
    Look seen;
    // As above: closing the file would drop this process's own lock.
    seen.isInHand = heldDescriptor >= 0;
    const int descriptor = seen.isInHand ? -1 : open_to_look(file_);
    if (descriptor < 0) return seen;
    fstat(descriptor, &seen.file);
    seen.isInHand = is_locked(descriptor, byte_of(set_)) ||
                    (!is_locked(descriptor, kNamesSets) && is_locked(descriptor, kTurn));
    close(descriptor);
    return seen;
}

bool SetAtRest::has_lasted() const {
    const Look after = look();
    return !before_.isInHand && !after.isInHand && is_same_file(before_.file, after.file) &&
           before_.file.st_atime == after.file.st_atime;
}

void take_turn_from(pid_t process, const TurnSettings& settings) {
    const int descriptor = open_to_look(settings.file);
    if (descriptor < 0) return;
    struct flock holder = lock_of(kTurn);
    if (fcntl(descriptor, F_GETLK, &holder) == 0 && holder.l_type != F_UNLCK &&
        holder.l_pid == process) {
        remove_file(descriptor, settings.file);
    }
    close(descriptor);
}

}  // namespace texprobe
