#include "store.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include "file_size_signal.h"

namespace texprobe::platform {

namespace {

constexpr std::chrono::milliseconds kShortPatience{100};
constexpr const char* kLocked = "another process keeps it locked";

/// One line stays one line, whatever the path holds.
std::string printable(std::string text) {
    for (char& c : text) {
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = '?';
    }
    return text;
}

/// There is no database, and nobody asked for one.
bool is_absence(const Problem& problem) {
    return problem.error == ENOENT;
}

bool is_missing(const std::string& path) {
    struct stat status;
    return lstat(path.c_str(), &status) != 0;
}

/// What a file with foreign or damaged content answers.
bool is_about_content(int code) {
    if (code == SQLITE_IOERR_SHORT_READ) return true;
    switch (code & 0xff) {
        case SQLITE_CORRUPT:
        case SQLITE_NOTADB:
        case SQLITE_FORMAT:
        case SQLITE_ERROR:
        case SQLITE_SCHEMA:
        case SQLITE_TOOBIG:
        case SQLITE_CONSTRAINT:
        case SQLITE_INTERRUPT:
            return true;
        default:
            return false;
    }
}

bool is_about_lock(int code) {
    return (code & 0xff) == SQLITE_BUSY || (code & 0xff) == SQLITE_LOCKED;
}

}  // namespace

Store::Store(std::string directory, std::chrono::milliseconds patience)
    : directory_(std::move(directory)),
      path_(directory_ + "/records.sqlite3"),
      patience_(patience),
      present_patience_(patience) {}

Store::~Store() {
    close();
}

bool Store::look(const std::string& application, ApplicationRecords* records) {
    return use(application, records, Purpose::kLook);
}

bool Store::synchronize(const std::string& application, ApplicationRecords* records) {
    const bool has_written = !records->pending.empty() || !records->written.empty();
    return use(application, records, has_written ? Purpose::kWrite : Purpose::kLook);
}

bool Store::use(const std::string& application, ApplicationRecords* records, Purpose purpose) {
    if (directory_.empty()) {
        report("", "the user has no home directory");
        return false;
    }
    const FileSizeSignalBlocked blocked;
    Failure failure = attempt(application, records, purpose);
    if (failure && failure->is_damage && begin_anew(*failure)) {
        failure = attempt(application, records, purpose);
    }
    if (!failure) {
        present_patience_ = patience_;
        return true;
    }
    connection_.abandon();
    if (is_absence(*failure) && purpose == Purpose::kLook) {
        records->stored.clear();
        records->revision = 0;
        return true;
    }
    // One disk's trouble has many names, depending on where it is met: the first one says it.
    const std::string cause = failure->error != 0 ? "disk" : failure->reason;
    report(failure->path + cause, "cannot use " + failure->path + ": " + failure->reason);
    return false;
}

Store::Failure Store::attempt(const std::string& application, ApplicationRecords* records,
                              Purpose purpose) {
    if (Failure failure = have_directory(purpose)) return failure;
    const DirectoryLock lock(directory_, DirectoryLock::Mode::kShared, present_patience_);
    if (lock.error() == EWOULDBLOCK) {
        present_patience_ = kShortPatience;
        return Problem{directory_, kLocked};
    }
    if (lock.error() != 0) {
        return Problem{directory_, std::strerror(lock.error()), lock.error()};
    }
    if (Failure failure = have_connection(purpose)) return failure;
    if (purpose == Purpose::kLook) return refresh(application, records);
    if (records->origin != identity_) {
        Changes again = records->written;
        records->pending.merge(again);
    }
    return records->pending.empty() ? refresh(application, records) : write(application, records);
}

Store::Failure Store::have_directory(Purpose purpose) {
    // The way to the open file was looked at when it was opened.
    if (connection_.is_open() && identity_of(path_) == identity_) return std::nullopt;
    Failure failure = check_directory(directory_);
    if (!failure || !is_absence(*failure) || purpose == Purpose::kLook) return failure;
    failure = make_directory(directory_);
    return failure ? failure : check_directory(directory_);
}

Store::Failure Store::have_connection(Purpose purpose) {
    // A frozen file is looked at anew each time: it may have thawed.
    if (access_ == Access::kFrozen) connection_.abandon();
    std::optional<Identity> identity = identity_of(path_);
    if (!identity && errno == ENOENT && purpose == Purpose::kWrite) {
        if (Failure failure = make_file(path_)) return failure;
        identity = identity_of(path_);
    }
    if (!identity) return Problem{path_, std::strerror(errno), errno};
    if (connection_.is_open() && *identity == identity_) return std::nullopt;
    connection_.abandon();
    identity_ = *identity;
    return open(purpose);
}

Store::Failure Store::open(Purpose purpose) {
    if (Failure failure = check_file(path_)) return failure;
    access_ = Access::kReadWrite;
    int code = connection_.open(path_, access_);
    // Reading, too, needs files beside the database. Where they cannot be made, and there is no log
    // that would have to be read, the database alone says everything.
    const bool is_kept_out = code != SQLITE_OK && !is_about_content(code);
    if (is_kept_out && purpose == Purpose::kLook && is_missing(path_ + "-wal")) {
        connection_.abandon();
        access_ = Access::kFrozen;
        code = connection_.open(path_, access_);
    }
    if (code != SQLITE_OK) return failed(code);
    connection_.set_patience(present_patience_);
    ++revision_;
    return std::nullopt;
}

Store::Failure Store::refresh(const std::string& application, ApplicationRecords* records) {
    int version = version_;
    int code = connection_.version(&version);
    if (version != version_) ++revision_;
    version_ = version;
    if (code == SQLITE_OK && records->revision != revision_) {
        Records fresh;
        code = connection_.read(application, &fresh);
        if (code == SQLITE_OK) {
            records->stored = std::move(fresh);
            records->revision = revision_;
        }
    }
    if (code != SQLITE_OK) return failed(code);
    records->origin = identity_;
    return std::nullopt;
}

Store::Failure Store::write(const std::string& application, ApplicationRecords* records) {
    int code =
        connection_.begin(is_on_network(directory_) ? Journal::kRollback : Journal::kWriteAhead);
    if (code != SQLITE_OK) return failed(code);
    if (Failure failure = refresh(application, records)) {
        connection_.rollback();
        return failure;
    }
    Records after = records->stored;
    code = apply(application, records->pending, &after);
    if (code == SQLITE_OK) code = connection_.confirm(application, after);
    if (code == SQLITE_OK) code = connection_.commit();
    if (code != SQLITE_OK) {
        Problem failure = failed(code);
        connection_.rollback();
        return failure;
    }
    records->stored = std::move(after);
    for (auto& [key, value] : records->pending) {
        records->written.insert_or_assign(key, std::move(value));
    }
    records->pending.clear();
    return std::nullopt;
}

/// Leaves alone what is already as it should be: where nothing differs, nothing goes to disk.
int Store::apply(const std::string& application, const Changes& changes, Records* records) {
    int code = SQLITE_OK;
    for (const auto& [key, value] : changes) {
        const auto stored = records->find(key);
        const bool is_stored = stored != records->end();
        if (!value) {
            // Also a record that reads as none, so that none is what stays.
            code = connection_.remove(application, key);
            records->erase(key);
        } else if (!is_stored || !same(stored->second, *value)) {
            code = connection_.set(application, key, *value);
            records->insert_or_assign(key, *value);
        }
        if (code != SQLITE_OK) break;
    }
    return code;
}

Problem Store::failed(int code) {
    Problem problem{path_, sqlite3_errstr(code & 0xff)};
    if (is_about_lock(code)) {
        problem.reason = kLocked;
        present_patience_ = kShortPatience;
        connection_.set_patience(present_patience_);
    } else if (is_about_content(code)) {
        problem.is_damage = access_ != Access::kFrozen;
        if (code == SQLITE_FORMAT) problem.reason = "it holds other tables than records";
        if (code == SQLITE_INTERRUPT) problem.reason = "it takes for ever to read";
        if (code == SQLITE_IOERR_SHORT_READ) problem.reason = "it ends too early";
    } else {
        problem.error = disk_error(code);
        if (problem.error != 0) problem.reason = std::strerror(problem.error);
        // A file that SQLite calls read-only although the system does not has a damaged header.
        const bool is_readonly = (code & 0xff) == SQLITE_READONLY;
        problem.is_damage = is_readonly && problem.error == 0 && access_ != Access::kFrozen;
    }
    return problem;
}

/// SQLite's codes name the operation that failed. The reason is what its user can do something
/// about.
int Store::disk_error(int code) const {
    for (const std::string& path : {directory_, path_}) {
        if (const int error = writing_error(path)) return error;
    }
    if (FileSizeSignalBlocked::is_pending()) return EFBIG;
    if ((code & 0xff) == SQLITE_FULL) return ENOSPC;
    if ((code & 0xff) == SQLITE_READONLY) return 0;
    const int error = connection_.system_error();
    return error == 0 && (code & 0xff) == SQLITE_IOERR ? EIO : error;
}

/// Puts the damaged file out of the way; the next one to write begins a new one. False when that is
/// not possible.
bool Store::begin_anew(const Problem& damage) {
    connection_.abandon();
    const DirectoryLock lock(directory_, DirectoryLock::Mode::kAlone, present_patience_);
    if (lock.error() != 0) return false;
    // Another process may have done it first, and the file that is there now may be a good one.
    if (identity_of(path_) != identity_) return true;
    std::string aside;
    if (set_aside(path_, &aside)) return false;
    report(aside, path_ + " is damaged (" + damage.reason + "); it is kept as " + aside +
                      ", and a new one is begun");
    return true;
}

void Store::close() {
    if (!connection_.is_open()) return;
    const FileSizeSignalBlocked blocked;
    const DirectoryLock lock(directory_, DirectoryLock::Mode::kShared, present_patience_);
    // SQLite itself keeps its hands off the names when they have come to mean other files; the lock
    // sees to it that they do not change in the meantime.
    if (lock.error() == 0) {
        connection_.close();
    } else {
        connection_.abandon();
    }
}

void Store::abandon() {
    connection_.abandon();
}

void Store::report(const std::string& cause, const std::string& line) {
    if (!reported_.insert(cause).second) return;
    std::fputs(printable("*** texprobe records: " + line).append("\n").c_str(), stderr);
}

}  // namespace texprobe::platform
