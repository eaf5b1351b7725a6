// A store that cannot be written: one line, and the process goes on with what it has.

#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fstream>

#include "platform/store_fixture.h"

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using texprobe::platform::Access;
using texprobe::platform::Connection;
using texprobe::platform::DirectoryLock;
using texprobe::platform::Journal;
using texprobe::platform::same;
using texprobe::tests::errors_of;
using texprobe::tests::in_child;
using texprobe::tests::kAnotherUser;
using texprobe::tests::Preferences;

class StoreFailures : public texprobe::tests::StoreFixture {
protected:
    std::string line(const fs::path& path, const std::string& reason) const {
        return "*** texprobe records: cannot use " + path.string() + ": " + reason + "\n";
    }

    /// An ordinary user, to whom the folders of the test are given.
    uid_t ordinary_user() const {
        if (geteuid() != 0) return geteuid();
        for (const auto& entry : fs::recursive_directory_iterator(home())) {
            if (lchown(entry.path().c_str(), kAnotherUser, kAnotherUser) != 0) throw errno;
        }
        if (chown(home().c_str(), kAnotherUser, kAnotherUser) != 0) throw errno;
        return kAnotherUser;
    }

    /// Sets two values, one a synchronization, neither of which reaches the disk.
    static bool goes_on_alone(Preferences& preferences) {
        preferences.change(kApp, {{"first", true}});
        const bool first = preferences.synchronize(kApp);
        preferences.change(kApp, {{"second", true}});
        const bool second = preferences.synchronize(kApp);
        return !first && !second && preferences.value(kApp, "first") &&
               preferences.value(kApp, "second");
    }
};

TEST_F(StoreFailures, of_a_folder_that_may_not_be_written_cost_one_line) {
    write("key", true);
    const uid_t user = ordinary_user();
    // One's own folder is made writable again, so it is the one above that must refuse.
    fs::remove_all(directory());
    ASSERT_EQ(chmod(config().c_str(), 0500), 0);
    const std::string said = errors_of([this, user] {
        EXPECT_TRUE(in_child(
            [this] {
                Preferences preferences(directory());
                return goes_on_alone(preferences);
            },
            user));
    });
    EXPECT_EQ(said, line(directory(), "Permission denied"));
    ASSERT_EQ(chmod(config().c_str(), 0700), 0);
}

/// A process of its own with a file system of its own over the home; skipped where that is not
/// allowed.
bool in_child_with_mount(const fs::path& home, const std::string& size, bool read_only,
                         const std::function<bool()>& before, const std::function<bool()>& action,
                         bool* allowed) {
    *allowed = in_child([&home, &size] {
        return unshare(CLONE_NEWNS) == 0 &&
               mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
               mount("none", home.c_str(), "tmpfs", 0, ("size=" + size).c_str()) == 0;
    });
    if (!*allowed) return false;
    return in_child([&] {
        if (unshare(CLONE_NEWNS) != 0 ||
            mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            mount("none", home.c_str(), "tmpfs", 0, ("size=" + size).c_str()) != 0 || !before()) {
            return false;
        }
        if (read_only &&
            mount(nullptr, home.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr) != 0) {
            return false;
        }
        return action();
    });
}

TEST_F(StoreFailures, of_a_read_only_disk_cost_one_line_and_its_records_are_read) {
    bool allowed = false;
    const std::string said = errors_of([this, &allowed] {
        const bool passed = in_child_with_mount(
            home(), "1m", true,
            [this] {
                write("key", true);
                return true;
            },
            [this] {
                Preferences preferences(directory());
                const auto stored = preferences.value(kApp, "key");
                return stored && same(*stored, true) && preferences.synchronize("another") &&
                       goes_on_alone(preferences) && preferences.value(kApp, "key");
            },
            &allowed);
        EXPECT_EQ(passed, allowed);
    });
    if (!allowed) GTEST_SKIP() << "mounting is not allowed here";
    EXPECT_EQ(said, line(database(), "Read-only file system"));
}

TEST_F(StoreFailures, of_a_read_only_disk_end_with_it) {
    bool allowed = false;
    const bool passed = in_child_with_mount(
        home(), "1m", true,
        [this] {
            write("key", true);
            return true;
        },
        [this] {
            Preferences preferences(directory());
            if (!preferences.value(kApp, "key")) return false;
            if (mount(nullptr, home().c_str(), nullptr, MS_REMOUNT, nullptr) != 0) return false;
            write("later", true);
            return preferences.synchronize(kApp) && preferences.value(kApp, "later");
        },
        &allowed);
    EXPECT_EQ(passed, allowed);
    if (!allowed) GTEST_SKIP() << "mounting is not allowed here";
}

TEST_F(StoreFailures, of_a_read_only_disk_do_not_make_old_records_of_those_in_a_log) {
    bool allowed = false;
    errors_of([this, &allowed] {
        const bool passed = in_child_with_mount(
            home(), "1m", true,
            [this] {
                write("key", false);
                // A process that dies leaves its log; without the map to it, it cannot be read
                // here.
                const bool written = in_child([this] {
                    auto& preferences = *new Preferences(directory());
                    preferences.change(kApp, {{"key", true}});
                    return preferences.synchronize(kApp);
                });
                return written && fs::remove(database().string() + "-shm");
            },
            [this] {
                const auto seen = read("key");
                return !seen || same(*seen, true);
            },
            &allowed);
        EXPECT_EQ(passed, allowed);
    });
    if (!allowed) GTEST_SKIP() << "mounting is not allowed here";
}

