// The preferences of Linux: one SQLite database.

#include <RecordStore/location.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <memory>

#include "doctor.h"

namespace texprobe::ctl {

namespace {

std::string octal(mode_t mode) {
    std::array<char, 8> text;
    std::snprintf(text.data(), text.size(), "%04o", static_cast<unsigned>(mode & 07777U));
    return text.data();
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
    store.place = folder + "/records.sqlite3";
    struct stat status = {};
    if (lstat(folder.c_str(), &status) == 0) store.folderMode = octal(status.st_mode);
    if (lstat(store.place.c_str(), &status) != 0) {
        store.health = "nothing is recorded yet";
        return store;
    }
    store.exists = true;
    store.isOwn = status.st_uid == getuid();
    store.fileMode = octal(status.st_mode);
    store.bytes = static_cast<std::size_t>(status.st_size);
    store.health = check(store.place);
    return store;
}

}  // namespace texprobe::ctl
