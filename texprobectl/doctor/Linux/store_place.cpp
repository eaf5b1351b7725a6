// The preferences of Linux: one SQLite database.

#include <RecordStore/location.h>
#include <RecordStore/user_home.h>
#include <fmt/format.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <memory>

#include "doctor/doctor.h"

namespace texprobe::ctl {

namespace {

std::string octal(mode_t mode) {
    return fmt::format("{:04o}", mode & 07777U);
}

/// "good", or SQLite's own word.
std::string check(const std::string& file) {
    struct Close {
        void operator()(sqlite3* database) const { sqlite3_close(database); }
        void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
    };
    sqlite3* opened = nullptr;
    const int code = sqlite3_open_v2(file.c_str(), &opened, SQLITE_OPEN_READONLY, nullptr);
    const std::unique_ptr<sqlite3, Close> database(opened);
    if (code != SQLITE_OK) return sqlite3_errmsg(opened);
    sqlite3_busy_timeout(opened, 1000);
    sqlite3_stmt* prepared = nullptr;
    if (sqlite3_prepare_v2(opened, "PRAGMA quick_check(1)", -1, &prepared, nullptr) != SQLITE_OK) {
        return sqlite3_errmsg(opened);
    }
    const std::unique_ptr<sqlite3_stmt, Close> statement(prepared);
    if (sqlite3_step(prepared) != SQLITE_ROW) return sqlite3_errmsg(opened);
    const std::string word = reinterpret_cast<const char*>(sqlite3_column_text(prepared, 0));
    return word == "ok" ? "good" : word;
}

}  // namespace

ExaminedStore examine_store() {
    const std::string folder = platform::records_directory();
    ExaminedStore store;
    if (folder.empty()) {
        store.place = "nowhere";
        store.health = "the user has no home directory: " + platform::home_of_user().missing;
        return store;
    }
    store.place = folder + "/records.sqlite3";
    struct stat status = {};
    if (lstat(folder.c_str(), &status) == 0) store.folderMode = octal(status.st_mode);
    if (lstat(store.place.c_str(), &status) != 0) {
        store.health = errno == ENOENT ? "nothing is recorded yet" : std::strerror(errno);
        return store;
    }
    store.exists = true;
    // Of the link's target, which is the file that the tool sees.
    const int error = stat(store.place.c_str(), &status) == 0 ? 0 : errno;
    store.isOwn = status.st_uid == getuid();
    store.fileMode = octal(status.st_mode);
    store.bytes = static_cast<std::size_t>(status.st_size);
    if (error != 0) {
        store.health = std::strerror(error);
    } else if (!S_ISREG(status.st_mode)) {
        // Opening it might never come back, and an endless one looks good.
        store.health = "it is not a regular file";
    } else {
        store.health = check(store.place);
    }
    return store;
}

}  // namespace texprobe::ctl
