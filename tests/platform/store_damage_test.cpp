// Databases that are damaged, foreign, lost or exchanged while the store is in use.

#include <algorithm>
#include <chrono>
#include <fstream>
#include <memory>
#include <sstream>
#include <thread>

#include "platform/store_fixture.h"

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using texprobe::platform::same;
using texprobe::tests::errors_of;
using texprobe::tests::Preferences;

std::string contents(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

void replace(const fs::path& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

class StoreDamage : public texprobe::tests::StoreFixture {
protected:
    std::string line(const std::string& reason, int number) const {
        return "*** texprobe records: " + database().string() + " is damaged (" + reason +
               "); it is kept as " + aside(number).string() + ", and a new one is begun\n";
    }

    /// Everything is overwritten, under whoever has it open.
    void damage() const {
        replace(database(), std::string(8192, '\xAA'));
        replace(database().string() + "-wal", std::string(8192, '\xAA'));
    }

    /// What a fork does.
    static void reopen_at_next_use(Preferences& preferences) {
        preferences.lock_for_fork();
        preferences.unlock_after_fork();
    }

    /// What somebody who looks, and then writes, says; what was damaged is kept as it was.
    std::string said_by_next_user() const {
        const std::string damaged = contents(database());
        std::string said = errors_of([this] {
            EXPECT_FALSE(read("key").has_value());
            write("key", true);
        });
        EXPECT_EQ(contents(aside(1)), damaged);
        EXPECT_TRUE(same(*read("key"), true));
        EXPECT_EQ(rows("SELECT count(*) FROM records"), "1\n");
        EXPECT_EQ(mode_of(aside(1)), 0600u);
        return said;
    }
};

TEST_F(StoreDamage, puts_aside_a_file_that_is_no_database) {
    fs::create_directories(directory());
    replace(database(), "This is not a database. " + std::string(1000, '.'));
    EXPECT_EQ(said_by_next_user(), line("file is not a database", 1));
}

TEST_F(StoreDamage, puts_aside_a_file_that_is_cut_off) {
    write("key", true);
    fs::resize_file(database(), 4096);
    EXPECT_EQ(said_by_next_user(), line("database disk image is malformed", 1));
}

TEST_F(StoreDamage, puts_aside_a_database_whose_page_is_overwritten) {
    write("key", true);
    std::string bytes = contents(database());
    std::fill(bytes.begin() + 4096, bytes.end(), '\xAA');
    replace(database(), bytes);
    EXPECT_EQ(said_by_next_user(), line("database disk image is malformed", 1));
}

TEST_F(StoreDamage, puts_aside_a_database_with_other_tables) {
    fs::create_directories(directory());
    fs::permissions(directory(), fs::perms::owner_all);
    rows("CREATE TABLE bookmarks (address TEXT)");
    EXPECT_EQ(said_by_next_user(), line("it holds other tables than records", 1));
}

TEST_F(StoreDamage, puts_aside_a_database_whose_table_is_another_one) {
    fs::create_directories(directory());
    fs::permissions(directory(), fs::perms::owner_all);
    rows("CREATE TABLE records (application, key, type, value); PRAGMA user_version = 1");
    EXPECT_EQ(said_by_next_user(), line("it holds other tables than records", 1));
}

TEST_F(StoreDamage, puts_aside_a_database_in_a_format_of_the_future) {
    write("key", true);
    std::string bytes = contents(database());
    bytes[47] = 9;  // the schema's format
    replace(database(), bytes);
    EXPECT_EQ(said_by_next_user(), line("SQL logic error", 1));
}

TEST_F(StoreDamage, puts_aside_a_database_that_holds_more_than_records) {
    write("key", true);
    rows("CREATE TRIGGER spy AFTER INSERT ON records BEGIN DELETE FROM records; END");
    EXPECT_EQ(said_by_next_user(), line("it holds other tables than records", 1));
}

TEST_F(StoreDamage, puts_aside_a_database_that_held_something_before_the_records) {
    write("key", true);
    std::string table = rows("SELECT sql FROM sqlite_schema");
    table.pop_back();  // the line's end
    fs::remove(database());
    rows("CREATE TABLE bookmarks (address TEXT);" + table + "; PRAGMA user_version = 1");
    EXPECT_EQ(said_by_next_user(), line("it holds other tables than records", 1));
}

TEST_F(StoreDamage, puts_aside_a_database_of_another_layout) {
    write("key", true);
    rows("PRAGMA user_version = 2");
    EXPECT_EQ(said_by_next_user(), line("it holds other tables than records", 1));
}

TEST_F(StoreDamage, puts_aside_a_database_that_claims_to_be_read_only) {
    write("key", true);
    std::string bytes = contents(database());
    bytes[18] = 3;  // the lowest version of the format that may write the file
    replace(database(), bytes);
    const std::string said = errors_of([this] { write("other", true); });
    EXPECT_EQ(said, line("attempt to write a readonly database", 1));
    EXPECT_TRUE(same(*read("other"), true));
}

TEST_F(StoreDamage, puts_aside_a_database_that_takes_for_ever_to_read) {
    write("key", true);
    rows(
        "WITH RECURSIVE number(n) AS (SELECT 1 UNION ALL SELECT n + 1 FROM number LIMIT 300000)"
        " INSERT INTO records SELECT 'org.example.app', n, 'boolean', 1 FROM number");
    EXPECT_EQ(said_by_next_user(), line("it takes for ever to read", 1));
}

TEST_F(StoreDamage, puts_the_log_aside_with_its_database) {
    fs::create_directories(directory());
    replace(database(), std::string(4096, 'x'));
    replace(database().string() + "-wal", "log");
    errors_of([this] { write("key", true); });
    EXPECT_EQ(contents(aside(1).string() + "-wal"), "log");
    EXPECT_TRUE(same(*read("key"), true));
}

TEST_F(StoreDamage, keeps_nine_and_no_more) {
    for (int i = 1; i <= 12; ++i) {
        fs::create_directories(directory());
        replace(database(), "damage number " + std::to_string(i));
        EXPECT_EQ(errors_of([this] { read("key"); }),
                  line("file is not a database", std::min(i, 9)));
    }
    EXPECT_EQ(contents(aside(1)), "damage number 1");
    EXPECT_EQ(contents(aside(9)), "damage number 12");
    EXPECT_FALSE(fs::exists(aside(10)));
}

TEST_F(StoreDamage, in_the_middle_of_a_run_does_not_cost_what_the_run_has_written) {
    write("somebody's", true);
    Preferences preferences(directory());
    EXPECT_TRUE(preferences.value(kApp, "somebody's").has_value());
    preferences.change(kApp, {{"VERSION", 0.21}, {"first", false}, {"removed", true}});
    ASSERT_TRUE(preferences.synchronize(kApp));
    preferences.change(kApp, {{"first", true}, {"removed", std::nullopt}});
    ASSERT_TRUE(preferences.synchronize(kApp));

    damage();
    reopen_at_next_use(preferences);
    preferences.change(kApp, {{"second", true}});
    const std::string said =
        errors_of([&preferences] { EXPECT_TRUE(preferences.synchronize(kApp)); });
    EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;
    EXPECT_EQ(rows("SELECT key, value FROM records"), "VERSION|0.21\nfirst|1\nsecond|1\n");
    EXPECT_FALSE(preferences.value(kApp, "somebody's").has_value());
}

TEST_F(StoreDamage, of_the_log_is_noticed_by_a_run_that_has_it_open) {
    Preferences preferences(directory());
    Preferences other(directory());
    preferences.change(kApp, {{"first", true}});
    ASSERT_TRUE(preferences.synchronize(kApp));
    other.change(kApp, {{"other", true}});
    ASSERT_TRUE(other.synchronize(kApp));
    fs::resize_file(database().string() + "-wal", 0);
    preferences.change(kApp, {{"second", true}});
    EXPECT_EQ(errors_of([&preferences] { EXPECT_TRUE(preferences.synchronize(kApp)); }),
              line("it ends too early", 1));
    preferences.close();
    EXPECT_EQ(rows("SELECT key FROM records"), "first\nsecond\n");
}

TEST_F(StoreDamage, is_put_aside_once_by_two_processes) {
    Preferences one(directory());
    Preferences other(directory());
    one.change(kApp, {{"one", true}});
    ASSERT_TRUE(one.synchronize(kApp));
    other.change(kApp, {{"other", true}});
    ASSERT_TRUE(other.synchronize(kApp));

    damage();
    reopen_at_next_use(one);
    const std::string said = errors_of([&] {
        one.change(kApp, {{"one", false}});
        EXPECT_TRUE(one.synchronize(kApp));
        other.change(kApp, {{"other", false}});
        EXPECT_TRUE(other.synchronize(kApp));
        EXPECT_TRUE(one.synchronize(kApp));
    });
    EXPECT_EQ(std::count(said.begin(), said.end(), '\n'), 1) << said;
    EXPECT_FALSE(fs::exists(aside(2)));
    EXPECT_TRUE(same(*one.value(kApp, "other"), false));
    one.close();
    other.close();
    EXPECT_EQ(rows("SELECT key, value FROM records"), "one|0\nother|0\n");
}

TEST_F(StoreDamage, that_another_process_has_put_aside_meanwhile_is_not_put_aside_again) {
    using texprobe::platform::DirectoryLock;
    fs::create_directories(directory());
    fs::permissions(directory(), fs::perms::owner_all);
    replace(database(), "damage");
    auto busy = std::make_unique<DirectoryLock>(directory(), DirectoryLock::Mode::kShared,
                                                std::chrono::milliseconds(0));
    std::string said;
    std::thread late(
        [this, &said] { said = errors_of([this] { EXPECT_TRUE(same(*read("key"), true)); }); });
    // By now it has met the damage and waits to be alone.
    std::this_thread::sleep_for(200ms);
    fs::rename(database(), aside(1));
    write("key", true);
    busy.reset();
    late.join();
    EXPECT_EQ(said, "");
    EXPECT_FALSE(fs::exists(aside(2)));
}

TEST_F(StoreDamage, of_the_old_database_is_not_done_to_the_new_one_by_whoever_still_has_it_open) {
    Preferences late(directory());
    late.change(kApp, {{"late", true}});
    ASSERT_TRUE(late.synchronize(kApp));
    for (const char* suffix : {"", "-wal", "-shm"}) {
        fs::rename(database().string() + suffix, aside(1).string() + suffix);
    }
    Preferences early(directory());
    early.change(kApp, {{"early", true}});
    ASSERT_TRUE(early.synchronize(kApp));
    // Closing a database deletes its log by name: by now the name is the new one's.
    late.close();
    EXPECT_TRUE(fs::exists(database().string() + "-wal"));
    EXPECT_TRUE(same(*read("early"), true));
}

TEST_F(StoreDamage, that_removes_the_whole_store_costs_a_run_nothing) {
    Preferences preferences(directory());
    preferences.change(kApp, {{"first", true}});
    ASSERT_TRUE(preferences.synchronize(kApp));
    fs::remove_all(config());
    preferences.change(kApp, {{"second", true}});
    EXPECT_EQ(errors_of([&preferences] { EXPECT_TRUE(preferences.synchronize(kApp)); }), "");
    preferences.close();
    EXPECT_EQ(rows("SELECT key FROM records"), "first\nsecond\n");
}

TEST_F(StoreDamage, that_removes_the_whole_store_is_accepted_by_somebody_who_only_looks) {
    write("key", true);
    Preferences preferences(directory());
    EXPECT_TRUE(preferences.value(kApp, "key").has_value());
    fs::remove_all(config());
    EXPECT_TRUE(preferences.synchronize(kApp));
    EXPECT_FALSE(preferences.value(kApp, "key").has_value());
    EXPECT_FALSE(fs::exists(config()));
}

TEST_F(StoreDamage, that_cannot_be_put_aside_is_reported_and_left) {
    write("key", true);
    replace(database(), "damage");
    fs::create_directories(database().string() + "-wal");
    EXPECT_EQ(errors_of([this] { EXPECT_FALSE(read("key").has_value()); }),
              "*** texprobe records: cannot use " + database().string() +
                  "-wal: it is not a regular file\n");
    EXPECT_EQ(contents(database()), "damage");
}

}  // namespace
