// The records' directory and the database's file in it: where they are, whose they are, who may
// read them, and the lock under which the file may be exchanged for another one. Knows nothing of
// SQLite but the names of the files that it keeps beside a database.

#ifndef TEXPROBE_PLATFORM_STORE_FILES_H
#define TEXPROBE_PLATFORM_STORE_FILES_H

#include <sys/stat.h>
#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>

namespace texprobe::platform {

/// What went wrong with which file.
struct Problem {
    std::string path;
    std::string reason;
    /// What the system said; 0 where it was not the system that refused.
    int error = 0;
    /// The file's content is at fault, so that a new file would be better.
    bool is_damage = false;
};

/// The file itself, whatever its name.
struct Identity {
    dev_t device = 0;
    ino_t inode = 0;
    bool operator==(const Identity&) const = default;
};

/// The file that `path` leads to; none (and errno) where there is none.
std::optional<Identity> identity_of(const std::string& path);

/// Makes the directory, and the one above it, where they are missing; never the one above that,
/// which would be the user's home. Its name is on disk when this returns.
std::optional<Problem> make_directory(const std::string& directory);

/// Makes an empty file where there is none; check_file makes it private. Its name is on disk when
/// this returns.
std::optional<Problem> make_file(const std::string& path);

/// Refuses what is not this user's own, or is reached through a link that is neither this user's
/// nor the system administrator's; makes the rest private: 0700 and 0600.
std::optional<Problem> check_directory(const std::string& directory);
std::optional<Problem> check_file(const std::string& path);

/// The first of the links on the way to `path` that somebody else made.
std::optional<std::string> foreign_link(const std::string& path);

/// Whether the file system is shared by machines, so that memory mapped on one is not seen on
/// another. `type` is what statfs says.
bool is_network_file_system(unsigned long type);
bool is_on_network(const std::string& path);

/// Why this process may not change the file or the directory; 0 when it may.
int writing_error(const std::string& path);

/// Renames a database and what SQLite keeps beside it, and says how it is called now.
std::optional<Problem> set_aside(const std::string& path, std::string* aside);

/// Held by everyone who works with the database, shared; held alone by who exchanges its file,
/// since SQLite deletes and makes files by name. A file system whose directories cannot be locked
/// (some network ones) is used without.
class DirectoryLock {
public:
    enum class Mode { kShared, kAlone };
    DirectoryLock(const std::string& directory, Mode mode, std::chrono::milliseconds patience);
    ~DirectoryLock();
    DirectoryLock(const DirectoryLock&) = delete;
    DirectoryLock& operator=(const DirectoryLock&) = delete;

    /// 0, or why the directory cannot be used.
    int error() const { return error_; }

private:
    int descriptor_;
    int error_ = 0;
};

}  // namespace texprobe::platform

#endif
