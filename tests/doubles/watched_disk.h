// SQLite's own VFS behind a listener: a test counts, records or refuses what reaches the disk. It
// is registered under the original's name, because the store asks for that.

#ifndef TEXPROBE_TESTS_WATCHED_DISK_H
#define TEXPROBE_TESTS_WATCHED_DISK_H

#include <sqlite3.h>

#include <functional>
#include <string>
#include <string_view>

namespace texprobe::tests {

/// Something that is about to happen to a file.
struct DiskEvent {
    enum Kind { kCreate, kWrite, kTruncate, kSync, kDelete, kShare };
    Kind kind;
    std::string_view path;
    /// For a write: its position and bytes. For a truncation: the new size.
    sqlite3_int64 offset = 0;
    std::string_view bytes = {};
};

/// One at a time. Databases that are open when it is created or destroyed keep their VFS.
class WatchedDisk {
public:
    /// Returns SQLITE_OK to let the event happen, or the error to fail with.
    using Listener = std::function<int(const DiskEvent&)>;

    explicit WatchedDisk(Listener listener);
    ~WatchedDisk();
    WatchedDisk(const WatchedDisk&) = delete;
    WatchedDisk& operator=(const WatchedDisk&) = delete;

private:
    sqlite3_vfs vfs_;
};

}  // namespace texprobe::tests

#endif
