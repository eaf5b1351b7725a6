// One open database: its schema, its settings and its statements. What is in a file that somebody
// else may have written or damaged is met here and nowhere else.
//
// A record has a type and a value that must fit it: a "boolean" is the INTEGER 0 or 1, a "double" a
// REAL, a "string" a TEXT. A double that SQLite does not promise to keep (it turns NaN into NULL)
// is a BLOB of its eight bytes, the highest first. Everything else reads as no record.

#ifndef TEXPROBE_PLATFORM_CONNECTION_H
#define TEXPROBE_PLATFORM_CONNECTION_H

#include <sqlite3.h>

#include <array>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "value.h"

namespace texprobe::platform {

enum class Journal { kWriteAhead, kRollback };

/// How a file is opened. A frozen file and its folder cannot change: nothing is locked and nothing
/// but the file itself is looked at.
enum class Access { kReadWrite, kFrozen };

/// Every function that may fail returns a SQLite result code. Not for several threads at a time.
class Connection {
public:
    Connection() = default;
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    /// Opens an existing file; an empty one is a database without records.
    int open(const std::string& path, Access access);

    /// Leaves the files as they are: the log stays beside the database and is read by the next one
    /// to open it. Nothing is deleted by name, so this is right even when the names have come to
    /// mean other files.
    void abandon();

    /// The last one to close carries the log over into the database and deletes it.
    void close();

    bool is_open() const { return database_ != nullptr; }

    /// How long to wait for another process's lock.
    void set_patience(std::chrono::milliseconds patience);

    /// Changes whenever another connection has committed since the last question.
    int version(int* version);

    /// All records of one application, read in one statement.
    int read(std::string_view application, Records* records);

    /// Begins a transaction that no other writer can interleave with; makes the table first where
    /// there is none yet.
    int begin(Journal journal);
    int set(std::string_view application, std::string_view key, const Value& value);
    int remove(std::string_view application, std::string_view key);
    /// SQLITE_CORRUPT unless reading gives exactly these records. A tree whose order is damaged
    /// takes a record in one place and looks for it in another.
    int confirm(std::string_view application, const Records& records);

    int commit();
    void rollback();

    /// What the system said when SQLite last failed to open, read or write; 0 where that is not
    /// known.
    int system_error() const;

private:
    struct Close {
        void operator()(sqlite3* database) const { sqlite3_close(database); }
    };
    struct Finalize {
        void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
    };
    using Statement = std::unique_ptr<sqlite3_stmt, Finalize>;
    enum Query {
        kTables,
        kTablesVersion,
        kVersion,
        kRead,
        kSet,
        kRemove,
        kBegin,
        kCommit,
        kRollback,
        kQueryCount
    };

    using Row = std::function<bool(std::string key, Value value)>;
    int read_rows(std::string_view application, const Row& row);
    int execute(const char* sql);
    int prepare(Query query, sqlite3_stmt** statement);
    int run(Query query);
    int ask(Query query, int* number);
    int configure();
    int check_schema();
    int choose_journal(Journal journal);
    void extend_log();
    void close_keeping_log(bool keep);

    static int spend_budget(void* connection);

    std::unique_ptr<sqlite3, Close> database_;
    std::array<Statement, kQueryCount> statements_;
    bool has_table_ = false;
    bool has_journal_ = false;
    bool has_growing_log_ = false;
    int changes_before_ = 0;
    int budget_ = 0;
};

}  // namespace texprobe::platform

#endif
