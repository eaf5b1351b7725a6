// Several processes that use one store, forks, and deaths.

#include <atomic>
#include <optional>
#include <thread>
#include <vector>

#include "store/store_fixture.h"

namespace texprobe::tests {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

class StoreProcesses : public StoreFixture {};

TEST_F(StoreProcesses, lose_nothing_of_each_other) {
    std::vector<pid_t> children;
    children.reserve(4);
    for (int i = 0; i < 4; ++i) {
        children.push_back(start([&] {
            RecordStore store(directory());
            bool good = true;
            for (int j = 0; j < 25; ++j) {
                good = put(store, {{std::to_string(25 * i + j), true}}) && good;
            }
            store.close();
            return good ? 0 : 1;
        }));
    }
    for (const pid_t child : children) EXPECT_EQ(status_of(child), 0);
    EXPECT_EQ(rows("SELECT count(*) FROM records"), "100\n");
    EXPECT_EQ(rows("PRAGMA integrity_check"), "ok\n");
}

TEST_F(StoreProcesses, that_damage_meets_together_put_it_aside_once) {
    for (int round = 0; round < 10; ++round) {
        fs::create_directories(directory());
        write_file(database(), "damage");
        std::vector<pid_t> children;
        children.reserve(4);
        for (int i = 0; i < 4; ++i) {
            children.push_back(start([&] {
                close(STDERR_FILENO);
                write(std::to_string(i), true);
                return 0;
            }));
        }
        for (const pid_t child : children) EXPECT_EQ(status_of(child), 0);
        EXPECT_EQ(rows("SELECT count(*) FROM records"), "4\n");
        EXPECT_EQ(read_file(aside()), "damage");
        fs::remove_all(config());
    }
}

/// On the process's own store, which handles forks.
class Forks : public StoreProcesses {
protected:
    static RecordStore& store() { return RecordStore::of_process(); }

    /// Beside the executable, as in all tests of this program.
    fs::path directory_of_process() const {
        return fs::read_symlink("/proc/self/exe").parent_path() / "records";
    }
    void SetUp() override {
        app_ = testing::UnitTest::GetInstance()->current_test_info()->name();
        app_ += std::to_string(getpid());
    }
    void TearDown() override {
        query(directory_of_process() / "records.sqlite3",
              "DELETE FROM records WHERE application = '" + app_ + "'");
    }
    bool has_open_records() const {
        for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
            std::error_code gone;
            const fs::path target = fs::read_symlink(entry.path(), gone);
            if (target.string().rfind(directory_of_process().string(), 0) == 0) return true;
        }
        return false;
    }
    std::string app_;
};

TEST_F(Forks, find_nothing_open_and_disturb_nobody) {
    store().change(app_, {{"before", true}});
    ASSERT_TRUE(store().synchronize(app_));
    EXPECT_TRUE(has_open_records());
    EXPECT_TRUE(in_child([this] {
        if (has_open_records()) return false;
        store().change(app_, {{"child", true}});
        const bool good = store().value(app_, "before") && store().synchronize(app_);
        store().close();
        return good;
    }));
    store().change(app_, {{"after", true}});
    EXPECT_TRUE(store().synchronize(app_));
    EXPECT_TRUE(store().value(app_, "child").has_value());
}

TEST_F(Forks, while_another_thread_synchronizes_leave_both_processes_working) {
    std::atomic<bool> begun{false};
    std::atomic<bool> done{false};
    std::thread busy([this, &begun, &done] {
        for (int i = 0; !done; ++i) {
            store().change(app_, {{"busy", i % 2 == 0}});
            EXPECT_TRUE(store().synchronize(app_));
            begun = true;
            std::this_thread::sleep_for(100us);  // mutexes are not fair: let the fork get it
        }
    });
    // A fork while a thread starts can find the address sanitizer's own locks taken.
    while (!begun) std::this_thread::yield();
    for (int i = 0; i < 20; ++i) {
        EXPECT_TRUE(in_child([this, i] {
            alarm(60);
            store().change(app_, {{std::to_string(i), true}});
            return store().synchronize(app_);
        })) << i;
    }
    done = true;
    busy.join();
    ASSERT_TRUE(store().synchronize(app_));
    for (int i = 0; i < 20; ++i) {
        EXPECT_TRUE(store().value(app_, std::to_string(i)).has_value()) << i;
    }
}

TEST_F(Forks, do_not_wait_for_a_lock_that_another_thread_waits_for) {
    store().change(app_, {{"before", true}});
    ASSERT_TRUE(store().synchronize(app_));
    std::optional<HeldLock> lock(directory_of_process() / "records.sqlite3");
    testing::internal::CaptureStderr();
    std::atomic<bool> waits{false};
    std::thread busy([this, &waits] {
        store().change(app_, {{"busy", true}});
        waits = true;
        EXPECT_FALSE(store().synchronize(app_));
    });
    while (!waits) std::this_thread::yield();
    std::this_thread::sleep_for(100ms);
    const auto begin = std::chrono::steady_clock::now();
    const pid_t child = start([] { return 0; });
    // The other thread waits for a second.
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 500ms);
    status_of(child);
    busy.join();
    testing::internal::GetCapturedStderr();
    lock.reset();
    EXPECT_TRUE(store().synchronize(app_));
}

}  // namespace
}  // namespace texprobe::tests
