#include "files.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <filesystem>

namespace texprobe::platform {

namespace {

constexpr mode_t kPrivateDirectory = 0700;
constexpr mode_t kPrivateFile = 0600;

std::string parent_of(const std::string& path) {
    return std::filesystem::path(path).parent_path();
}

Status make_one_directory(const std::string& path) {
    if (mkdir(path.c_str(), kPrivateDirectory) != 0) {
        return errno == EEXIST ? Status() : Status::system(path, errno);
    }
    // The umask may have taken away even the owner's rights.
    chmod(path.c_str(), kPrivateDirectory);
    const int parent = ::open(parent_of(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    fsync(parent);
    close(parent);
    return {};
}

void set_mode(const std::string& path, mode_t mode) {
    struct stat status;
    if (stat(path.c_str(), &status) == 0 && (status.st_mode & 07777) != mode) {
        chmod(path.c_str(), mode);
    }
}

/// Gives a file a second name, replacing any file that had it. Without a file, removes the name.
Status keep_as(const std::string& path, const std::string& kept) {
    const std::string linked = kept + ".new";
    unlink(linked.c_str());
    if (link(path.c_str(), linked.c_str()) == 0) {
        if (rename(linked.c_str(), kept.c_str()) == 0) return {};
    } else if (errno == ENOENT && (unlink(kept.c_str()) == 0 || errno == ENOENT)) {
        return {};
    }
    return Status::system(path, errno);
}

}  // namespace

std::optional<FileIdentity> identity_of(const std::string& path) {
    struct stat status;
    if (stat(path.c_str(), &status) != 0) return std::nullopt;
    return FileIdentity{status.st_dev, status.st_ino};
}

Status make_directory(const std::string& directory) {
    const Status status = make_one_directory(parent_of(directory));
    return status.ok() ? make_one_directory(directory) : status;
}

Status make_file(const std::string& path) {
    const int flags = O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC;
    const int descriptor = ::open(path.c_str(), flags, kPrivateFile);
    if (descriptor < 0) return errno == EEXIST ? Status() : Status::system(path, errno);
    fchmod(descriptor, kPrivateFile);
    close(descriptor);
    return {};
}

Status check(const std::string& path, mode_t type) {
    struct stat status;
    if (stat(path.c_str(), &status) != 0) return Status::system(path, errno);
    if ((status.st_mode & S_IFMT) != type) {
        const bool isFile = type == S_IFREG;
        return {Status::kUnusable, path,
                isFile ? "it is not a regular file" : "it is not a directory"};
    }
    if (status.st_uid == geteuid()) return {};
    return {Status::kUnusable, path, "it belongs to another user"};
}

void make_private(const std::string& directory, const std::string& path) {
    set_mode(directory, kPrivateDirectory);
    for (const char* suffix : {"", "-wal", "-shm", "-journal"}) {
        set_mode(path + suffix, kPrivateFile);
    }
}

bool is_local_file_system(unsigned long type) {
    constexpr std::array<unsigned long, 8> kTypes = {
        0xEF53,      // ext4 and its forerunners
        0x58465342,  // XFS
        0x9123683E,  // Btrfs
        0xF2F52010,  // F2FS
        0x2FC12FC1,  // ZFS
        0xCA451A4E,  // bcachefs
        0x01021994,  // tmpfs
        0x794C7630,  // overlayfs
    };
    return std::find(kTypes.begin(), kTypes.end(), type) != kTypes.end();
}

bool is_on_local_disk(const std::string& path) {
    struct statfs status;
    // The field is signed on some machines; its 32 bits are the type.
    return statfs(path.c_str(), &status) == 0 &&
           is_local_file_system(static_cast<unsigned long>(status.f_type) & 0xFFFFFFFF);
}

Status put_aside(const std::string& path) {
    const std::string kept = path + ".damaged";
    const std::string fresh = path + ".new";
    // The old files first get second names and keep both until one rename puts the new file in
    // place. SQLite deletes a log that it finds beside an empty database.
    unlink(fresh.c_str());
    Status status = make_file(fresh);
    for (const char* suffix : {"", "-wal", "-journal"}) {
        if (status.ok()) status = keep_as(path + suffix, kept + suffix);
    }
    if (!status.ok()) return status;
    // SQLite would take the old log's index for the new log's.
    unlink((path + "-shm").c_str());
    if (rename(fresh.c_str(), path.c_str()) != 0) return Status::system(path, errno);
    unlink((path + "-wal").c_str());
    unlink((path + "-journal").c_str());
    return {};
}

DirectoryLock::DirectoryLock(const std::string& directory, Mode mode)
    : descriptor_(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    if (descriptor_ < 0) {
        status_ = Status::system(directory, errno);
    } else if (flock(descriptor_, (mode == kShared ? LOCK_SH : LOCK_EX) | LOCK_NB) != 0 &&
               errno == EWOULDBLOCK) {
        status_ = {Status::kLocked, directory, "another process keeps it locked"};
    }
}

DirectoryLock::~DirectoryLock() {
    if (descriptor_ >= 0) close(descriptor_);
}

}  // namespace texprobe::platform
