#include "connection.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cmath>
#include <limits>
#include <utility>
#include <vector>

namespace texprobe::platform {

namespace {

constexpr const char* kSchema =
    "CREATE TABLE records (application TEXT NOT NULL, key TEXT NOT NULL, type TEXT NOT NULL,"
    " value NOT NULL, PRIMARY KEY (application, key)) WITHOUT ROWID";
constexpr const char* kSchemaVersion = "PRAGMA user_version = 1";

// How much the log holds before it is carried over into the database and written again from its
// beginning: all of a first run's hundred synchronizations, a page each, with some to spare.
constexpr int kPageSize = 4096;
constexpr int kLogPages = 128;
constexpr sqlite3_int64 kLogSize = 32 + kLogPages * (24 + kPageSize);  // headers of log and page

// A statement of ours looks at one application's hundred records. One that takes a million steps
// follows a tree that was made, or damaged, to have no end.
constexpr int kBudgetStep = 10'000;
constexpr int kBudget = 100;

std::uint64_t bits_of(double value) {
    return std::bit_cast<std::uint64_t>(value);
}

bool is_kept_by_sqlite(double value) {
    return !std::isnan(value) && bits_of(value) != bits_of(-0.0);
}

int bind(sqlite3_stmt* statement, int index, std::string_view text) {
    return sqlite3_bind_text64(statement, index, text.data(), text.size(), SQLITE_TRANSIENT,
                               SQLITE_UTF8);
}

int bind(sqlite3_stmt* statement, int index, double value) {
    if (is_kept_by_sqlite(value)) return sqlite3_bind_double(statement, index, value);
    std::array<unsigned char, sizeof value> bytes;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<unsigned char>(bits_of(value) >> (56 - 8 * i));
    }
    return sqlite3_bind_blob(statement, index, bytes.data(), bytes.size(), SQLITE_TRANSIENT);
}

int bind(sqlite3_stmt* statement, int index, const Value& value) {
    if (const auto* boolean = std::get_if<bool>(&value)) {
        return sqlite3_bind_int(statement, index, *boolean ? 1 : 0);
    }
    if (const auto* number = std::get_if<double>(&value)) return bind(statement, index, *number);
    return bind(statement, index, std::string_view(std::get<std::string>(value)));
}

constexpr std::string_view kBoolean = "boolean";
constexpr std::string_view kDouble = "double";
constexpr std::string_view kString = "string";

std::string_view type_of(const Value& value) {
    if (std::holds_alternative<bool>(value)) return kBoolean;
    return std::holds_alternative<double>(value) ? kDouble : kString;
}

std::string_view bytes_of(sqlite3_stmt* statement, int column) {
    const void* bytes = sqlite3_column_blob(statement, column);
    const int size = sqlite3_column_bytes(statement, column);
    return bytes ? std::string_view(static_cast<const char*>(bytes), static_cast<std::size_t>(size))
                 : std::string_view();
}

/// Text that a string here can hold: ASCII without a NUL.
std::optional<std::string> text_of(sqlite3_stmt* statement, int column) {
    const std::string_view text = bytes_of(statement, column);
    for (const char c : text) {
        if (c <= 0) return std::nullopt;
    }
    return std::string(text);
}

std::optional<Value> boolean_of(sqlite3_stmt* statement, int column) {
    const sqlite3_int64 number = sqlite3_column_int64(statement, column);
    return number == 0 || number == 1 ? std::optional<Value>(number == 1) : std::nullopt;
}

std::optional<Value> double_of(std::string_view bytes) {
    if (bytes.size() != sizeof(double)) return std::nullopt;
    std::uint64_t bits = 0;
    for (const char byte : bytes) bits = bits << 8 | static_cast<unsigned char>(byte);
    return std::bit_cast<double>(bits);
}

std::optional<Value> value_of(sqlite3_stmt* statement, int type_column, int column) {
    const std::string_view type = bytes_of(statement, type_column);
    switch (sqlite3_column_type(statement, column)) {
        case SQLITE_INTEGER:
            return type == kBoolean ? boolean_of(statement, column) : std::nullopt;
        case SQLITE_FLOAT:
            if (type == kDouble) return sqlite3_column_double(statement, column);
            return std::nullopt;
        case SQLITE_TEXT:
            return type == kString ? text_of(statement, column) : std::nullopt;
        case SQLITE_BLOB:
            return type == kDouble ? double_of(bytes_of(statement, column)) : std::nullopt;
        default:
            return std::nullopt;
    }
}

/// The path as a URI, for what can be said in no other way.
std::string frozen_uri(const std::string& path) {
    std::string uri = "file:";
    for (const char c : path) {
        if (c == '%') {
            uri += "%25";
        } else if (c == '?') {
            uri += "%3f";
        } else if (c == '#') {
            uri += "%23";
        } else {
            uri += c;
        }
    }
    return uri + "?immutable=1";
}

}  // namespace

