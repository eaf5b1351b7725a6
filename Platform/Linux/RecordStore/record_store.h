// The records of all applications: what this process knows and has changed, over one database in
// one directory. Decides who waits for a locked store and how long, what happens to a damaged one,
// and what its user is told.

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

/// May be used by several threads. A failure is said once for each kind, on standard error, and the
/// caller goes on with what this process knows.
class RecordStore {
public:
    /// How long one synchronization, and the last attempt at the end of the process, wait for
    /// another process. Short, because a run synchronizes a hundred times.
    struct Patience {
        std::chrono::milliseconds usual{1'000};
        std::chrono::milliseconds last{10'000};
    };

    /// An empty directory means that the user has none.
    explicit RecordStore(std::string directory) : RecordStore(std::move(directory), Patience()) {}
    RecordStore(std::string directory, Patience patience)
        : directory_(std::move(directory)), patience_(patience) {}
    ~RecordStore() { close(); }
    RecordStore(const RecordStore&) = delete;
    RecordStore& operator=(const RecordStore&) = delete;

    /// The one that the public functions work on. Lives until the process has ended, so that it
    /// serves the destructors of the application's own objects, too.
    static RecordStore& of_process();

    std::optional<Value> value(const std::string& application, const std::string& key);

    /// All records of one application, as this process sees them.
    Records records(const std::string& application);

    /// The applications that have records, as far as the store and this process's changes tell.
    std::set<std::string> applications();

    /// Sets and removes at once, as far as this process sees.
    void change(const std::string& application, const Changes& changes);

    /// Makes the changes of one application durable in one transaction, and sees what other
    /// processes have made durable. False when that failed: the changes wait for the next time.
    /// Without a change it only looks, which makes no file and no record.
    bool synchronize(const std::string& application);

    /// Tries for the last time what could not be made durable, and says what is missing. Nothing
    /// stays open; the next use opens it again.
    void close();

    /// Around a fork: no other thread is in here, and nothing is open that parent and child would
    /// both own. Nobody waits for another process in here, so a fork does not either.
    void lock_for_fork();
    void unlock_after_fork() { mutex_.unlock(); }

private:
    /// The one of the process asks where the records are at its first use.
    RecordStore() = default;

    struct Application {
        Records stored;   ///< as last read
        Changes pending;  ///< since the last synchronization
        bool is_known = false;
        bool has_failed = false;  ///< `pending` should have been durable by now
    };

    Application& known(const std::string& application, std::unique_lock<std::mutex>& lock);
    Status patiently(std::chrono::milliseconds patience, const std::function<Status()>& attempt);
    Status settle(const std::string& application, Database::Purpose purpose,
                  std::chrono::milliseconds patience);
    Status attempt(Application& application, const std::string& name, Database::Purpose purpose);
    Status look(const std::function<Status(Database*)>& read);
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
    /// Open in a process that writes, once it has; looking opens one of its own.
    Database database_;
    Identity identity_;
    std::set<Status::Kind> reported_;
};

}  // namespace texprobe::platform

#endif
