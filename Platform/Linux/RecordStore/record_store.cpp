#include "record_store.h"

#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <thread>
#include <utility>
#include <vector>

#include "location.h"
#include "messages.h"
#include "user_home.h"

namespace texprobe::platform {

namespace {

Status no_directory() {
    const std::string missing = home_of_user().missing;
    return {Status::kUnusable, "",
            "the user has no home directory" + (missing.empty() ? missing : ": " + missing)};
}

struct ClosedAtExit {
    RecordStore& store;
    ~ClosedAtExit() { store.close(); }
};

// Called when the program is loaded, before there are threads. Later, a fork while another thread
// is in here for the first time would leave the child waiting for that first use forever.
[[maybe_unused]] const RecordStore& madeAtLoad = RecordStore::of_process();

}  // namespace

RecordStore& RecordStore::of_process() {
    static RecordStore& store = *new RecordStore;
    static const ClosedAtExit closedAtExit{store};
    // A child inherits the open files but not their locks. Closing them there would affect the
    // parent.
    [[maybe_unused]] static const int registered =
        pthread_atfork([] { store.lock_for_fork(); }, [] { store.unlock_after_fork(); },
                       [] { store.unlock_after_fork(); });
    return store;
}

const std::string& RecordStore::directory() {
    if (!directory_) directory_ = records_directory();
    return *directory_;
}

std::optional<Value> RecordStore::value(const std::string& application, const std::string& key) {
    std::unique_lock lock(mutex_);
    const Application& view = known(application, lock);
    const auto changed = view.pending.find(key);
    if (changed != view.pending.end()) return changed->second;
    const auto stored = view.stored.find(key);
    return stored == view.stored.end() ? std::nullopt : std::optional(stored->second);
}

Records RecordStore::records(const std::string& application) {
    std::unique_lock lock(mutex_);
    const Application& view = known(application, lock);
    Records records = view.stored;
    for (const auto& [key, value] : view.pending) {
        if (value) {
            records.insert_or_assign(key, *value);
        } else {
            records.erase(key);
        }
    }
    return records;
}

std::optional<Texts> RecordStore::read_texts(const std::string& application,
                                             const std::string& prefix) {
    Texts texts;
    const Status status = patiently(patience_.usual, [&] {
        return look(
            [&](Database& database) { return database.read_texts(application, prefix, &texts); });
    });
    const std::lock_guard lock(mutex_);
    return report(status) ? std::optional(std::move(texts)) : std::nullopt;
}

std::set<std::string> RecordStore::applications() {
    std::set<std::string> names;
    const Status status = patiently(patience_.usual, [&] {
        return look([&](Database& database) { return database.read_applications(&names); });
    });
    const std::lock_guard lock(mutex_);
    for (const auto& [name, application] : applications_) {
        for (const auto& [key, value] : application.pending) {
            if (value) names.insert(name);
        }
    }
    report(status);
    return names;
}

/// The application's records, read from the store on first use.
RecordStore::Application& RecordStore::known(const std::string& application,
                                             std::unique_lock<std::mutex>& lock) {
    Application& view = applications_[application];
    // Even on failure: a store that fails is not tried again for each key.
    if (std::exchange(view.isKnown, true)) return view;
    lock.unlock();
    const Status status = settle(application, Database::kLook, patience_.usual);
    lock.lock();
    report(status);
    return view;
}

void RecordStore::change(const std::string& application, const RecordChanges& changes) {
    const std::lock_guard lock(mutex_);
    RecordChanges& pending = applications_[application].pending;
    for (const auto& [key, value] : changes) pending.insert_or_assign(key, value);
}

bool RecordStore::synchronize(const std::string& application) {
    const Status status = settle(application, Database::kWrite, patience_.usual);
    const std::lock_guard lock(mutex_);
    Application& view = applications_[application];
    view.hasFailed = !status.ok() && !view.pending.empty();
    return report(status);
}

/// Retries until it succeeds or the time is over. Waits without the mutex, because a fork takes it.
Status RecordStore::patiently(std::chrono::milliseconds patience,
                              const std::function<Status()>& attempt) {
    const auto deadline = std::chrono::steady_clock::now() + patience;
    for (;;) {
        Status status;
        {
            const std::lock_guard lock(mutex_);
            if (directory().empty()) return no_directory();
            if (database_.is_open() && identity_of(path()) != identity_) database_.close(true);
            status = attempt();
            if (!status.ok() && status.kind != Status::kLocked) database_.close(true);
        }
        if (status.kind != Status::kLocked || std::chrono::steady_clock::now() >= deadline) {
            return status;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

Status RecordStore::settle(const std::string& application, Database::Purpose purpose,
                           std::chrono::milliseconds patience) {
    return patiently(patience,
                     [&] { return attempt(applications_[application], application, purpose); });
}

Status RecordStore::attempt(Application& application, const std::string& name,
                            Database::Purpose purpose) {
    Status status;
    if (purpose == Database::kLook || application.pending.empty()) {
        status = look([&](Database& database) { return database.read(name, &application.stored); });
    } else {
        status = write(application, name);
        if (status.kind == Status::kDamaged) {
            status = begin_anew(status);
            if (status.ok()) status = write(application, name);
        }
    }
    if (status.ok()) application.isKnown = true;
    return status;
}

/// Has the database read; one that is not open stands for a store that is not there yet.
Status RecordStore::look(const std::function<Status(Database&)>& read) {
    Database lookedAt;
    if (access(path().c_str(), F_OK) != 0 && errno == ENOENT) return read(lookedAt);
    Status status = check(directory(), S_IFDIR);
    if (status.ok()) status = check(path(), S_IFREG);
    if (!status.ok()) return status;
    const DirectoryLock lock(directory(), DirectoryLock::kShared);
    if (!lock.status().ok()) return lock.status();
    if (database_.is_open()) return read(database_);
    status = lookedAt.open(path(), Database::kLook);
    if (status.ok()) status = read(lookedAt);
    lookedAt.close(true);
    return status;
}

Status RecordStore::write(Application& application, const std::string& name) {
    Status status;
    if (!database_.is_open()) {
        status = make_directory(directory());
        if (status.ok()) status = check(directory(), S_IFDIR);
        if (!status.ok()) return status;
    }
    const DirectoryLock lock(directory(), DirectoryLock::kShared);
    if (!lock.status().ok()) return lock.status();
    if (!database_.is_open()) {
        status = make_file(path());
        if (status.ok()) status = check(path(), S_IFREG);
        if (!status.ok()) return status;
        if (access(path().c_str(), W_OK) != 0) return Status::system(path(), errno);
        identity_ = identity_of(path()).value_or(FileIdentity());
        status = database_.open(path(), Database::kWrite,
                                is_on_local_disk(path()) ? Database::kLog : Database::kRollback);
        if (!status.ok()) return status;
        isKnownAsOurs_ = false;
    }
    status = database_.write(name, application.pending, &application.stored);
    if (!status.ok()) return status;
    application.pending.clear();
    // Only now is it certain that the store is ours. Not after each commit: a file whose times were
    // looked at gets new ones with the next write, and a commit then takes half as long again.
    if (!std::exchange(isKnownAsOurs_, true)) make_private(directory(), path());
    return status;
}

/// Puts the damaged database aside, unless another process has done so meanwhile.
Status RecordStore::begin_anew(const Status& damage) {
    database_.close(true);
    const DirectoryLock lock(directory(), DirectoryLock::kAlone);
    if (!lock.status().ok()) return lock.status();
    if (identity_of(path()) != identity_) return {};
    Status status = put_aside(path());
    if (status.ok()) {
        say(path() + " is damaged (" + damage.reason + "); it was moved to " + path() +
            ".damaged, and a new one was created");
    }
    return status;
}

void RecordStore::close() {
    std::vector<std::string> failed;
    {
        const std::lock_guard lock(mutex_);
        for (const auto& [name, application] : applications_) {
            if (application.hasFailed && !application.pending.empty()) failed.push_back(name);
        }
    }
    auto patience = patience_.last;
    for (const std::string& name : failed) {
        // One time limit for all of them.
        const Status status = settle(name, Database::kWrite, patience);
        if (status.kind == Status::kLocked) patience = std::chrono::milliseconds(0);
    }
    const std::lock_guard lock(mutex_);
    report_missing();
    if (!database_.is_open()) return;
    // SQLite deletes the log by name; the lock guarantees that the name still refers to this log.
    const DirectoryLock held(directory(), DirectoryLock::kShared);
    database_.close(!held.status().ok() || identity_of(path()) != identity_);
}

/// Prints which records may not be on disk although a caller has seen their values.
void RecordStore::report_missing() {
    constexpr std::size_t kNamed = 3;
    std::size_t count = 0;
    std::string keys;
    std::string maker = "texprobe";
    for (auto& [name, application] : applications_) {
        if (!std::exchange(application.hasFailed, false)) continue;
        if (name.rfind("org.texprobe.survey", 0) == 0) maker = "texprobe-survey and texprobe";
        for (const auto& [key, value] : application.pending) {
            if (++count <= kNamed) keys += (keys.empty() ? "" : ", ") + key;
        }
    }
    if (count == 0) return;
    if (count > kNamed) keys += ", ...";
    const std::string records =
        std::to_string(count) + (count == 1 ? " record is" : " records are");
    if (directory().empty()) {
        say(records + " missing: " + keys + "; give the user a home directory and run " + maker +
            " again");
        return;
    }
    say(records + " missing or in doubt in " + path() + ": " + keys +
        "; remove that file and run " + maker + " to measure everything again");
}

void RecordStore::lock_for_fork() {
    mutex_.lock();
    database_.close(true);
}

/// True on success. Prints each kind of failure once; a thread that keeps its messages gets each.
bool RecordStore::report(const Status& status) {
    if (status.ok()) return true;
    if (are_messages_kept() || reported_.insert(status.kind).second) {
        say(status.path.empty() ? status.reason
                                : "cannot use " + status.path + ": " + status.reason);
    }
    return false;
}

}  // namespace texprobe::platform
