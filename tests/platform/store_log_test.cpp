// What a synchronization asks of the disk.

#include <string>
#include <vector>

#include "platform/store_fixture.h"
#include "support/watched_disk.h"

namespace {

using texprobe::platform::same;
using texprobe::tests::DiskEvent;
using texprobe::tests::errors_of;
using texprobe::tests::Preferences;
using texprobe::tests::WatchedDisk;

class StoreLog : public texprobe::tests::StoreFixture {
protected:
    /// 128 pages of 4096 bytes with a header of 24 each, behind a header of 32.
    static constexpr std::uintmax_t kSize = 527'392;

    std::uintmax_t size() const { return std::filesystem::file_size(database().string() + "-wal"); }

    /// `count` synchronizations of a changed record each.
    void synchronize(Preferences& preferences, int count) {
        for (int i = 0; i < count; ++i) {
            preferences.change(kApp, {{"key", ++last_}});
            EXPECT_TRUE(preferences.synchronize(kApp));
        }
    }

    double last_ = 0;
};

TEST_F(StoreLog, has_its_size_from_the_first_change_on) {
    Preferences preferences(directory());
    synchronize(preferences, 1);
    EXPECT_EQ(size(), kSize);
    synchronize(preferences, 500);
    EXPECT_EQ(size(), kSize);
    preferences.close();
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
    Preferences preferences(directory());
    synchronize(preferences, 1);
    events.clear();
    sizes.clear();
    synchronize(preferences, 2);
    EXPECT_EQ(events, (std::vector{DiskEvent::kWrite, DiskEvent::kWrite, DiskEvent::kSync,
                                   DiskEvent::kWrite, DiskEvent::kWrite, DiskEvent::kSync}));
    EXPECT_EQ(sizes, (std::vector<std::size_t>{24, 4096, 0, 24, 4096, 0}));
}

TEST_F(StoreLog, is_left_alone_by_a_synchronization_that_changes_nothing) {
    write("key", true);
    Preferences preferences(directory());
    preferences.change(kApp, {{"key", true}});
    EXPECT_TRUE(preferences.synchronize(kApp));
    EXPECT_EQ(size(), 0u);
}

TEST_F(StoreLog, grows_where_the_disk_has_no_room_for_its_size) {
    int refused = 0;
    const WatchedDisk disk([&refused](const DiskEvent& event) {
        const bool is_beyond = event.kind == DiskEvent::kWrite && event.offset >= 100'000;
        refused += is_beyond;
        return is_beyond ? SQLITE_FULL : SQLITE_OK;
    });
    Preferences preferences(directory());
    EXPECT_EQ(errors_of([&] { synchronize(preferences, 3); }), "");
    EXPECT_EQ(refused, 1);
    // Two pages of the first change, which makes the table, and one of each other.
    EXPECT_EQ(size(), 32u + 4 * 4120);
    EXPECT_TRUE(same(*read("key"), 3.0));
}

}  // namespace
