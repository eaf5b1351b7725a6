// Databases that are damaged, foreign, lost or replaced while the store is in use.

#include <algorithm>
#include <chrono>
#include <fstream>
#include <memory>
#include <thread>
#include <utility>

#include "store/store_fixture.h"

namespace texprobe::tests {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using platform::DirectoryLock;

void replace(const fs::path& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

class StoreDamage : public StoreFixture {
protected:
    std::string put_aside(const std::string& reason) const {
        return "*** texprobe records: " + database().string() + " is damaged (" + reason +
               "); it was moved to " + aside().string() + ", and a new one was created\n";
    }
    std::string refused(const std::string& reason) const { return cannot_use(database(), reason); }

    /// A reader reports that the file is damaged and leaves it; a writer keeps it under another
    /// name.
    void expect_put_aside(const std::string& reason) const {
        const std::string damaged = read_file(database());
        EXPECT_EQ(errors_of([this] { EXPECT_FALSE(read("key").has_value()); }), refused(reason));
        EXPECT_EQ(read_file(database()), damaged);
        EXPECT_FALSE(fs::exists(aside()));
        EXPECT_EQ(errors_of([this] { write("key", true); }), put_aside(reason));
        EXPECT_EQ(read_file(aside()), damaged);
        EXPECT_TRUE(same(*read("key"), true));
        EXPECT_EQ(rows("SELECT count(*) FROM records"), "1\n");
    }

    /// The file is not changed, and a process that reads and writes prints two lines.
    void expect_left_alone(const std::string& reason) const {
        const std::string before = read_file(database());
        const std::string said = errors_of([this] {
            RecordStore store(directory());
            EXPECT_FALSE(store.value(kApp, "new").has_value());
            EXPECT_FALSE(put(store, {{"new", true}}));
            EXPECT_TRUE(store.value(kApp, "new").has_value());
        });
        EXPECT_EQ(said, refused(reason) +
                            "*** texprobe records: 1 record is missing or in doubt in " +
                            database().string() +
                            ": new; remove that file and run texprobe to measure everything"
                            " again\n");
        EXPECT_EQ(read_file(database()), before);
        EXPECT_FALSE(fs::exists(aside()));
    }
};

TEST_F(StoreDamage, puts_the_database_aside) {
    write("apple", true);
    write("melon", true);
    write("zebra", true);
    const std::string whole = read_file(database());
    std::string page = whole;
    std::fill(page.begin() + 4096, page.end(), '\xAA');
    std::string order = whole;
    order[order.find("melon")] = '~';
    const std::string malformed = "database disk image is malformed";
    const std::pair<std::string, std::string> damages[] = {
        {"This is not a database. " + std::string(1000, '.'), "file is not a database"},
        {whole.substr(0, 4096), malformed},
        {page, malformed}};
    for (const auto& [bytes, reason] : damages) {
        replace(database(), bytes);
        expect_put_aside(reason);
        fs::remove(aside());
    }
    // A reader does not see that records are out of order, nor do some versions of SQLite.
    replace(database(), order);
    if (rows("PRAGMA integrity_check") == "ok\n") return;
    EXPECT_EQ(errors_of([this] { write("key", true); }), put_aside(malformed));
    EXPECT_TRUE(same(*read("key"), true));
}

TEST_F(StoreDamage, is_no_layout_of_others_and_no_newer_format) {
    const std::string reason = "it was made by a newer texprobe or another program";
    write("key", true);
    const std::string whole = read_file(database());
    rows("PRAGMA user_version = 2");
    expect_left_alone(reason);
    std::string bytes = whole;
    bytes[47] = 9;  // the schema's format
    replace(database(), bytes);
    expect_left_alone(reason);
    fs::remove(database());
    rows("CREATE TABLE records (name TEXT, artist TEXT)");
    expect_left_alone(reason);
}

TEST_F(StoreDamage, is_not_a_database_of_somebody_elses_without_records) {
    fs::create_directories(directory());
    rows("CREATE TABLE bookmarks (address TEXT); INSERT INTO bookmarks VALUES ('here')");
    EXPECT_EQ(errors_of([this] {
                  EXPECT_FALSE(read("key").has_value());
                  write("key", true);
              }),
              "");
    EXPECT_TRUE(same(*read("key"), true));
    EXPECT_EQ(rows("SELECT address FROM bookmarks"), "here\n");
}

TEST_F(StoreDamage, is_not_a_database_that_only_a_newer_sqlite_may_write) {
    write("key", true);
    std::string bytes = read_file(database());
    bytes[18] = 3;  // the lowest format version that may write the file
    replace(database(), bytes);
    expect_left_alone("attempt to write a readonly database");
    EXPECT_TRUE(same(*read("key"), true));
}

TEST_F(StoreDamage, keeps_what_was_damaged_last) {
    for (int i = 1; i <= 3; ++i) {
        fs::create_directories(directory());
        replace(database(), "damage number " + std::to_string(i));
        if (i == 2) replace(database().string() + "-wal", "log");
        EXPECT_EQ(errors_of([this] { write("key", true); }), put_aside("file is not a database"));
        EXPECT_EQ(read_file(aside()), "damage number " + std::to_string(i));
        EXPECT_EQ(read_file(aside().string() + "-wal"), i == 2 ? "log" : "");
    }
}

TEST_F(StoreDamage, in_the_middle_of_a_run_costs_what_was_recorded_and_not_the_run) {
    RecordStore store(directory());
    ASSERT_TRUE(put(store, {{"VERSION", 0.21}, {"first", false}}));
    replace(database(), std::string(8192, '\xAA'));
    replace(database().string() + "-wal", std::string(8192, '\xAA'));
    // A fork closes the database.
    store.lock_for_fork();
    store.unlock_after_fork();
    store.change(kApp, {{"first", true}, {"second", true}});
    const std::string said = errors_of([&store] { EXPECT_TRUE(store.synchronize(kApp)); });
    EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;
    // Without a version the next run measures everything again.
    EXPECT_EQ(rows("SELECT key, value FROM records"), "first|1\nsecond|1\n");
    EXPECT_FALSE(store.value(kApp, "VERSION").has_value());
}

TEST_F(StoreDamage, of_the_log_is_noticed_by_a_run_that_has_it_open) {
    RecordStore store(directory());
    RecordStore other(directory());
    ASSERT_TRUE(put(store, {{"first", true}}));
    ASSERT_TRUE(put(other, {{"other", true}}));
    fs::resize_file(database().string() + "-wal", 0);
    store.change(kApp, {{"second", true}});
    EXPECT_EQ(errors_of([&store] {
                  EXPECT_FALSE(store.synchronize(kApp));
                  EXPECT_TRUE(store.value(kApp, "second").has_value());
              }),
              refused("disk I/O error"));
    // Now no process has the index of the log's old content any more.
    other.close();
    EXPECT_TRUE(store.synchronize(kApp));
    EXPECT_TRUE(same(*read("second"), true));
    EXPECT_FALSE(fs::exists(aside()));
}

TEST_F(StoreDamage, that_another_process_has_put_aside_meanwhile_is_not_put_aside_again) {
    fs::create_directories(directory());
    replace(database(), "damage");
    auto busy = std::make_unique<DirectoryLock>(directory(), DirectoryLock::kShared);
    std::string said;
    std::thread late([this, &said] { said = errors_of([this] { write("late", true); }); });
    // By now it has found the damage and waits for the exclusive lock.
    std::this_thread::sleep_for(200ms);
    fs::rename(database(), aside());
    write("key", true);
    busy.reset();
    late.join();
    EXPECT_EQ(said, "");
    EXPECT_EQ(read_file(aside()), "damage");
    EXPECT_TRUE(same(*read("key"), true));
    EXPECT_TRUE(same(*read("late"), true));
}

TEST_F(StoreDamage, of_the_old_database_is_not_done_to_the_new_one_by_whoever_still_has_it_open) {
    RecordStore late(directory());
    ASSERT_TRUE(put(late, {{"late", true}}));
    for (const char* suffix : {"", "-wal", "-shm"}) {
        fs::rename(database().string() + suffix, aside().string() + suffix);
    }
    RecordStore early(directory());
    ASSERT_TRUE(put(early, {{"early", true}}));
    // Closing a database deletes its log by name, and the name is the new log's by now.
    late.close();
    EXPECT_TRUE(fs::exists(database().string() + "-wal"));
    EXPECT_TRUE(same(*read("early"), true));
}

TEST_F(StoreDamage,
       that_removes_the_whole_store_ends_no_run_and_is_accepted_by_somebody_who_looks) {
    RecordStore store(directory());
    ASSERT_TRUE(put(store, {{"first", true}}));
    RecordStore looking(directory());
    EXPECT_TRUE(looking.value(kApp, "first").has_value());
    fs::remove_all(config());
    EXPECT_TRUE(looking.synchronize(kApp));
    EXPECT_FALSE(looking.value(kApp, "first").has_value());
    EXPECT_FALSE(fs::exists(config()));
    EXPECT_EQ(errors_of([&store] { EXPECT_TRUE(put(store, {{"second", true}})); }), "");
    store.close();
    EXPECT_EQ(rows("SELECT key FROM records"), "second\n");
}

TEST_F(StoreDamage, that_cannot_be_put_aside_is_left_with_its_log) {
    fs::create_directories(directory());
    replace(database(), "damage");
    replace(database().string() + "-wal", "log");
    fs::create_directories(aside());
    RecordStore store(directory());
    store.change(kApp, {{"key", true}});
    EXPECT_EQ(errors_of([&store] { EXPECT_FALSE(store.synchronize(kApp)); }),
              refused("Is a directory"));
    EXPECT_EQ(read_file(database()), "damage");
    EXPECT_EQ(read_file(database().string() + "-wal"), "log");
    errors_of([&store] { store.close(); });
}

}  // namespace
}  // namespace texprobe::tests