TEST_F(StoreFailures, of_a_full_disk_cost_one_line_and_are_made_up_for) {
    bool allowed = false;
    // The file system's size in kilobytes, from one that holds next to nothing to one that has room
    // for the first synchronization and not for the second.
    for (const int size : {4, 8, 12, 16, 24, 32, 40, 44, 48}) {
        const std::string said = errors_of([this, size, &allowed] {
            const bool passed = in_child_with_mount(
                home(), std::to_string(size) + "k", false, [] { return true; },
                [this] {
                    Preferences preferences(directory());
                    preferences.change(kApp, {{"first", true}});
                    preferences.synchronize(kApp);
                    preferences.change(kApp, {{"second", std::string(10'000, 'x')}});
                    const bool failed = !preferences.synchronize(kApp);
                    const bool seen = preferences.value(kApp, "first").has_value() &&
                                      preferences.value(kApp, "second").has_value();
                    return failed && seen &&
                           mount(nullptr, home().c_str(), nullptr, MS_REMOUNT, "size=1m") == 0 &&
                           preferences.synchronize(kApp) && read("first") && read("second");
                },
                &allowed);
            EXPECT_EQ(passed, allowed) << size;
        });
        if (!allowed) GTEST_SKIP() << "mounting is not allowed here";
        // The first thing that finds no room may be the folder.
        EXPECT_EQ(said.rfind("*** texprobe records: cannot use " + config().string(), 0), 0u);
        EXPECT_EQ(said.substr(said.find(": No ")), ": No space left on device\n") << said;
        EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;
    }
}

TEST_F(StoreFailures, of_a_file_size_limit_cost_one_line_and_not_the_process) {
    for (const rlim_t limit : {1000u, 4096u, 8192u, 12288u, 30000u}) {
        const std::string said = errors_of([this, limit] {
            EXPECT_TRUE(in_child([this, limit] {
                signal(SIGXFSZ, SIG_DFL);
                rlimit limits;
                getrlimit(RLIMIT_FSIZE, &limits);
                limits.rlim_cur = limit;
                setrlimit(RLIMIT_FSIZE, &limits);
                Preferences preferences(directory());
                const bool alone = goes_on_alone(preferences);
                limits.rlim_cur = limits.rlim_max;
                setrlimit(RLIMIT_FSIZE, &limits);
                return alone && preferences.synchronize(kApp) && read("first") && read("second");
            })) << limit;
        });
        EXPECT_EQ(said, line(database(), "File too large"));
        fs::remove_all(config());
    }
}

TEST_F(StoreFailures, of_a_file_size_limit_leave_the_applications_own_signal_alone) {
    EXPECT_TRUE(in_child([this] {
        sigset_t signals;
        sigemptyset(&signals);
        sigaddset(&signals, SIGXFSZ);
        sigprocmask(SIG_BLOCK, &signals, nullptr);
        raise(SIGXFSZ);
        write("key", true);
        sigset_t pending;
        sigpending(&pending);
        sigset_t blocked;
        sigprocmask(SIG_BLOCK, nullptr, &blocked);
        return sigismember(&pending, SIGXFSZ) == 1 && sigismember(&blocked, SIGXFSZ) == 1;
    }));
}

TEST_F(StoreFailures, of_a_lock_that_is_never_freed_cost_one_line_and_one_long_wait) {
    write("key", true);
    Connection holder;
    ASSERT_EQ(holder.open(database(), Access::kReadWrite), SQLITE_OK);
    ASSERT_EQ(holder.begin(Journal::kWriteAhead), SQLITE_OK);
    Preferences preferences(directory(), 1500ms);
    const std::string said = errors_of([&preferences] {
        const auto begin = std::chrono::steady_clock::now();
        preferences.change(kApp, {{"late", true}});
        EXPECT_FALSE(preferences.synchronize(kApp));
        const auto first = std::chrono::steady_clock::now() - begin;
        EXPECT_GE(first, 1s);
        for (int i = 0; i < 3; ++i) EXPECT_FALSE(preferences.synchronize(kApp));
        EXPECT_LT(std::chrono::steady_clock::now() - begin - first, 1s);
        EXPECT_TRUE(preferences.value(kApp, "late").has_value());
        EXPECT_TRUE(preferences.value(kApp, "key").has_value());
    });
    EXPECT_EQ(said, line(database(), "another process keeps it locked"));
    holder.rollback();
    EXPECT_TRUE(preferences.synchronize(kApp));
    EXPECT_TRUE(read("late").has_value());
}

TEST_F(StoreFailures, of_a_store_that_is_being_set_aside_for_ever_cost_one_line) {
    write("key", true);
    const DirectoryLock alone(directory(), DirectoryLock::Mode::kAlone, 0ms);
    ASSERT_EQ(alone.error(), 0);
    Preferences preferences(directory(), 50ms);
    EXPECT_EQ(errors_of([&preferences] { EXPECT_TRUE(goes_on_alone(preferences)); }),
              line(directory(), "another process keeps it locked"));
}

TEST_F(StoreFailures, of_a_process_without_descriptors_cost_one_line) {
    write("key", true);
    Preferences preferences(directory());
    rlimit before;
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit none = {0, before.rlim_max};
    const std::string said = errors_of([&] {
        setrlimit(RLIMIT_NOFILE, &none);
        EXPECT_TRUE(goes_on_alone(preferences));
        setrlimit(RLIMIT_NOFILE, &before);
    });
    EXPECT_EQ(said, line(directory(), "Too many open files"));
    EXPECT_TRUE(preferences.synchronize(kApp));
    EXPECT_TRUE(read("second").has_value());
}

}  // namespace
