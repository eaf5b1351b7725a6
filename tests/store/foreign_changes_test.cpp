// What others do to the database beside our table, with their tools, with a newer texprobe, or with
// an older SQLite. Records stay where they are, and can be read and written.

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <string>

#include "store/store_fixture.h"
#include "support/fault_rows.h"

namespace {

bool isOldSqlite = false;

}  // namespace

// The linker redirects SQLite's function here (--wrap). Before 3.33 there was no sqlite_schema.
extern "C" {
int __real_sqlite3_prepare_v3(sqlite3*, const char*, int, unsigned, sqlite3_stmt**, const char**);
int __wrap_sqlite3_prepare_v3(sqlite3* database, const char* sql, int size, unsigned flags,
                              sqlite3_stmt** statement, const char** tail) {
    if (isOldSqlite && std::strstr(sql, "sqlite_schema")) return SQLITE_ERROR;
    return __real_sqlite3_prepare_v3(database, sql, size, flags, statement, tail);
}
}

namespace texprobe::tests {
namespace {

namespace fs = std::filesystem;

constexpr const char* kChanges[] = {
    "",
    "ANALYZE",
    "CREATE INDEX by_key ON records (key)",
    "CREATE UNIQUE INDEX once ON records (application, key, type)",
    "CREATE TABLE bookmarks (address TEXT); INSERT INTO bookmarks VALUES ('here')",
    "CREATE VIEW verdicts AS SELECT * FROM records",
    "CREATE TRIGGER spy AFTER UPDATE ON records BEGIN DELETE FROM records; END",
    "CREATE VIRTUAL TABLE words USING fts5(word)",
    "VACUUM",
    "REINDEX",
    "PRAGMA journal_mode = DELETE",
    "PRAGMA auto_vacuum = FULL; VACUUM",
    "PRAGMA application_id = 1",
    "PRAGMA user_version = 0",
};

class ForeignChanges : public StoreFixture {
protected:
    /// Eight records. If asked for, some are in a log that a dead process has left.
    void make_store(bool withLog) {
        fs::remove_all(config());
        write("VERSION", 0.21);
        RecordChanges changes;
        for (int i = 0; i < 8; ++i) changes[std::to_string(i)] = i % 2 == 0;
        ASSERT_TRUE(write_and_die(changes));
        if (!withLog) rows("PRAGMA wal_checkpoint(TRUNCATE)");
    }

    bool has_all_records() const {
        RecordStore store(directory());
        bool good = same(*store.value(kApp, "VERSION"), 0.21);
        for (int i = 0; i < 8; ++i) {
            const auto value = store.value(kApp, std::to_string(i));
            good = good && value && same(*value, i % 2 == 0);
        }
        return good;
    }

    /// An application reads, a run writes, an application reads; nothing is printed.
    bool goes_on() const {
        bool good = false;
        const std::string said = errors_of([this, &good] {
            good = has_all_records();
            write("new", true);
            write("new", false);
            good = good && has_all_records() && same(*read("new"), false);
        });
        EXPECT_EQ(said, "");
        return good && said.empty() && !fs::exists(aside());
    }
};

TEST_F(ForeignChanges, cost_no_record) {
    FaultCount count;
    for (const bool old : {false, true}) {
        for (const bool withLog : {false, true}) {
            for (const char* const change : kChanges) {
                make_store(withLog);
                rows(change);
                isOldSqlite = old;
                EXPECT_TRUE(count.add([this] { return goes_on(); }))
                    << change << (withLog ? ", with a log" : "");
                isOldSqlite = false;
            }
        }
    }
    write_fault_row("Foreign changes to the database", "all", count);
}

}  // namespace
}  // namespace texprobe::tests
