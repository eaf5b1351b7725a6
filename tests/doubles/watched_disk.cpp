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

/// What SQLite sees as a file: the methods come first, followed by the real file.
struct File {
    sqlite3_file base;
    const char* path;

    sqlite3_file* real() { return reinterpret_cast<sqlite3_file*>(this + 1); }
};

File& file_of(sqlite3_file* file) {
    return *reinterpret_cast<File*>(file);
}

sqlite3_file* real(sqlite3_file* file) {
    return file_of(file).real();
}

const sqlite3_io_methods& methods(sqlite3_file* file) {
    return *real(file)->pMethods;
}

int tell(DiskEvent::Kind kind, const char* path, sqlite3_int64 offset = 0,
         std::string_view bytes = {}) {
    const int code = path ? listener({kind, path, offset, bytes}) : SQLITE_OK;
    // SQLite reads the reason from errno.
    if (code != SQLITE_OK) errno = code == SQLITE_FULL ? ENOSPC : EIO;
    return code;
}

int file_close(sqlite3_file* file) {
    return methods(file).xClose(real(file));
}

int file_read(sqlite3_file* file, void* buffer, int size, sqlite3_int64 offset) {
    return methods(file).xRead(real(file), buffer, size, offset);
}

int file_write(sqlite3_file* file, const void* bytes, int size, sqlite3_int64 offset) {
    const std::string_view view(static_cast<const char*>(bytes), static_cast<std::size_t>(size));
    const int code = tell(DiskEvent::kWrite, file_of(file).path, offset, view);
    return code != SQLITE_OK ? code : methods(file).xWrite(real(file), bytes, size, offset);
}

int file_truncate(sqlite3_file* file, sqlite3_int64 size) {
    const int code = tell(DiskEvent::kTruncate, file_of(file).path, size);
    return code != SQLITE_OK ? code : methods(file).xTruncate(real(file), size);
}

/// Reported but not done: no test cuts the power, and most of them would only wait for syncs.
int file_sync(sqlite3_file* file, int) {
    return tell(DiskEvent::kSync, file_of(file).path);
}

int file_size(sqlite3_file* file, sqlite3_int64* size) {
    return methods(file).xFileSize(real(file), size);
}

int file_lock(sqlite3_file* file, int level) {
    return methods(file).xLock(real(file), level);
}

int file_unlock(sqlite3_file* file, int level) {
    return methods(file).xUnlock(real(file), level);
}

int file_check_reserved_lock(sqlite3_file* file, int* reserved) {
    return methods(file).xCheckReservedLock(real(file), reserved);
}

int file_control(sqlite3_file* file, int operation, void* argument) {
    return methods(file).xFileControl(real(file), operation, argument);
}

int file_sector_size(sqlite3_file* file) {
    return methods(file).xSectorSize(real(file));
}

int file_device_characteristics(sqlite3_file* file) {
    return methods(file).xDeviceCharacteristics(real(file));
}

int file_shm_map(sqlite3_file* file, int region, int size, int extend, void volatile** mapped) {
    const int code = extend ? tell(DiskEvent::kShare, file_of(file).path) : SQLITE_OK;
    return code != SQLITE_OK ? code
                             : methods(file).xShmMap(real(file), region, size, extend, mapped);
}

int file_shm_lock(sqlite3_file* file, int offset, int count, int flags) {
    return methods(file).xShmLock(real(file), offset, count, flags);
}

void file_shm_barrier(sqlite3_file* file) {
    methods(file).xShmBarrier(real(file));
}

int file_shm_unmap(sqlite3_file* file, int remove) {
    return methods(file).xShmUnmap(real(file), remove);
}

int file_fetch(sqlite3_file* file, sqlite3_int64 offset, int size, void** fetched) {
    return methods(file).xFetch(real(file), offset, size, fetched);
}

int file_unfetch(sqlite3_file* file, sqlite3_int64 offset, void* fetched) {
    return methods(file).xUnfetch(real(file), offset, fetched);
}

constexpr sqlite3_io_methods kMethods = {3,
                                         file_close,
                                         file_read,
                                         file_write,
                                         file_truncate,
                                         file_sync,
                                         file_size,
                                         file_lock,
                                         file_unlock,
                                         file_check_reserved_lock,
                                         file_control,
                                         file_sector_size,
                                         file_device_characteristics,
                                         file_shm_map,
                                         file_shm_lock,
                                         file_shm_barrier,
                                         file_shm_unmap,
                                         file_fetch,
                                         file_unfetch};

int disk_open(sqlite3_vfs*, const char* path, sqlite3_file* file, int flags, int* outFlags) {
    File* opened = new (file) File{{nullptr}, path};
    if (path && (flags & SQLITE_OPEN_CREATE) && access(path, F_OK) != 0) {
        const int code = tell(DiskEvent::kCreate, path);
        if (code != SQLITE_OK) return code;
    }
    const int code = realVfs->xOpen(realVfs, path, opened->real(), flags, outFlags);
    if (code == SQLITE_OK) file->pMethods = &kMethods;
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
    vfs_.szOsFile = static_cast<int>(sizeof(File)) + realVfs->szOsFile;
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
