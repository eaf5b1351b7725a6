// The disk operations of a synchronization.

#include <cmath>
#include <string>
#include <utility>
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
            EXPECT_TRUE(put(store, {{"key", ++last_}}));
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

TEST_F(StoreLog, is_one_page_and_one_flush_for_each_of_a_runs_changes) {
    std::vector<std::pair<DiskEvent::Kind, std::size_t>> events;
    const WatchedDisk disk([&events](const DiskEvent& event) {
        events.emplace_back(event.kind, event.bytes.size());
        return SQLITE_OK;
    });
    RecordStore store(directory());
    synchronize(store, 1);
    const decltype(events) expected = {
        {DiskEvent::kWrite, 24}, {DiskEvent::kWrite, 4096}, {DiskEvent::kSync, 0}};
    for (int i = 0; i < 100; ++i) {
        events.clear();
        synchronize(store, 1);
        ASSERT_EQ(events, expected) << i;
    }
}

TEST_F(StoreLog, is_left_alone_by_a_synchronization_that_changes_nothing) {
    const RecordChanges changes = {
        {"VERSION", 0.21}, {"nan", std::nan("")}, {"GL_VENDOR", std::string("Mesa")}};
    RecordStore first(directory());
    ASSERT_TRUE(put(first, changes));
    first.close();
    int events = 0;
    const WatchedDisk disk([&events](const DiskEvent& event) {
        events += event.kind == DiskEvent::kSync || event.kind == DiskEvent::kWrite;
        return SQLITE_OK;
    });
    RecordStore store(directory());
    EXPECT_TRUE(put(store, changes));
    EXPECT_EQ(size(), 0u);
    EXPECT_TRUE(put(store, {{"never set", std::nullopt}}));
    EXPECT_TRUE(store.synchronize(kApp));
    EXPECT_EQ(events, 0);
}

TEST_F(StoreLog, takes_a_list_of_removals_in_one_transaction) {
    int syncs = 0;
    const WatchedDisk disk([&syncs](const DiskEvent& event) {
        syncs += event.kind == DiskEvent::kSync;
        return SQLITE_OK;
    });
    RecordStore store(directory());
    RecordChanges removals;
    for (int i = 0; i < 96; ++i) {
        store.change(kApp, {{std::to_string(i), true}});
        removals[std::to_string(i)] = std::nullopt;
    }
    ASSERT_TRUE(store.synchronize(kApp));
    syncs = 0;
    ASSERT_TRUE(put(store, removals));
    EXPECT_EQ(syncs, 1);
    EXPECT_EQ(rows("SELECT count(*) FROM records"), "0\n");
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
            EXPECT_FALSE(put(store, {{"key", value}}));
            EXPECT_EQ(read("key"), std::nullopt);
            EXPECT_LT(size(), 100'000u) << "it keeps the room that it got";
        }
    });
    EXPECT_EQ(said, cannot_use(database(), "database or disk is full"));
    isFull = false;
    EXPECT_TRUE(store.synchronize(kApp));
    EXPECT_GE(size(), kLeast);
    EXPECT_TRUE(same(*read("key"), 2.0));
}

}  // namespace
}  // namespace texprobe::tests
