// The records of all applications: this process's view and its changes, over one database in one
// directory. Decides how long to wait for a locked store, what happens to a damaged one, and which
// messages the user gets.

#ifndef TEXPROBE_PLATFORM_RECORD_STORE_H
#define TEXPROBE_PLATFORM_RECORD_STORE_H

#include <chrono>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>

#include "database.h"
#include "files.h"
#include "status.h"
#include "value.h"

namespace texprobe::platform {

/// Thread-safe. Each kind of failure is printed once on standard error, and the process continues
/// with its own view.
class RecordStore {
public:
    /// How long one synchronization, and the last attempt at the end of the process, wait for
    /// another process. Short, because a run synchronizes a hundred times.
    struct Patience {
        std::chrono::milliseconds usual{1'000};
        std::chrono::milliseconds last{10'000};
    };

    /// An empty directory: the user has none.
    explicit RecordStore(std::string directory) : RecordStore(std::move(directory), Patience()) {}
    RecordStore(std::string directory, Patience patience)
        : directory_(std::move(directory)), patience_(patience) {}
    ~RecordStore() { close(); }
    RecordStore(const RecordStore&) = delete;
    RecordStore& operator=(const RecordStore&) = delete;

    /// The instance behind the public functions. Never destroyed, so that destructors of the
    /// application's static objects can use it, too.
    static RecordStore& of_process();

    std::optional<Value> value(const std::string& application, const std::string& key);

    /// All records of one application, as this process sees them.
    Records records(const std::string& application);

    /// The application's strings whose keys begin with `prefix`, as they are in the store now; this
    /// process's view is neither asked nor changed. Nothing on failure.
    std::optional<Texts> read_texts(const std::string& application, const std::string& prefix);

    /// The applications that have records, in the store or in this process's changes.
    std::set<std::string> applications();

    /// Sets and removes values in this process's view.
    void change(const std::string& application, const RecordChanges& changes);

    /// Makes one application's changes durable in one transaction and reads what other processes
    /// have stored. On failure it returns false and keeps the changes for the next time. Without
    /// changes it only reads: it makes no record, and no file but those that SQLite wants beside
    /// the database (-wal and -shm), which may stay.
    bool synchronize(const std::string& application);

    /// Tries one last time to store pending records, and prints those still missing. Closes all;
    /// the next use opens it again.
    void close();

    /// Around a fork: keeps other threads out, and closes all that both processes would own. No
    /// thread holds the mutex while it waits for another process, so a fork never waits for one.
    void lock_for_fork();
    void unlock_after_fork() { mutex_.unlock(); }

private:
    /// The process's instance looks up the directory on first use.
    RecordStore() = default;

    struct Application {
        Records stored;         ///< as last read
        RecordChanges pending;  ///< since the last synchronization
        bool isKnown = false;
        bool hasFailed = false;  ///< `pending` should have been durable by now
    };

    Application& known(const std::string& application, std::unique_lock<std::mutex>& lock);
    Status patiently(std::chrono::milliseconds patience, const std::function<Status()>& attempt);
    Status settle(const std::string& application, Database::Purpose purpose,
                  std::chrono::milliseconds patience);
    Status attempt(Application& application, const std::string& name, Database::Purpose purpose);
    Status look(const std::function<Status(Database&)>& read);
    Status write(Application& application, const std::string& name);
    Status begin_anew(const Status& damage);
    const std::string& directory();
    std::string path() { return directory() + "/records.sqlite3"; }
    bool report(const Status& status);
    void report_missing();

    std::mutex mutex_;
    std::optional<std::string> directory_;
    Patience patience_;
    std::map<std::string, Application> applications_;
    /// Stays open after the first write. Reads before that open a database of their own.
    Database database_;
    FileIdentity identity_;
    bool isKnownAsOurs_ = false;
    std::set<Status::Kind> reported_;
};

}  // namespace texprobe::platform

#endif
