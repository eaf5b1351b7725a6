// One open database of records: its table, settings and statements. Contents that another program
// wrote, or that are damaged, are handled here and nowhere else.
//
// A record has a type and a value that must match: a "boolean" is the INTEGER 0 or 1, a "double" a
// REAL, a "string" a TEXT. A double that SQLite does not promise to keep (it turns NaN into NULL)
// is a BLOB of its eight bytes, big-endian. Anything else is no record. Other tables, indexes,
// views and triggers in the file are left alone and never executed.

#ifndef TEXPROBE_PLATFORM_DATABASE_H
#define TEXPROBE_PLATFORM_DATABASE_H

#include <sqlite3.h>

#include <array>
#include <chrono>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <string_view>

#include "status.h"
#include "value.h"

namespace texprobe::platform {

/// Never waits for another process: returns kLocked instead. Not thread-safe. Until it is opened,
/// there is nothing to read in it.
class Database {
public:
    enum Purpose { kLook, kWrite };
    /// A log costs one disk write per commit, and needs memory that all its users share.
    enum Journal { kLog, kRollback };

    /// A statement that takes longer is aborted. Ours read one application's hundred records, which
    /// takes less than a millisecond. Only tests change the limit.
    static inline std::chrono::milliseconds longestStatement{1'000};

    Database() = default;
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    /// Opens an existing file; an empty one is a database without records. kLook changes nothing in
    /// it; `journal` only matters for kWrite.
    Status open(const std::string& path, Purpose purpose, Journal journal = kLog);

    /// The last writer to close checkpoints the log and deletes it by name. With `keepLog` the
    /// files stay as they are; that is safe even if their names refer to other files by now.
    void close(bool keepLog);

    bool is_open() const { return database_ != nullptr; }

    /// Replaces `records` by all records of one application; leaves them unchanged on failure.
    Status read(std::string_view application, Records* records);

    /// Replaces `texts` by the application's strings whose keys begin with `prefix`, which is not
    /// empty; leaves them unchanged on failure. Of a large set the rest is not read.
    Status read_texts(std::string_view application, std::string_view prefix, Texts* texts);

    /// Adds the names of all applications that have records.
    Status read_applications(std::set<std::string>* names);

    /// Makes the changes durable in one transaction and then replaces `records` by all records of
    /// the application. On failure nothing is changed. If no value differs, nothing is written to
    /// disk.
    Status write(std::string_view application, const RecordChanges& changes, Records* records);

private:
    struct Close {
        void operator()(sqlite3* database) const { sqlite3_close(database); }
    };
    struct Finalize {
        void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
    };
    enum Query {
        kTables,
        kVersion,
        kPages,
        kCheck,
        kApplications,
        kRead,
        kSet,
        kRemove,
        kQueryCount
    };

    // These return SQLite's result codes; the public functions return a Status.
    int open_file(const std::string& name, Purpose purpose);
    int configure();
    int learn_layout();
    int check_all(int code);
    int look_for_table();
    int read_records(std::string_view application, Records* records);
    int read_range(std::string_view application, std::string_view prefix,
                   const std::function<void(std::string_view key, Value value)>& take);
    int begin();
    int change(std::string_view application, std::string_view key,
               const std::optional<Value>& value);
    int execute(const char* sql);
    int prepare(Query query, sqlite3_stmt** statement);
    int ask(Query query, int* number);
    int reserve_room(std::string_view application);
    int extend_log();
    Status status_of(int code) const;
    static int is_out_of_time(void* database);

    std::string path_;
    Journal journal_ = kLog;
    std::unique_ptr<sqlite3, Close> database_;
    std::array<std::unique_ptr<sqlite3_stmt, Finalize>, kQueryCount> statements_;
    std::chrono::steady_clock::time_point deadline_;
    bool has_table_ = false;
    bool has_journal_ = false;
    bool has_whole_log_ = false;
    std::set<std::string, std::less<>> hasRoom_;  ///< applications
};

}  // namespace texprobe::platform

#endif
