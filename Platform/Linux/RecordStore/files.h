// The directory of the records and the database's files in it: creating them, checking their owner,
// and putting a damaged database aside. All it knows of SQLite is the names of the files beside a
// database.

#ifndef TEXPROBE_PLATFORM_FILES_H
#define TEXPROBE_PLATFORM_FILES_H

#include <sys/types.h>

#include <optional>
#include <string>

#include "status.h"

namespace texprobe::platform {

/// The identity of a file, under any name.
struct FileIdentity {
    dev_t device = 0;
    ino_t inode = 0;
    bool operator==(const FileIdentity&) const = default;
};

/// Nothing if there is no file.
std::optional<FileIdentity> identity_of(const std::string& path);

/// Creates the directory and its parent if they are missing, both private, but never the parent's
/// parent, which would be the user's home. The new entries are on disk when this returns.
Status make_directory(const std::string& directory);

/// Creates an empty private file if there is none.
Status make_file(const std::string& path);

/// Fails for a file that is not this user's own or not of `type` (S_IFDIR or S_IFREG).
Status check(const std::string& path, mode_t type);

/// Restores the modes 0700 and 0600 of a store that is ours but open to others.
void make_private(const std::string& directory, const std::string& path);

/// Is the file system known to be local? On a network file system or FUSE, processes that map the
/// same file may not share its memory. `type` is the one from statfs.
bool is_local_file_system(unsigned long type);
bool is_on_local_disk(const std::string& path);

/// Replaces a damaged database by an empty file. The old one and its log are kept under `path` with
/// ".damaged" appended, replacing any that were kept before. If this fails or the process dies,
/// `path` is either the old database with its log or the new one.
Status put_aside(const std::string& path);

/// A lock: shared while the database is in use, exclusive while its file is replaced, because
/// SQLite creates and deletes the files beside it by name. Never waits: kLocked if another process
/// has it. Where directories cannot be locked (some network file systems), it always succeeds.
class DirectoryLock {
public:
    enum Mode { kShared, kAlone };
    DirectoryLock(const std::string& directory, Mode mode);
    ~DirectoryLock();
    DirectoryLock(const DirectoryLock&) = delete;
    DirectoryLock& operator=(const DirectoryLock&) = delete;

    const Status& status() const { return status_; }

private:
    int descriptor_;
    Status status_;
};

}  // namespace texprobe::platform

#endif
