#include "watched_disk.h"

#include <unistd.h>

#include <cerrno>
#include <new>
#include <stdexcept>
#include <utility>

namespace texprobe::tests {

namespace {

sqlite3_vfs* realVfs = nullptr;
int sizeOfRealFile = 0;
WatchedDisk::Listener listener;

/// Beside each real file: its methods, and those in their place, which are the same but for a few.
struct Watched {
    const char* path;
    const sqlite3_io_methods* real;
    sqlite3_io_methods methods;
};

void* beside(sqlite3_file* file) {
    return reinterpret_cast<char*>(file) + sizeOfRealFile;
}

const Watched& watched(sqlite3_file* file) {
    return *static_cast<Watched*>(beside(file));
}

int tell(DiskEvent::Kind kind, const char* path, sqlite3_int64 offset = 0,
         std::string_view bytes = {}) {
    const int code = path ? listener({kind, path, offset, bytes}) : SQLITE_OK;
    // SQLite reads the reason from errno.
    if (code != SQLITE_OK) errno = code == SQLITE_FULL ? ENOSPC : EIO;
    return code;
}

int file_write(sqlite3_file* file, const void* bytes, int size, sqlite3_int64 offset) {
    const std::string_view view(static_cast<const char*>(bytes), static_cast<std::size_t>(size));
    const int code = tell(DiskEvent::kWrite, watched(file).path, offset, view);
    return code != SQLITE_OK ? code : watched(file).real->xWrite(file, bytes, size, offset);
}

int file_truncate(sqlite3_file* file, sqlite3_int64 size) {
    const int code = tell(DiskEvent::kTruncate, watched(file).path, size);
    return code != SQLITE_OK ? code : watched(file).real->xTruncate(file, size);
}

/// Reported but not done: no test cuts the power, and most of them would only wait for syncs.
int file_sync(sqlite3_file* file, int) {
    return tell(DiskEvent::kSync, watched(file).path);
}

int file_shm_map(sqlite3_file* file, int region, int size, int extend, void volatile** mapped) {
    const int code = extend ? tell(DiskEvent::kShare, watched(file).path) : SQLITE_OK;
    return code != SQLITE_OK ? code
                             : watched(file).real->xShmMap(file, region, size, extend, mapped);
}

int disk_open(sqlite3_vfs*, const char* path, sqlite3_file* file, int flags, int* outFlags) {
    file->pMethods = nullptr;
    if (path && (flags & SQLITE_OPEN_CREATE) && access(path, F_OK) != 0) {
        const int code = tell(DiskEvent::kCreate, path);
        if (code != SQLITE_OK) return code;
    }
    const int code = realVfs->xOpen(realVfs, path, file, flags, outFlags);
    if (code != SQLITE_OK) return code;
    auto& opened = *new (beside(file)) Watched{path, file->pMethods, *file->pMethods};
    opened.methods.xWrite = file_write;
    opened.methods.xTruncate = file_truncate;
    opened.methods.xSync = file_sync;
    opened.methods.xShmMap = file_shm_map;
    file->pMethods = &opened.methods;
    return SQLITE_OK;
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
    sizeOfRealFile = realVfs->szOsFile;
    vfs_ = *realVfs;
    vfs_.szOsFile = sizeOfRealFile + static_cast<int>(sizeof(Watched));
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
