// The directory of the records and the database's files in it: making them, whose they are, and
// putting a damaged database aside. Knows nothing of SQLite but the names of the files that it
// keeps beside a database.

#ifndef TEXPROBE_PLATFORM_FILES_H
#define TEXPROBE_PLATFORM_FILES_H

#include <sys/types.h>

#include <optional>
#include <string>

#include "status.h"

namespace texprobe::platform {

/// Which file a path leads to, whatever its name.
struct Identity {
    dev_t device = 0;
    ino_t inode = 0;
    bool operator==(const Identity&) const = default;
};

/// None where there is no file.
std::optional<Identity> identity_of(const std::string& path);

/// Makes the directory and the one above it where they are missing, both private; never the one
/// above that, which would be the user's home. Their names are on disk when this returns.
Status make_directory(const std::string& directory);

/// Makes an empty private file where there is none.
Status make_file(const std::string& path);

/// Refuses what is not this user's own or not of `type` (S_IFDIR or S_IFREG).
Status check(const std::string& path, mode_t type);

/// Gives a store that is known to be ours, and is open to others, its modes: 0700 and 0600.
void make_private(const std::string& directory, const std::string& path);

/// Whether the file system is known to be this machine's alone. Memory that is mapped from a shared
/// one, or through FUSE, is not seen by all who have the file open. `type` is what statfs says.
bool is_local_file_system(unsigned long type);
bool is_on_local_disk(const std::string& path);

/// Replaces a damaged database by an empty file. The old one is kept with its log as `path` with
/// ".damaged" appended, in place of the one that was kept before. Whatever fails or dies in the
/// middle, `path` is the old database with its log or the new one.
Status put_aside(const std::string& path);

/// Held shared while the database is in use, and alone while its file is replaced, because SQLite
/// makes and deletes the files beside it by name. Does not wait: kLocked when somebody else has it.
/// Where directories cannot be locked (some network file systems) it is as if held.
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
