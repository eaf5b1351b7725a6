#include "store_files.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <thread>
#include <vector>

namespace texprobe::platform {

namespace {

constexpr mode_t kPrivateDirectory = 0700;
constexpr mode_t kPrivateFile = 0600;
constexpr std::array<const char*, 3> kCompanions = {"-wal", "-shm", "-journal"};

std::optional<Problem> problem(const std::string& path, int error) {
    return Problem{path, std::strerror(error), error};
}

std::optional<Problem> refusal(const std::string& path, const char* reason) {
    return Problem{path, reason};
}

std::string parent_of(const std::string& path) {
    return std::filesystem::path(path).parent_path();
}

/// Puts the names in a directory on disk, as far as the file system can.
void sync_names(const std::string& directory) {
    const int descriptor = ::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0) return;
    fsync(descriptor);
    close(descriptor);
}

std::optional<Problem> make_one_directory(const std::string& path) {
    if (mkdir(path.c_str(), kPrivateDirectory) == 0) {
        // The umask may have taken away even the owner's rights.
        chmod(path.c_str(), kPrivateDirectory);
        sync_names(parent_of(path));
        return std::nullopt;
    }
    if (errno != EEXIST) return problem(path, errno);
    struct stat status;
    if (stat(path.c_str(), &status) != 0) {
        return errno == ENOENT ? refusal(path, "it is a link to nothing") : problem(path, errno);
    }
    return S_ISDIR(status.st_mode) ? std::nullopt : problem(path, ENOTDIR);
}

std::optional<Problem> make_private(const std::string& path, const struct stat& status,
                                    mode_t mode) {
    if (status.st_uid != geteuid()) return refusal(path, "it belongs to another user");
    if ((status.st_mode & 07777) == mode || chmod(path.c_str(), mode) == 0) return std::nullopt;
    // What cannot be written anyway cannot be spoilt by others either.
    return errno == EROFS ? std::nullopt : problem(path, errno);
}

}  // namespace

std::optional<Identity> identity_of(const std::string& path) {
    struct stat status;
    if (stat(path.c_str(), &status) != 0) return std::nullopt;
    return Identity{status.st_dev, status.st_ino};
}

std::optional<Problem> make_directory(const std::string& directory) {
    if (auto failed = make_one_directory(parent_of(directory))) return failed;
    return make_one_directory(directory);
}

std::optional<Problem> make_file(const std::string& path) {
    const int flags = O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    const int descriptor = ::open(path.c_str(), flags, kPrivateFile);
    if (descriptor >= 0) {
        close(descriptor);
        sync_names(parent_of(path));
        return std::nullopt;
    }
    if (errno != EEXIST) return problem(path, errno);
    return identity_of(path) ? std::nullopt : refusal(path, "it is a link to nothing");
}

std::optional<Problem> check_directory(const std::string& directory) {
    if (const auto link = foreign_link(directory)) {
        return refusal(*link, "it is a link that another user made");
    }
    struct stat status;
    if (stat(directory.c_str(), &status) != 0) return problem(directory, errno);
    if (!S_ISDIR(status.st_mode)) return problem(directory, ENOTDIR);
    return make_private(directory, status, kPrivateDirectory);
}

std::optional<Problem> check_file(const std::string& path) {
    if (const auto link = foreign_link(path)) {
        return refusal(*link, "it is a link that another user made");
    }
    struct stat status;
    if (stat(path.c_str(), &status) != 0) return problem(path, errno);
    if (!S_ISREG(status.st_mode)) return refusal(path, "it is not a regular file");
    if (auto refused = make_private(path, status, kPrivateFile)) return refused;
    for (const char* suffix : kCompanions) {
        const std::string companion = path + suffix;
        if (lstat(companion.c_str(), &status) != 0) continue;
        if (!S_ISREG(status.st_mode)) return refusal(companion, "it is not a regular file");
        if (auto refused = make_private(companion, status, kPrivateFile)) return refused;
    }
    return std::nullopt;
}