int Connection::open(const std::string& path, Access access) {
    const bool frozen = access == Access::kFrozen;
    // One thread at a time uses a connection, so SQLite need not lock it. The file system layer is
    // named, because an application may have made another one its default.
    const int flags = SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_PRIVATECACHE |
                      (frozen ? SQLITE_OPEN_READONLY | SQLITE_OPEN_URI : SQLITE_OPEN_READWRITE);
    sqlite3* database = nullptr;
    int code =
        sqlite3_open_v2((frozen ? frozen_uri(path) : path).c_str(), &database, flags, "unix");
    database_.reset(database);
    if (code == SQLITE_OK) code = configure();
    if (code == SQLITE_OK) code = check_schema();
    return code;
}

int Connection::configure() {
    sqlite3* database = database_.get();
    sqlite3_extended_result_codes(database, 1);
    // Nothing in the file is executed: no triggers, no views, no functions from its schema.
    for (const int feature : {SQLITE_DBCONFIG_ENABLE_TRIGGER, SQLITE_DBCONFIG_ENABLE_VIEW,
                              SQLITE_DBCONFIG_TRUSTED_SCHEMA}) {
        sqlite3_db_config(database, feature, 0, nullptr);
    }
    sqlite3_db_config(database, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    sqlite3_progress_handler(database, kBudgetStep, spend_budget, this);
    set_patience(std::chrono::seconds(1));
    // A commit must survive a power cut. EXTRA is FULL, and with a rollback journal it also waits
    // until the journal's removal, which is the commit, is on disk.
    return execute(("PRAGMA synchronous = EXTRA; PRAGMA mmap_size = 0; PRAGMA temp_store = MEMORY;"
                    "PRAGMA cell_size_check = ON; PRAGMA page_size = " +
                    std::to_string(kPageSize) +
                    "; PRAGMA wal_autocheckpoint = " + std::to_string(kLogPages))
                       .c_str());
}

/// Learns whether the file holds our table, nothing yet, or something else (SQLITE_FORMAT).
int Connection::check_schema() {
    sqlite3_stmt* statement = nullptr;
    int code = prepare(kTables, &statement);
    if (code != SQLITE_OK) return code;
    bool is_empty = true;
    bool is_ours = true;
    while ((code = sqlite3_step(statement)) == SQLITE_ROW) {
        is_empty = false;
        is_ours = is_ours && bytes_of(statement, 0) == kSchema;
    }
    sqlite3_reset(statement);
    int version = 0;
    code = code == SQLITE_DONE ? SQLITE_OK : code;
    // Asked for last: whoever makes the table gives it its version in the same transaction.
    if (code == SQLITE_OK && !is_empty) code = ask(kTablesVersion, &version);
    has_table_ = code == SQLITE_OK && is_ours && version == 1;
    return code == SQLITE_OK && !is_empty && !has_table_ ? SQLITE_FORMAT : code;
}

void Connection::close_keeping_log(bool keep) {
    if (!database_) return;
    sqlite3_db_config(database_.get(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, keep ? 1 : 0, nullptr);
    for (Statement& statement : statements_) statement.reset();
    database_.reset();
    has_table_ = false;
    has_journal_ = false;
    has_growing_log_ = false;
}

void Connection::abandon() {
    close_keeping_log(true);
}

void Connection::close() {
    close_keeping_log(false);
}

void Connection::set_patience(std::chrono::milliseconds patience) {
    if (database_) sqlite3_busy_timeout(database_.get(), static_cast<int>(patience.count()));
}

int Connection::spend_budget(void* connection) {
    return ++static_cast<Connection*>(connection)->budget_ > kBudget;
}

int Connection::execute(const char* sql) {
    budget_ = 0;
    return sqlite3_exec(database_.get(), sql, nullptr, nullptr, nullptr);
}

int Connection::prepare(Query query, sqlite3_stmt** statement) {
    static constexpr std::array<const char*, kQueryCount> kSql = {
        "SELECT sql FROM sqlite_schema",
        "PRAGMA user_version",
        "PRAGMA data_version",
        "SELECT key, type, value FROM records WHERE application = ?1",
        "REPLACE INTO records VALUES (?1, ?2, ?3, ?4)",
        "DELETE FROM records WHERE application = ?1 AND key = ?2",
        "BEGIN IMMEDIATE",
        "COMMIT",
        "ROLLBACK"};
    budget_ = 0;
    Statement& cached = statements_[query];
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

/// Steps a statement that yields no row that anybody wants.
static int finish(sqlite3_stmt* statement) {
    int code = SQLITE_ROW;
    while (code == SQLITE_ROW) code = sqlite3_step(statement);
    sqlite3_reset(statement);
    return code == SQLITE_DONE ? SQLITE_OK : code;
}

int Connection::run(Query query) {
    sqlite3_stmt* statement = nullptr;
    const int code = prepare(query, &statement);
    return code == SQLITE_OK ? finish(statement) : code;
}

/// The number that a query of one row answers.
int Connection::ask(Query query, int* number) {
    sqlite3_stmt* statement = nullptr;
    const int code = prepare(query, &statement);
    if (code != SQLITE_OK) return code;
    const int stepped = sqlite3_step(statement);
    if (stepped == SQLITE_ROW) *number = sqlite3_column_int(statement, 0);
    sqlite3_reset(statement);
    return stepped == SQLITE_ROW ? SQLITE_OK : stepped;
}

int Connection::version(int* version) {
    return ask(kVersion, version);
}

/// Calls `row` with each record, in the order of the keys, until it returns false.
int Connection::read_rows(std::string_view application, const Row& row) {
    sqlite3_stmt* statement = nullptr;
    int code = prepare(kRead, &statement);
    if (code == SQLITE_OK) code = bind(statement, 1, application);
    if (code != SQLITE_OK) return code;
    bool goes_on = true;
    while (goes_on && (code = sqlite3_step(statement)) == SQLITE_ROW) {
        auto key = text_of(statement, 0);
        auto value = value_of(statement, 1, 2);
        if (key && value) goes_on = row(std::move(*key), std::move(*value));
    }
    sqlite3_reset(statement);
    return code == SQLITE_ROW || code == SQLITE_DONE ? SQLITE_OK : code;
}

int Connection::read(std::string_view application, Records* records) {
    records->clear();
    if (!has_table_) {
        const int code = check_schema();
        if (code != SQLITE_OK || !has_table_) return code;
    }
    return read_rows(application, [records](std::string key, Value value) {
        records->insert_or_assign(records->end(), std::move(key), std::move(value));
        return true;
    });
}

int Connection::confirm(std::string_view application, const Records& records) {
    auto expected = records.begin();
    bool agrees = true;
    const int code = read_rows(application, [&](const std::string& key, const Value& value) {
        agrees =
            expected != records.end() && expected->first == key && same(expected->second, value);
        if (agrees) ++expected;
        return agrees;
    });
    if (code != SQLITE_OK) return code;
    return agrees && expected == records.end() ? SQLITE_OK : SQLITE_CORRUPT;
}

int Connection::choose_journal(Journal journal) {
    if (has_journal_) return SQLITE_OK;
    budget_ = 0;
    const char* sql = journal == Journal::kWriteAhead ? "PRAGMA journal_mode = WAL"
                                                      : "PRAGMA journal_mode = DELETE";
    const auto learn = [](void* is_log, int, char** mode, char**) {
        *static_cast<bool*>(is_log) = mode[0] == std::string_view("wal");
        return 0;
    };
    const int code = sqlite3_exec(database_.get(), sql, learn, &has_growing_log_, nullptr);
    // Another process that uses the database at this moment keeps it in its present mode, which is
    // as safe. That is not worth asking, and waiting, again.
    has_journal_ = true;
    return (code & 0xff) == SQLITE_BUSY ? SQLITE_OK : code;
}

/// In a log that grows, every commit costs two writes to the disk: its pages, and the file's new
/// size. So the log gets its size at once, and is then written over. Other writers are locked out,
/// and nobody reads beyond the last commit. Where there is no room for that, the log grows.
void Connection::extend_log() {
    if (!std::exchange(has_growing_log_, false)) return;
    sqlite3_file* log = nullptr;
    sqlite3_file_control(database_.get(), "main", SQLITE_FCNTL_JOURNAL_POINTER, &log);
    sqlite3_int64 size = 0;
    if (!log || !log->pMethods || log->pMethods->xFileSize(log, &size) != SQLITE_OK) return;
    // SQLite's files take fewer than 128 KiB at a time.
    const std::vector<char> zeros(std::size_t{1} << 15);
    for (auto end = size; end < kLogSize; end += static_cast<sqlite3_int64>(zeros.size())) {
        const auto rest = static_cast<std::size_t>(kLogSize - end);
        const auto count = static_cast<int>(std::min(zeros.size(), rest));
        if (log->pMethods->xWrite(log, zeros.data(), count, end) != SQLITE_OK) {
            log->pMethods->xTruncate(log, size);
            return;
        }
    }
}

int Connection::begin(Journal journal) {
    int code = choose_journal(journal);
    if (code == SQLITE_OK) code = run(kBegin);
    changes_before_ = sqlite3_total_changes(database_.get());
    if (code != SQLITE_OK || has_table_) return code;
    code = check_schema();
    if (code == SQLITE_OK && !has_table_) {
        code = execute(kSchema);
        if (code == SQLITE_OK) code = execute(kSchemaVersion);
        has_table_ = code == SQLITE_OK;
    }
    if (code != SQLITE_OK) rollback();
    return code;
}

int Connection::set(std::string_view application, std::string_view key, const Value& value) {
    sqlite3_stmt* statement = nullptr;
    int code = prepare(kSet, &statement);
    if (code == SQLITE_OK) code = bind(statement, 1, application);
    if (code == SQLITE_OK) code = bind(statement, 2, key);
    if (code == SQLITE_OK) code = bind(statement, 3, type_of(value));
    if (code == SQLITE_OK) code = bind(statement, 4, value);
    return code == SQLITE_OK ? finish(statement) : code;
}

int Connection::remove(std::string_view application, std::string_view key) {
    sqlite3_stmt* statement = nullptr;
    int code = prepare(kRemove, &statement);
    if (code == SQLITE_OK) code = bind(statement, 1, application);
    if (code == SQLITE_OK) code = bind(statement, 2, key);
    return code == SQLITE_OK ? finish(statement) : code;
}

int Connection::commit() {
    if (sqlite3_total_changes(database_.get()) != changes_before_) extend_log();
    const int code = run(kCommit);
    if (code != SQLITE_OK) rollback();
    return code;
}

void Connection::rollback() {
    if (!sqlite3_get_autocommit(database_.get())) run(kRollback);
    has_table_ = false;
}

int Connection::system_error() const {
    const int error = database_ ? sqlite3_system_errno(database_.get()) : 0;
    // Left over from looking for files that need not be there, and from trying locks.
    return error == ENOENT || error == EAGAIN ? 0 : error;
}

}  // namespace texprobe::platform
