// One open database of records: its table, its settings, its statements. What is in a file that
// somebody else may have written or damaged is met here and nowhere else.
//
// A record has a type and a value that must fit it: a "boolean" is the INTEGER 0 or 1, a "double" a
// REAL, a "string" a TEXT. A double that SQLite does not promise to keep (it turns NaN into NULL)
// is a BLOB of its eight bytes, the highest first. Everything else reads as no record. Other
// tables, indexes, views and triggers in the file are left alone; none of them is executed.

#ifndef TEXPROBE_PLATFORM_DATABASE_H
#define TEXPROBE_PLATFORM_DATABASE_H

#include <sqlite3.h>

#include <array>
#include <chrono>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "status.h"
#include "value.h"

namespace texprobe::platform {

/// Never waits for another process: what somebody else has at this moment is kLocked. Not for
/// several threads at a time.
class Database {
public:
    enum Purpose { kLook, kWrite };
    /// A log is one disk write a commit and needs memory that all who use it share.
    enum Journal { kLog, kRollback };

    /// After this time a statement is given up. Ours look at one application's hundred records,
    /// which takes less than a millisecond. Only tests change it.
    static inline std::chrono::milliseconds longest_statement{1'000};

    Database() = default;
    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    /// Opens an existing file; an empty one is a database without records. Somebody who looks
    /// changes nothing in it; the journal is for somebody who writes.
    Status open(const std::string& path, Purpose purpose, Journal journal = kLog);

    /// The last writer to close carries the log over into the database and deletes it, by its name.
    /// `keep_log` leaves the files as they are, which is right even when their names have come to
    /// mean other files.
    void close(bool keep_log);

    bool is_open() const { return database_ != nullptr; }

    /// Makes `records` all records of one application; leaves them as they are on failure.
    Status read(std::string_view application, Records* records);

    /// Adds the names of all applications that have records.
    Status read_applications(std::set<std::string>* names);

    /// Makes the changes durable in one transaction, and `records` all records of the application
    /// thereafter. On failure nothing is changed. Nothing goes to disk where nothing differs.
    Status write(std::string_view application, const Changes& changes, Records* records);

private:
    struct Close {
        void operator()(sqlite3* database) const { sqlite3_close(database); }
    };
    struct Finalize {
        void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
    };
    enum Query { kTables, kVersion, kCheck, kApplications, kRead, kSet, kRemove, kQueryCount };

    // SQLite's result codes inside, a Status outside.
    int open_file(const std::string& name, Purpose purpose);
    int configure();
    int learn_layout();
    int check_all(int code);
    int read_records(std::string_view application, Records* records,
                     std::vector<std::string>* too_long);
    int begin();
    int change(std::string_view application, std::string_view key,
               const std::optional<Value>& value);
    int execute(const char* sql);
    int prepare(Query query, sqlite3_stmt** statement);
    int ask(Query query, int* number);
    void extend_log();
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
};

}  // namespace texprobe::platform

#endif
