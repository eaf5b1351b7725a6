#include "watched_disk.h"

#include <unistd.h>

#include <cerrno>
#include <new>
#include <stdexcept>
#include <utility>

namespace texprobe::tests {

namespace {

sqlite3_vfs* realVfs = nullptr;
WatchedDisk::Listener listener;

/// What the real VFS's file is followed by.
struct Watch {
    const char* path;
    const sqlite3_io_methods* methods;  ///< The real ones.
    sqlite3_io_methods watched;         ///< Those with ours.
};

Watch& watch_of(sqlite3_file* file) {
    return *reinterpret_cast<Watch*>(reinterpret_cast<char*>(file) + realVfs->szOsFile);
}

int tell(DiskEvent::Kind kind, const char* path, sqlite3_int64 offset = 0,
         std::string_view bytes = {}) {
    const int code = path ? listener({kind, path, offset, bytes}) : SQLITE_OK;
    // SQLite reads the reason from errno.
    if (code != SQLITE_OK) errno = code == SQLITE_FULL ? ENOSPC : EIO;
    return code;
}

int file_write(sqlite3_file* file, const void* bytes, int size, sqlite3_int64 offset) {
    const Watch& watch = watch_of(file);
    const std::string_view view(static_cast<const char*>(bytes), static_cast<std::size_t>(size));
    const int code = tell(DiskEvent::kWrite, watch.path, offset, view);
    return code != SQLITE_OK ? code : watch.methods->xWrite(file, bytes, size, offset);
}

int file_truncate(sqlite3_file* file, sqlite3_int64 size) {
    const Watch& watch = watch_of(file);
    const int code = tell(DiskEvent::kTruncate, watch.path, size);
    return code != SQLITE_OK ? code : watch.methods->xTruncate(file, size);
}

/// Reported but not done: no test cuts the power, and most of them would only wait for syncs.
int file_sync(sqlite3_file* file, int) {
    return tell(DiskEvent::kSync, watch_of(file).path);
}

int file_shm_map(sqlite3_file* file, int region, int size, int extend, void volatile** mapped) {
    const Watch& watch = watch_of(file);
    const int code = extend ? tell(DiskEvent::kShare, watch.path) : SQLITE_OK;
    return code != SQLITE_OK ? code : watch.methods->xShmMap(file, region, size, extend, mapped);
}

int disk_open(sqlite3_vfs*, const char* path, sqlite3_file* file, int flags, int* outFlags) {
    file->pMethods = nullptr;
    if (path && (flags & SQLITE_OPEN_CREATE) && access(path, F_OK) != 0) {
        const int code = tell(DiskEvent::kCreate, path);
        if (code != SQLITE_OK) return code;
    }
    const int code = realVfs->xOpen(realVfs, path, file, flags, outFlags);
    if (code != SQLITE_OK) return code;
    Watch& watch = *new (&watch_of(file)) Watch{path, file->pMethods, *file->pMethods};
    watch.watched.xWrite = file_write;
    watch.watched.xTruncate = file_truncate;
    watch.watched.xSync = file_sync;
    watch.watched.xShmMap = file_shm_map;
    file->pMethods = &watch.watched;
    return code;
}

int disk_delete(sqlite3_vfs*, const char* path, int syncDirectory) {
    const int code = tell(DiskEvent::kDelete, path, syncDirectory);
    return code != SQLITE_OK ? code : realVfs->xDelete(realVfs, path, 0);
}

}  // namespace

WatchedDisk::WatchedDisk(Listener itsListener) {
    if (realVfs) throw std::logic_error("the disk is watched already");
    sqlite3_initialize();
    realVfs = sqlite3_vfs_find("unix");
    if (!realVfs) throw std::runtime_error("SQLite has no file layer named unix");
    listener = std::move(itsListener);
    vfs_ = *realVfs;
    vfs_.szOsFile += static_cast<int>(sizeof(Watch));
    vfs_.xOpen = disk_open;
    vfs_.xDelete = disk_delete;
    // As the default it takes precedence over the real one of the same name.
    sqlite3_vfs_register(&vfs_, 1);
}

WatchedDisk::~WatchedDisk() {
    sqlite3_vfs_unregister(&vfs_);
    sqlite3_vfs_register(realVfs, 1);
    realVfs = nullptr;
}

}  // namespace texprobe::tests
