// The disk operations of a synchronization.

#include <cmath>
#include <string>
#include <vector>

#include "doubles/watched_disk.h"
#include "store/store_fixture.h"

namespace texprobe::tests {
namespace {

class StoreLog : public StoreFixture {
protected:
    /// 128 pages of 4096 bytes, each with a header of 24, after a header of 32.
    static constexpr std::uintmax_t kLeast = 527'392;

    std::uintmax_t size() const { return std::filesystem::file_size(database().string() + "-wal"); }

    /// `count` synchronizations, each of one changed record.
    void synchronize(RecordStore& store, int count) {
        for (int i = 0; i < count; ++i) {
            store.change(kApp, {{"key", ++last_}});
            EXPECT_TRUE(store.synchronize(kApp));
        }
    }

    double last_ = 0;
};

TEST_F(StoreLog, has_its_size_from_the_first_change_on) {
    RecordStore store(directory());
    synchronize(store, 1);
    const std::uintmax_t first = size();
    EXPECT_GE(first, kLeast);
    EXPECT_LT(first, kLeast + 32768);
    synchronize(store, 500);
    EXPECT_EQ(size(), first);
    store.close();
    EXPECT_TRUE(same(*read("key"), 501.0));
}

TEST_F(StoreLog, is_one_page_and_one_flush_for_each_change) {
    std::vector<DiskEvent::Kind> events;
    std::vector<std::size_t> sizes;
    const WatchedDisk disk([&](const DiskEvent& event) {
        events.push_back(event.kind);
        sizes.push_back(event.bytes.size());
        return SQLITE_OK;
    });
    RecordStore store(directory());
    synchronize(store, 1);
    events.clear();
    sizes.clear();
    synchronize(store, 2);
    EXPECT_EQ(events, (std::vector{DiskEvent::kWrite, DiskEvent::kWrite, DiskEvent::kSync,
                                   DiskEvent::kWrite, DiskEvent::kWrite, DiskEvent::kSync}));
    EXPECT_EQ(sizes, (std::vector<std::size_t>{24, 4096, 0, 24, 4096, 0}));
}

TEST_F(StoreLog, is_left_alone_by_a_synchronization_that_changes_nothing) {
    write("key", true);
    RecordStore store(directory());
    store.change(kApp, {{"key", true}});
    EXPECT_TRUE(store.synchronize(kApp));
    EXPECT_EQ(size(), 0u);
}

TEST_F(StoreLog, holds_nothing_while_the_disk_has_no_room_for_its_size) {
    bool isFull = true;
    const WatchedDisk disk([&isFull](const DiskEvent& event) {
        const bool isBeyond = event.kind == DiskEvent::kWrite && event.offset >= 100'000;
        return isBeyond && isFull ? SQLITE_FULL : SQLITE_OK;
    });
    RecordStore store(directory());
    const std::string said = errors_of([&] {
        for (const double value : {1.0, 2.0}) {
            store.change(kApp, {{"key", value}});
            EXPECT_FALSE(store.synchronize(kApp));
            EXPECT_EQ(read("key"), std::nullopt);
            EXPECT_LT(size(), 100'000u) << "it keeps the room that it got";
        }
    });
    EXPECT_EQ(said, "*** texprobe records: cannot use " + database().string() +
                        ": database or disk is full\n");
    isFull = false;
    EXPECT_TRUE(store.synchronize(kApp));
    EXPECT_GE(size(), kLeast);
    EXPECT_TRUE(same(*read("key"), 2.0));
}

/// What a synchronization costs on the disk.
class StoreOnDisk : public StoreFixture {
protected:
    int syncs() const { return syncs_; }
    int writes() const { return writes_; }
    void forget() { syncs_ = writes_ = 0; }

private:
    int syncs_ = 0;
    int writes_ = 0;
    WatchedDisk disk_{[this](const DiskEvent& event) {
        syncs_ += event.kind == DiskEvent::kSync;
        writes_ += event.kind == DiskEvent::kWrite;
        return SQLITE_OK;
    }};
};

TEST_F(StoreOnDisk, waits_for_the_disk_once_in_each_of_a_runs_synchronizations) {
    RecordStore store(directory());
    store.change(kApp, {{"VERSION", 0.21}});
    ASSERT_TRUE(store.synchronize(kApp));
    constexpr int kSynchronizations = 100;
    for (int i = 0; i < kSynchronizations; ++i) {
        forget();
        store.change(kApp, {{"verdict of the last", true},
                            {"GL_LUMINANCE16_ALPHA16_DOWNLOAD_READ" + std::to_string(i), false}});
        ASSERT_TRUE(store.synchronize(kApp));
        ASSERT_EQ(syncs(), 1) << i;
    }
}

TEST_F(StoreOnDisk, touches_nothing_when_nothing_changes) {
    RecordStore store(directory());
    const RecordChanges changes = {
        {"VERSION", 0.21}, {"nan", std::nan("")}, {"GL_VENDOR", std::string("Mesa")}};
    store.change(kApp, changes);
    ASSERT_TRUE(store.synchronize(kApp));
    forget();
    ASSERT_TRUE(store.synchronize(kApp));
    store.change(kApp, changes);
    store.change(kApp, {{"never set", std::nullopt}});
    ASSERT_TRUE(store.synchronize(kApp));
    EXPECT_EQ(syncs(), 0);
    EXPECT_EQ(writes(), 0);
}

TEST_F(StoreOnDisk, removes_a_list_in_one_transaction) {
    RecordStore store(directory());
    RecordChanges removals;
    for (int i = 0; i < 96; ++i) {
        store.change(kApp, {{std::to_string(i), true}});
        removals[std::to_string(i)] = std::nullopt;
    }
    ASSERT_TRUE(store.synchronize(kApp));
    forget();
    store.change(kApp, removals);
    ASSERT_TRUE(store.synchronize(kApp));
    EXPECT_EQ(syncs(), 1);
    EXPECT_EQ(rows("SELECT count(*) FROM records"), "0\n");
}

}  // namespace
}  // namespace texprobe::tests
