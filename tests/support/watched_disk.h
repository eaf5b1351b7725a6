// SQLite's own file layer with a listener in front: a test counts, records or refuses what reaches
// the disk. Registered under the layer's own name, since the store asks for it by name.

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
    /// Of a write: where and what. Of a truncation: the new size.
    sqlite3_int64 offset = 0;
    std::string_view bytes = {};
};

/// One at a time. Databases that are open when it begins or ends stay with the layer they have.
class WatchedDisk {
public:
    /// Returns SQLITE_OK to let the event happen, or the error that it ends in.
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
