#include "database.h"

#include <unistd.h>

#include <cerrno>
#include <utility>
#include <vector>

#include "stored_value.h"

namespace texprobe::platform {

namespace {

constexpr const char* kLayout =
    "CREATE TABLE records (application TEXT NOT NULL, key TEXT NOT NULL, type TEXT NOT NULL,"
    " value NOT NULL, PRIMARY KEY (application, key)) WITHOUT ROWID; PRAGMA user_version = 1";
constexpr int kLayoutVersion = 1;

// The pages that the log holds before it is checkpointed and written from its beginning again. A
// first run's hundred synchronizations, one page each, fit with room to spare.
constexpr int kPageSize = 4096;
constexpr int kLogPages = 128;
constexpr sqlite3_int64 kLogSize = 32 + kLogPages * (24 + kPageSize);  // headers of log and page

// The size of a hundred records, with room to spare.
constexpr int kSetSize = 8 * kPageSize;

constexpr int kStepsBetweenLooksAtTheClock = 10'000;

/// The path as a URI that tells SQLite that the file cannot change: no locks, no files beside it.
std::string frozen_uri(const std::string& path) {
    std::string uri = "file:";
    for (const char c : path) {
        char escaped[4];
        sqlite3_snprintf(sizeof escaped, escaped, "%%%02x", static_cast<unsigned char>(c));
        uri += escaped;
    }
    return uri + "?immutable=1";
}

/// Runs a statement and ignores its rows.
int finish(sqlite3_stmt* statement) {
    int code = SQLITE_ROW;
    while (code == SQLITE_ROW) code = sqlite3_step(statement);
    sqlite3_reset(statement);
    return code == SQLITE_DONE ? SQLITE_OK : code;
}

}  // namespace

Status Database::open(const std::string& path, Purpose purpose, Journal journal) {
    path_ = path;
    journal_ = journal;
    int code = open_file(path, purpose);
    if (purpose == kWrite && (code == SQLITE_OK || code == SQLITE_ERROR)) code = check_all(code);
    // Reading needs files beside the database, too. If they cannot be created and there is no log,
    // the database file alone is complete.
    const int kind = code & 0xff;
    if (purpose == kLook && (kind == SQLITE_CANTOPEN || kind == SQLITE_READONLY) &&
        access((path + "-wal").c_str(), F_OK) != 0) {
        code = open_file(frozen_uri(path), kLook);
    }
    return status_of(code);
}

int Database::open_file(const std::string& name, Purpose purpose) {
    close(true);
    // Only one thread at a time uses a connection, so SQLite need not lock it. The VFS is named
    // because the application may have changed the default.
    const int flags = SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_PRIVATECACHE | SQLITE_OPEN_URI |
                      (purpose == kWrite ? SQLITE_OPEN_READWRITE : SQLITE_OPEN_READONLY);
    sqlite3* database = nullptr;
    int code = sqlite3_open_v2(name.c_str(), &database, flags, "unix");
    database_.reset(database);
    if (code == SQLITE_OK) code = configure();
    // One transaction for the whole look, because each takes locks.
    if (code == SQLITE_OK && purpose == kLook) code = execute("BEGIN");
    if (code == SQLITE_OK) code = learn_layout();
    // Another program's table is found out before the file is changed.
    sqlite3_stmt* statement = nullptr;
    if (code == SQLITE_OK && purpose == kWrite && has_table_) code = prepare(kSet, &statement);
    return code;
}

int Database::configure() {
    sqlite3* database = database_.get();
    sqlite3_extended_result_codes(database, 1);
    // Nothing stored in the file is executed.
    sqlite3_db_config(database, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
    sqlite3_db_config(database, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    sqlite3_progress_handler(database, kStepsBetweenLooksAtTheClock, is_out_of_time, this);
    // A commit must survive a power cut. With a rollback journal, removing the journal is the
    // commit; EXTRA, unlike FULL, waits until that is on disk.
    return execute(("PRAGMA synchronous = EXTRA; PRAGMA page_size = " + std::to_string(kPageSize) +
                    "; PRAGMA wal_autocheckpoint = " + std::to_string(kLogPages))
                       .c_str());
}

/// Another process may have made the table since. Without a database there is none.
int Database::look_for_table() {
    return has_table_ || !is_open() ? SQLITE_OK : learn_layout();
}

/// Finds out whether our table exists and can be used.
int Database::learn_layout() {
    int tables = 0;
    int version = 0;
    int code = ask(kTables, &tables);
    // Read last, because table and version are created in one transaction.
    if (code == SQLITE_OK) code = ask(kVersion, &version);
    has_table_ = code == SQLITE_OK && tables > 0;
    sqlite3_stmt* statement = nullptr;
    if (has_table_) code = prepare(kRead, &statement);
    return version > kLayoutVersion ? SQLITE_ERROR : code;
}

/// In a damaged tree, a record can be inserted in one place and searched for in another, again and
/// again. So a writer has SQLite check the whole tree once, within the time limit. `code` is the
/// result of opening; it is returned unless the check finds something worse.
int Database::check_all(int code) {
    sqlite3_stmt* statement = nullptr;
    if (prepare(kCheck, &statement) != SQLITE_OK) return code;
    const int stepped = sqlite3_step(statement);
    const bool isCorrupt = (stepped == SQLITE_ROW && bytes_of(statement, 0) != "ok") ||
                           (stepped & 0xff) == SQLITE_CORRUPT;
    sqlite3_reset(statement);
    return isCorrupt ? SQLITE_CORRUPT : code;
}

void Database::close(bool keepLog) {
    if (!database_) return;
    sqlite3_db_config(database_.get(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, keepLog ? 1 : 0, nullptr);
    for (auto& statement : statements_) statement.reset();
    database_.reset();
    has_table_ = has_journal_ = has_whole_log_ = false;
    hasRoom_.clear();
}

int Database::is_out_of_time(void* database) {
    return std::chrono::steady_clock::now() > static_cast<Database*>(database)->deadline_;
}

int Database::execute(const char* sql) {
    deadline_ = std::chrono::steady_clock::now() + longestStatement;
    return sqlite3_exec(database_.get(), sql, nullptr, nullptr, nullptr);
}

int Database::prepare(Query query, sqlite3_stmt** statement) {
    // sqlite_schema is a name that SQLite 3.31 does not know.
    static constexpr std::array<const char*, kQueryCount> kSql = {
        "SELECT count(*) FROM sqlite_master WHERE name = 'records'",
        "PRAGMA user_version",
        "PRAGMA page_count",
        "PRAGMA integrity_check(1)",
        "SELECT DISTINCT application FROM records",
        "SELECT key, type, value FROM records WHERE application = ?1 AND key >= ?2 ORDER BY key",
        "INSERT INTO records (application, key, type, value) VALUES (?1, ?2, ?3, ?4)"
        " ON CONFLICT (application, key) DO UPDATE SET type = ?3, value = ?4"
        " WHERE type IS NOT ?3 OR value IS NOT ?4 OR typeof(value) IS NOT typeof(?4)",
        "DELETE FROM records WHERE application = ?1 AND key = ?2"};
    deadline_ = std::chrono::steady_clock::now() + longestStatement;
    auto& cached = statements_[query];
    if (!cached) {
        sqlite3_stmt* prepared = nullptr;
        const int code = sqlite3_prepare_v3(database_.get(), kSql[query], -1,
                                            SQLITE_PREPARE_PERSISTENT, &prepared, nullptr);
        if (code != SQLITE_OK) return code;
        cached.reset(prepared);
    }
    *statement = cached.get();
    return SQLITE_OK;
}

/// The number that a one-row query returns.
int Database::ask(Query query, int* number) {
    sqlite3_stmt* statement = nullptr;
    const int code = prepare(query, &statement);
    if (code != SQLITE_OK) return code;
    const int stepped = sqlite3_step(statement);
    if (stepped == SQLITE_ROW) *number = sqlite3_column_int(statement, 0);
    sqlite3_reset(statement);
    return stepped == SQLITE_ROW ? SQLITE_OK : stepped;
}

Status Database::read(std::string_view application, Records* records) {
    Records fresh;
    const int code = read_records(application, &fresh);
    if (code == SQLITE_OK) *records = std::move(fresh);
    return status_of(code);
}

int Database::read_records(std::string_view application, Records* records) {
    return read_range(application, "", [records](std::string_view key, Value value) {
        records->insert_or_assign(std::string(key), std::move(value));
    });
}

Status Database::read_texts(std::string_view application, std::string_view prefix, Texts* texts) {
    Texts fresh;
    const int code = read_range(application, prefix, [&fresh](std::string_view key, Value value) {
        auto* text = std::get_if<std::string>(&value);
        if (text) fresh.emplace_hint(fresh.end(), key, std::move(*text));
    });
    if (code == SQLITE_OK) *texts = std::move(fresh);
    return status_of(code);
}

/// Passes on the application's records whose keys begin with `prefix`, in the keys' order.
int Database::read_range(std::string_view application, std::string_view prefix,
                         const std::function<void(std::string_view key, Value value)>& take) {
    int code = look_for_table();
    if (code != SQLITE_OK || !has_table_) return code;
    sqlite3_stmt* statement = nullptr;
    code = prepare(kRead, &statement);
    if (code == SQLITE_OK) code = bind_value(statement, 1, application);
    if (code == SQLITE_OK) code = bind_value(statement, 2, prefix);
    if (code != SQLITE_OK) return code;
    while ((code = sqlite3_step(statement)) == SQLITE_ROW) {
        const std::string_view key = bytes_of(statement, 0);
        if (key.substr(0, prefix.size()) != prefix) break;
        auto value = value_of(statement, 1, 2);
        if (value && is_string(key)) take(key, std::move(*value));
    }
    sqlite3_reset(statement);
    return code == SQLITE_DONE || code == SQLITE_ROW ? SQLITE_OK : code;
}

Status Database::read_applications(std::set<std::string>* names) {
    int code = look_for_table();
    if (code != SQLITE_OK || !has_table_) return status_of(code);
    sqlite3_stmt* statement = nullptr;
    code = prepare(kApplications, &statement);
    if (code != SQLITE_OK) return status_of(code);
    while ((code = sqlite3_step(statement)) == SQLITE_ROW) {
        const std::string_view name = bytes_of(statement, 0);
        if (is_string(name)) names->emplace(name);
    }
    sqlite3_reset(statement);
    return status_of(code == SQLITE_DONE ? SQLITE_OK : code);
}

Status Database::write(std::string_view application, const RecordChanges& changes,
                       Records* records) {
    Records fresh;
    int code = begin();
    const int before = sqlite3_total_changes(database_.get());
    for (const auto& [key, value] : changes) {
        if (code == SQLITE_OK) code = change(application, key, value);
    }
    if (code == SQLITE_OK) code = read_records(application, &fresh);
    if (code == SQLITE_OK && sqlite3_total_changes(database_.get()) != before) {
        code = reserve_room(application);
    }
    if (code == SQLITE_OK) code = execute("COMMIT");
    if (code == SQLITE_OK) {
        *records = std::move(fresh);
        return {};
    }
    Status status = status_of(code);
    if (!sqlite3_get_autocommit(database_.get())) execute("ROLLBACK");
    has_table_ = false;
    return status;
}

/// Begins a transaction that excludes other writers; creates the table if it is missing.
int Database::begin() {
    if (!has_journal_) {
        const int code = execute(journal_ == kLog ? "PRAGMA journal_mode = WAL"
                                                  : "PRAGMA journal_mode = DELETE");
        // This fails while another process uses the database. The present mode is then kept, which
        // is just as safe.
        if (code != SQLITE_OK && (code & 0xff) != SQLITE_BUSY) return code;
        has_journal_ = true;
    }
    int code = execute("BEGIN IMMEDIATE");
    if (code == SQLITE_OK) code = look_for_table();
    if (code == SQLITE_OK && !has_table_) {
        code = execute(kLayout);
        has_table_ = code == SQLITE_OK;
    }
    return code;
}

int Database::change(std::string_view application, std::string_view key,
                     const std::optional<Value>& value) {
    sqlite3_stmt* statement = nullptr;
    int code = prepare(value ? kSet : kRemove, &statement);
    if (code == SQLITE_OK) code = bind_value(statement, 1, application);
    if (code == SQLITE_OK) code = bind_value(statement, 2, key);
    if (code == SQLITE_OK && value) code = bind_value(statement, 3, type_of(*value));
    if (code == SQLITE_OK && value) code = bind_value(statement, 4, *value);
    return code == SQLITE_OK ? finish(statement) : code;
}

/// Before the first change of an application: a disk that is full must not take a test's false
/// without its outcome. The log's pages are written to the database in the end, so there has to be
/// room in it for a whole set, too.
int Database::reserve_room(std::string_view application) {
    const int code = extend_log();
    // Only beside a log: a new database with a rollback journal has no header before the commit.
    const bool isLog = access((path_ + "-wal").c_str(), F_OK) == 0;
    if (code != SQLITE_OK || !isLog || hasRoom_.count(application) != 0) return code;
    int pages = 0;
    const int asked = ask(kPages, &pages);
    if (asked != SQLITE_OK) return asked;
    // Sizes are rounded up to it; without it, SQLite ignores the hint.
    int chunk = kSetSize;
    sqlite3_file_control(database_.get(), "main", SQLITE_FCNTL_CHUNK_SIZE, &chunk);
    sqlite3_int64 size = sqlite3_int64{pages} * kPageSize + kSetSize;
    if (sqlite3_file_control(database_.get(), "main", SQLITE_FCNTL_SIZE_HINT, &size) != SQLITE_OK) {
        return SQLITE_FULL;
    }
    hasRoom_.emplace(application);
    return SQLITE_OK;
}

/// If a commit makes the log grow, it costs two disk writes: the pages and the file's new size. So
/// the log gets its full size at once and is then overwritten. No other writer can interfere, and
/// readers stop at the last commit. Without room on the disk this fails, and nothing is written.
int Database::extend_log() {
    if (has_whole_log_) return SQLITE_OK;
    sqlite3_file* log = nullptr;
    sqlite3_file_control(database_.get(), "main", SQLITE_FCNTL_JOURNAL_POINTER, &log);
    sqlite3_int64 size = 0;
    const bool isLog = log && log->pMethods && access((path_ + "-wal").c_str(), F_OK) == 0;
    int code = isLog ? log->pMethods->xFileSize(log, &size) : SQLITE_OK;
    const sqlite3_int64 former = size;
    // SQLite's files take less than 128 KiB at a time.
    const std::vector<char> zeros(std::size_t{8} * kPageSize);
    while (isLog && code == SQLITE_OK && size < kLogSize) {
        code = log->pMethods->xWrite(log, zeros.data(), static_cast<int>(zeros.size()), size);
        size += static_cast<sqlite3_int64>(zeros.size());
    }
    has_whole_log_ = code == SQLITE_OK;
    if (!has_whole_log_) log->pMethods->xTruncate(log, former);
    return code;
}

Status Database::status_of(int code) const {
    const int kind = code & 0xff;
    if (code == SQLITE_OK) return {};
    // An unknown file format, layout or table.
    if (kind == SQLITE_ERROR) {
        return {Status::kUnusable, path_, "it was made by a newer texprobe or another program"};
    }
    if (code == SQLITE_READONLY_ROLLBACK) {
        return {Status::kUnusable, path_,
                "a write to it was interrupted; run texprobe to repair it"};
    }
    if (kind == SQLITE_BUSY || kind == SQLITE_LOCKED) {
        return {Status::kLocked, path_, "another process keeps it locked"};
    }
    if (kind == SQLITE_INTERRUPT) return {Status::kUnusable, path_, "reading it took too long"};
    if (kind == SQLITE_IOERR || kind == SQLITE_CANTOPEN) {
        const int error = sqlite3_system_errno(database_.get());
        // ENOENT may only mean that there is no log.
        if (error != 0 && error != ENOENT) return Status::system(path_, error);
    }
    const bool isDamage = kind == SQLITE_CORRUPT || kind == SQLITE_NOTADB;
    return {isDamage ? Status::kDamaged : Status::kUnusable, path_, sqlite3_errstr(kind)};
}

}  // namespace texprobe::platform
