// A store that cannot be written: one line, and the process continues with its own view.

#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <functional>
#include <optional>
#include <thread>

#include "store/store_fixture.h"

namespace texprobe::tests {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using platform::DirectoryLock;

constexpr const char* kNoMounts = "mounting is not allowed here";

class StoreFailures : public StoreFixture {
protected:
    bool remount(unsigned long flags, const char* size = nullptr) const {
        return mount(nullptr, home().c_str(), nullptr, MS_REMOUNT | flags, size) == 0;
    }

    /// What `action` prints in a process with a disk of its own at the home, so many kilobytes
    /// large; nothing where mounting is not allowed.
    std::optional<std::string> on_own_disk(int size, const std::function<bool()>& action) const {
        const std::string options = "size=" + std::to_string(size) + "k";
        const auto mountOwn = [&] {
            return unshare(CLONE_NEWNS) == 0 &&
                   mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
                   mount("none", home().c_str(), "tmpfs", 0, options.c_str()) == 0;
        };
        if (!in_child(mountOwn)) return std::nullopt;
        return errors_of(
            [&] { EXPECT_TRUE(in_child([&] { return mountOwn() && action(); })) << size; });
    }

    /// Sets two values, with a synchronization each; neither reaches the disk.
    static bool goes_on_alone(RecordStore& store) {
        const bool first = put(store, {{"first", true}});
        const bool second = put(store, {{"second", true}});
        return !first && !second && store.value(kApp, "first") && store.value(kApp, "second");
    }
};

TEST_F(StoreFailures, of_a_folder_that_may_not_be_written_cost_one_line) {
    // The store restores write permission on its own folder, so the parent must refuse.
    fs::create_directory(config());
    ASSERT_EQ(chmod(home().c_str(), 0755), 0);
    ASSERT_EQ(chmod(config().c_str(), 0555), 0);
    const auto goOn = [this] {
        RecordStore store(directory());
        return goes_on_alone(store);
    };
    const uid_t user = geteuid() == 0 ? kAnotherUser : geteuid();
    EXPECT_EQ(errors_of([&] { EXPECT_TRUE(in_child(goOn, user)); }),
              cannot_use(directory(), "Permission denied") + missing("first, second"));
    ASSERT_EQ(chmod(config().c_str(), 0700), 0);
}

TEST_F(StoreFailures, of_a_read_only_disk_cost_one_line_and_end_with_it_and_records_are_read) {
    const auto said = on_own_disk(1024, [this] {
        write("key", true);
        if (!remount(MS_RDONLY)) return false;
        RecordStore store(directory());
        const auto stored = store.value(kApp, "key");
        const bool isAlone = stored && same(*stored, true) && store.synchronize("another") &&
                             goes_on_alone(store) && store.value(kApp, "key");
        RecordStore reader(directory());
        if (!isAlone || !reader.value(kApp, "key") || !remount(0)) return false;
        write("later", true);
        return reader.synchronize(kApp) && reader.value(kApp, "later");
    });
    if (!said) GTEST_SKIP() << kNoMounts;
    EXPECT_EQ(*said, cannot_use(database(), "Read-only file system"));
}

TEST_F(StoreFailures, of_a_read_only_disk_do_not_make_old_records_of_those_in_a_log) {
    const auto said = on_own_disk(1024, [this] {
        write("key", false);
        // The log cannot be read here without its index.
        const bool isLogLeft =
            write_and_die({{"key", true}}) && fs::remove(database().string() + "-shm");
        if (!isLogLeft || !remount(MS_RDONLY)) return false;
        const auto seen = read("key");
        return !seen || same(*seen, true);
    });
    if (!said) GTEST_SKIP() << kNoMounts;
}

TEST_F(StoreFailures, of_a_full_disk_cost_one_line_and_are_made_up_for) {
    // In kilobytes: from room for almost nothing to room for the first synchronization but not for
    // the second.
    for (const int size : {4, 8, 12, 16, 24, 32, 40, 44, 48}) {
        const auto said = on_own_disk(size, [this] {
            RecordStore store(directory());
            put(store, {{"first", true}});
            const bool failed = !put(store, {{"second", std::string(10'000, 'x')}});
            return failed && store.value(kApp, "first") && store.value(kApp, "second") &&
                   remount(0, "size=1m") && store.synchronize(kApp) && read("first") &&
                   read("second");
        });
        if (!said) GTEST_SKIP() << kNoMounts;
        // The folder may be the first thing for which there is no room.
        EXPECT_EQ(said->rfind("*** texprobe records: cannot use " + config().string(), 0), 0u);
        EXPECT_EQ(std::count(said->begin(), said->end(), '\n'), 1) << *said;
    }
}

/// Stores three renderers' records, one after the other as a run does. A set of which the first
/// record was stored is stored whole: a test's false is never left without its outcome.
bool stores_whole_sets_or_none(RecordStore& store) {
    for (int renderer = 0; renderer < 3; ++renderer) {
        const std::string app =
            "org.texprobe.texprobe2." + std::to_string(renderer) + ".6.1.0-18-amd64-16eee710";
        store.change(app, {{"VERSION", 0.21}});
        const bool isBegun = store.synchronize(app);
        for (int i = 0; i < (isBegun ? 100 : 3); ++i) {
            store.change(app,
                         {{"GL_LUMINANCE16_ALPHA16_DOWNLOAD_READ" + std::to_string(i), false}});
            if (store.synchronize(app) != isBegun) return false;
        }
    }
    return true;
}

TEST_F(StoreFailures, of_a_full_disk_leave_no_record_set_half_stored) {
    // In kilobytes: from room for a log and not for a set to room for three.
    for (int size = 540; size <= 760; size += 20) {
        const auto said = on_own_disk(size, [this] {
            RecordStore store(directory());
            return stores_whole_sets_or_none(store);
        });
        if (!said) GTEST_SKIP() << kNoMounts;
    }
}

TEST_F(StoreFailures, of_a_file_size_limit_cost_one_line_and_not_the_process) {
    for (const rlim_t limit : {1000u, 4096u, 8192u, 12288u, 30000u}) {
        const std::string said = errors_of([this, limit] {
            EXPECT_TRUE(in_child([this, limit] {
                signal(SIGXFSZ, SIG_IGN);  // as the tool does
                rlimit limits;
                getrlimit(RLIMIT_FSIZE, &limits);
                limits.rlim_cur = limit;
                setrlimit(RLIMIT_FSIZE, &limits);
                RecordStore store(directory());
                const bool alone = goes_on_alone(store);
                limits.rlim_cur = limits.rlim_max;
                setrlimit(RLIMIT_FSIZE, &limits);
                return alone && store.synchronize(kApp) && read("first") && read("second");
            })) << limit;
        });
        EXPECT_EQ(said.rfind("*** texprobe records: cannot use " + database().string(), 0), 0u);
        EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;
        fs::remove_all(config());
    }
}

TEST_F(StoreFailures, of_a_lock_that_is_held_too_long_cost_one_line_and_are_made_up_for) {
    write("key", true);
    std::optional<HeldLock> holder(database());
    EXPECT_EQ(errors_of([this] { EXPECT_TRUE(same(*read("key"), true)); }), "");
    RecordStore store(directory(), {100ms, 100ms});
    const std::string said = errors_of([&store] {
        const auto begin = std::chrono::steady_clock::now();
        EXPECT_FALSE(put(store, {{"late", true}}));
        EXPECT_GE(std::chrono::steady_clock::now() - begin, 100ms);
        for (int i = 0; i < 3; ++i) EXPECT_FALSE(store.synchronize(kApp));
        EXPECT_TRUE(store.value(kApp, "late").has_value());
        EXPECT_TRUE(store.value(kApp, "key").has_value());
    });
    EXPECT_EQ(said, cannot_use(database(), "another process keeps it locked"));
    holder.reset();
    EXPECT_TRUE(store.synchronize(kApp));
    EXPECT_TRUE(read("late").has_value());
    EXPECT_EQ(errors_of([&store] { store.close(); }), "");
}

TEST_F(StoreFailures, of_a_lock_that_ends_before_the_process_does_lose_nothing) {
    write("key", true);
    std::optional<HeldLock> holder(database());
    RecordStore store(directory(), {0ms, 10s});
    const std::string said = errors_of([&] {
        EXPECT_FALSE(put(store, {{"late", true}}));
        std::thread freed([&holder] {
            std::this_thread::sleep_for(200ms);
            holder.reset();
        });
        store.close();
        freed.join();
    });
    EXPECT_EQ(said, cannot_use(database(), "another process keeps it locked"));
    EXPECT_TRUE(read("late").has_value());
}

TEST_F(StoreFailures, that_last_until_the_end_name_what_is_missing) {
    write("GL_RGB8_SUPPORTED", false);
    const HeldLock holder(database());
    RecordStore store(directory(), {0ms, 0ms});
    errors_of([&store] { EXPECT_FALSE(put(store, {{"GL_RGB8_SUPPORTED", true}})); });
    const std::string place = " missing or in doubt in " + database().string() + ": ";
    const std::string advice = "; remove that file and run texprobe to measure everything again\n";
    EXPECT_EQ(errors_of([&store] { store.close(); }),
              "*** texprobe records: 1 record is" + place + "GL_RGB8_SUPPORTED" + advice);
    // Printed once, until more records are missing.
    EXPECT_EQ(errors_of([&store] { store.close(); }), "");
    errors_of([&store] { EXPECT_FALSE(put(store, {{"a", true}, {"b", true}, {"c", true}})); });
    EXPECT_EQ(
        errors_of([&store] { store.close(); }),
        "*** texprobe records: 4 records are" + place + "GL_RGB8_SUPPORTED, a, b, ..." + advice);
}

TEST_F(StoreFailures, of_a_store_that_is_being_put_aside_for_ever_cost_one_line) {
    write("key", true);
    const DirectoryLock alone(directory(), DirectoryLock::kAlone);
    const std::string line = cannot_use(directory(), "another process keeps it locked");
    EXPECT_EQ(errors_of([this] {
                  RecordStore store(directory(), {0ms, 0ms});
                  EXPECT_FALSE(store.synchronize(kApp)) << "to look";
              }),
              line);
    EXPECT_EQ(errors_of([this] {
                  RecordStore store(directory(), {0ms, 0ms});
                  EXPECT_TRUE(goes_on_alone(store));
              }),
              line + missing("first, second"));
}

TEST_F(StoreFailures, at_the_end_do_not_store_what_nobody_synchronized) {
    {
        RecordStore store(directory());
        store.change(kApp, {{"key", true}});
    }
    EXPECT_FALSE(fs::exists(config()));
}

TEST_F(StoreFailures, of_a_process_without_descriptors_cost_one_line) {
    write("key", true);
    RecordStore store(directory());
    rlimit before;
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit none = {0, before.rlim_max};
    const std::string said = errors_of([&] {
        setrlimit(RLIMIT_NOFILE, &none);
        EXPECT_TRUE(goes_on_alone(store));
        setrlimit(RLIMIT_NOFILE, &before);
    });
    EXPECT_EQ(said, cannot_use(directory(), "Too many open files"));
    EXPECT_TRUE(store.synchronize(kApp));
    EXPECT_TRUE(read("second").has_value());
}

}  // namespace
}  // namespace texprobe::tests
