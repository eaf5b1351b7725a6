// A user's store in a folder of the test, examined with our code and without it.

#ifndef TEXPROBE_TESTS_STORE_FIXTURE_H
#define TEXPROBE_TESTS_STORE_FIXTURE_H

#include <RecordStore/record_store.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

#include "support/process.h"
#include "support/same_value.h"
#include "support/scratch_folder.h"
#include "support/text.h"

namespace texprobe::tests {

using platform::RecordChanges;
using platform::RecordStore;
using platform::Value;

/// Executes SQL on a database. Columns are joined by "|", and each row ends with a line feed.
inline std::string query(const std::filesystem::path& database, const std::string& sql) {
    sqlite3* opened = nullptr;
    sqlite3_open(database.c_str(), &opened);
    sqlite3_busy_timeout(opened, 10'000);
    const std::unique_ptr<sqlite3, int (*)(sqlite3*)> closing(opened, sqlite3_close);
    std::string rows;
    const auto collect = [](void* text, int count, char** columns, char**) {
        for (int i = 0; i < count; ++i) {
            if (i > 0) *static_cast<std::string*>(text) += '|';
            *static_cast<std::string*>(text) += columns[i] ? columns[i] : "NULL";
        }
        *static_cast<std::string*>(text) += '\n';
        return 0;
    };
    if (sqlite3_exec(opened, sql.c_str(), collect, &rows, nullptr) != SQLITE_OK) {
        throw std::runtime_error(sql + ": " + sqlite3_errmsg(opened));
    }
    return rows;
}

/// Another program's transaction, as long as this object exists.
class HeldLock {
public:
    explicit HeldLock(const std::filesystem::path& database) {
        sqlite3_open(database.c_str(), &opened_);
        sqlite3_exec(opened_, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr);
    }
    ~HeldLock() { sqlite3_close(opened_); }
    HeldLock(const HeldLock&) = delete;
    HeldLock& operator=(const HeldLock&) = delete;

private:
    sqlite3* opened_ = nullptr;
};

/// What `action` writes to standard error.
inline std::string errors_of(const std::function<void()>& action) {
    testing::internal::CaptureStderr();
    action();
    return testing::internal::GetCapturedStderr();
}

/// Runs `action` in a separate process, as an ordinary user if this one is root. True if it
/// returned true and did not die.
inline bool in_child(const std::function<bool()>& action, uid_t user = geteuid()) {
    return status_of(start([&] {
               const bool became = user == geteuid() || setresuid(user, user, user) == 0;
               return became && action() ? 0 : 1;
           })) == 0;
}

/// A user other than root, and probably other than the one who runs the tests.
constexpr uid_t kAnotherUser = 54321;

class StoreFixture : public testing::Test {
protected:
    static constexpr const char* kApp = "org.example.app";

    const std::filesystem::path& home() const { return folder_.path(); }
    std::filesystem::path config() const { return home() / ".config"; }
    std::filesystem::path directory() const { return config() / "texprobe"; }
    std::filesystem::path database() const { return directory() / "records.sqlite3"; }
    std::filesystem::path aside() const { return database().string() + ".damaged"; }

    std::string rows(const std::string& sql) const { return query(database(), sql); }

    /// Sets and removes values, and synchronizes.
    static bool put(RecordStore& store, const RecordChanges& changes) {
        store.change(kApp, changes);
        return store.synchronize(kApp);
    }

    /// Sets one value, as a separate process would.
    void write(const std::string& key, const Value& value) const {
        RecordStore store(directory());
        if (!put(store, {{key, value}})) throw std::runtime_error("cannot write " + key);
    }

    /// Sets values in a process that dies then. It leaves its log.
    bool write_and_die(const RecordChanges& changes) const {
        return in_child([&] { return put(*new RecordStore(directory()), changes); });
    }

    /// The value as another process sees it.
    std::optional<Value> read(const std::string& key) const {
        return RecordStore(directory()).value(kApp, key);
    }

    static std::string cannot_use(const std::filesystem::path& path, const std::string& reason) {
        return "*** texprobe records: cannot use " + path.string() + ": " + reason + "\n";
    }

    /// What a process prints at its end that could not store these two records.
    std::string missing(const std::string& keys) const {
        return "*** texprobe records: 2 records are missing or in doubt in " + database().string() +
               ": " + keys + "; remove that file and run texprobe to measure everything again\n";
    }

    mode_t mode_of(const std::filesystem::path& path) const {
        return static_cast<mode_t>(std::filesystem::status(path).permissions());
    }

private:
    ScratchFolder folder_;
};

}  // namespace texprobe::tests

#endif