std::optional<std::string> foreign_link(const std::string& path) {
    namespace fs = std::filesystem;
    constexpr int kMostLinks = 40;  // as many as the kernel follows
    std::vector<fs::path> ahead;    // the next component last
    const auto go_on_with = [&ahead](const fs::path& way) {
        const std::vector<fs::path> components(way.begin(), way.end());
        ahead.insert(ahead.end(), components.rbegin(), components.rend());
    };
    go_on_with(path);
    fs::path reached;
    for (int links = 0; !ahead.empty() && links <= kMostLinks;) {
        const fs::path next = reached / ahead.back();
        ahead.pop_back();
        struct stat status;
        if (lstat(next.c_str(), &status) != 0) return std::nullopt;
        if (!S_ISLNK(status.st_mode)) {
            reached = next;
            continue;
        }
        if (status.st_uid != geteuid() && status.st_uid != 0) return next;
        std::error_code unreadable;
        go_on_with(fs::read_symlink(next, unreadable));
        ++links;
    }
    return std::nullopt;
}

bool is_network_file_system(unsigned long type) {
    constexpr std::array<unsigned long, 17> kTypes = {
        0x6969,      // NFS
        0x517B,      // SMB
        0xFF534D42,  // CIFS
        0xFE534D42,  // SMB 2
        0x564C,      // NCP
        0x73757245,  // Coda
        0x5346414F,  // AFS
        0x6B414653,  // the kernel's AFS
        0x00C36400,  // Ceph
        0x01021997,  // 9P
        0x01161970,  // GFS2
        0x7461636F,  // OCFS2
        0x0BD00BD0,  // Lustre
        0x47504653,  // GPFS
        0x19830326,  // BeeGFS
        0x786F4256,  // VirtualBox's shared folders
        0x65735546,  // FUSE, behind which may be any of them
    };
    return std::find(kTypes.begin(), kTypes.end(), type) != kTypes.end();
}

bool is_on_network(const std::string& path) {
    struct statfs status;
    // The field is signed on some machines; its 32 bits are the type.
    return statfs(path.c_str(), &status) == 0 &&
           is_network_file_system(static_cast<unsigned long>(status.f_type) & 0xFFFFFFFF);
}

int writing_error(const std::string& path) {
    return faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) == 0 ? 0 : errno;
}

std::optional<Problem> set_aside(const std::string& path, std::string* aside) {
    // A disk that damages everything must not be filled with what it damaged: the last of these
    // names is used again and again.
    constexpr int kMostKept = 9;
    int number = 1;
    do {
        *aside = path + ".damaged-" + std::to_string(number);
    } while (identity_of(*aside) && ++number <= kMostKept);
    // The database last: what lies beside it would otherwise be taken for the new one's.
    for (const char* suffix : kCompanions) {
        if (rename((path + suffix).c_str(), (*aside + suffix).c_str()) != 0 && errno != ENOENT) {
            return problem(path + suffix, errno);
        }
    }
    if (rename(path.c_str(), aside->c_str()) != 0) return problem(path, errno);
    sync_names(parent_of(path));
    return std::nullopt;
}

DirectoryLock::DirectoryLock(const std::string& directory, Mode mode,
                             std::chrono::milliseconds patience)
    : descriptor_(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    if (descriptor_ < 0) {
        error_ = errno;
        return;
    }
    using Clock = std::chrono::steady_clock;
    const Clock::time_point deadline = Clock::now() + patience;
    const int operation = (mode == Mode::kShared ? LOCK_SH : LOCK_EX) | LOCK_NB;
    while (flock(descriptor_, operation) != 0 && (errno == EWOULDBLOCK || errno == EINTR)) {
        if (Clock::now() >= deadline) {
            error_ = EWOULDBLOCK;
            return;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

DirectoryLock::~DirectoryLock() {
    if (descriptor_ >= 0) close(descriptor_);
}

}  // namespace texprobe::platform
