// What is pending, what is on disk, and what another process sees. A second Preferences stands for
// another process.

#include <array>
#include <bit>
#include <cmath>
#include <fstream>
#include <limits>
#include <thread>
#include <vector>

#include "platform/store_fixture.h"
#include "support/watched_disk.h"

namespace {

using texprobe::platform::Access;
using texprobe::platform::Connection;
using texprobe::platform::Journal;
using texprobe::platform::same;
using texprobe::tests::Changes;
using texprobe::tests::DiskEvent;
using texprobe::tests::Preferences;
using texprobe::tests::Value;
using texprobe::tests::WatchedDisk;

class Store : public texprobe::tests::StoreFixture {};

TEST_F(Store, gives_values_back_as_written) {
    using Limits = std::numeric_limits<double>;
    std::string all;
    for (char c = 1; c < 127; ++c) all += c;
    const Value values[] = {true,
                            false,
                            0.0,
                            -0.0,
                            1.0,
                            0.21,
                            Limits::denorm_min(),
                            Limits::max(),
                            Limits::lowest(),
                            Limits::infinity(),
                            -Limits::infinity(),
                            Limits::quiet_NaN(),
                            std::bit_cast<double>(0xFFF8000000001234),
                            9007199254740993.0,
                            std::string(),
                            std::string("0"),
                            std::string("Mesa"),
                            all,
                            std::string(100'000, 'x')};
    for (const Value& value : values) {
        write("key", value);
        const auto seen = read("key");
        ASSERT_TRUE(seen.has_value()) << value.index();
        EXPECT_TRUE(same(*seen, value)) << rows("SELECT type, typeof(value), value FROM records");
    }
}

TEST_F(Store, tells_the_two_zeros_and_the_two_ones_apart) {
    EXPECT_FALSE(same(0.0, -0.0));
    EXPECT_FALSE(same(1.0, true));
    EXPECT_TRUE(same(std::nan(""), std::nan("")));
    write("key", 0.0);
    write("key", -0.0);
    EXPECT_TRUE(same(*read("key"), -0.0));
}

TEST_F(Store, reads_a_record_whose_value_does_not_fit_its_type_as_none) {
    const char* const foreign[] = {"'boolean', 2",
                                   "'boolean', -1",
                                   "'boolean', 1.0",
                                   "'boolean', '1'",
                                   "'boolean', x'01'",
                                   "'double', 1",
                                   "'double', '0.21'",
                                   "'double', x'00'",
                                   "'double', x''",
                                   "'string', 1",
                                   "'string', 1.5",
                                   "'string', x'41'",
                                   "'string', 'caf' || char(233)",
                                   "'string', 'a' || char(0) || 'b'",
                                   "'date', 'Monday'",
                                   "'BOOLEAN', 1",
                                   "'', 'text'",
                                   "1, 1",
                                   "'string', zeroblob(1000000)",
                                   "'double', x'000000000000000000'"};
    write("VERSION", 0.21);
    for (const char* const record : foreign) {
        rows(std::string("REPLACE INTO records VALUES ('org.example.app', 'key', ") + record + ")");
        EXPECT_FALSE(read("key").has_value()) << record;
        EXPECT_TRUE(same(*read("VERSION"), 0.21)) << record;
    }
    for (const char* const key : {"x'6B6579'", "'caf' || char(233)", "''"}) {
        rows(std::string("REPLACE INTO records VALUES ('org.example.app', ") + key +
             ", 'boolean', 1)");
        EXPECT_TRUE(same(*read("VERSION"), 0.21)) << key;
    }
}

TEST_F(Store, replaces_and_removes_a_record_that_reads_as_none) {
    write("VERSION", 0.21);
    rows("INSERT INTO records VALUES ('org.example.app', 'key', 'boolean', 'maybe')");
    write("key", true);
    EXPECT_TRUE(same(*read("key"), true));
    rows("UPDATE records SET value = 'maybe' WHERE key = 'key'");
    Preferences preferences(directory());
    preferences.change(kApp, {{"key", std::nullopt}});
    ASSERT_TRUE(preferences.synchronize(kApp));
    EXPECT_EQ(rows("SELECT key FROM records"), "VERSION\n");
}

TEST_F(Store, shows_a_change_to_another_process_when_both_have_synchronized) {
    write("key", std::string("old"));
    Preferences one(directory());
    Preferences other(directory());
    EXPECT_TRUE(same(*other.value(kApp, "key"), std::string("old")));

    one.change(kApp, {{"key", std::string("new")}});
    EXPECT_TRUE(same(*one.value(kApp, "key"), std::string("new")));
    ASSERT_TRUE(other.synchronize(kApp));
    EXPECT_TRUE(same(*other.value(kApp, "key"), std::string("old")));

    ASSERT_TRUE(one.synchronize(kApp));
    EXPECT_TRUE(same(*other.value(kApp, "key"), std::string("old")));
    ASSERT_TRUE(other.synchronize(kApp));
    EXPECT_TRUE(same(*other.value(kApp, "key"), std::string("new")));

    one.change(kApp, {{"key", std::nullopt}});
    EXPECT_FALSE(one.value(kApp, "key").has_value());
    ASSERT_TRUE(one.synchronize(kApp));
    ASSERT_TRUE(other.synchronize(kApp));
    EXPECT_FALSE(other.value(kApp, "key").has_value());
}

TEST_F(Store, shows_others_changes_when_own_ones_are_synchronized) {
    Preferences one(directory());
    one.change(kApp, {{"mine", true}});
    ASSERT_TRUE(one.synchronize(kApp));
    write("theirs", true);
    one.change(kApp, {{"mine", false}});
    ASSERT_TRUE(one.synchronize(kApp));
    EXPECT_TRUE(same(*one.value(kApp, "theirs"), true));
}

TEST_F(Store, keeps_the_last_synchronized_value_of_each_key) {
    Preferences one(directory());
    Preferences other(directory());
    one.change(kApp, {{"both", std::string("one")}, {"one", true}});
    other.change(kApp, {{"both", std::string("other")}, {"other", true}});
    ASSERT_TRUE(other.synchronize(kApp));
    ASSERT_TRUE(one.synchronize(kApp));
    ASSERT_TRUE(other.synchronize(kApp));
    EXPECT_TRUE(same(*other.value(kApp, "both"), std::string("one")));
    EXPECT_EQ(rows("SELECT key FROM records"), "both\none\nother\n");
}

TEST_F(Store, writes_an_equal_value_over_what_another_process_wrote_meanwhile) {
    Preferences one(directory());
    one.change(kApp, {{"key", false}});
    ASSERT_TRUE(one.synchronize(kApp));
    write("key", true);
    one.change(kApp, {{"key", false}});
    ASSERT_TRUE(one.synchronize(kApp));
    EXPECT_TRUE(same(*read("key"), false));
}

TEST_F(Store, synchronizes_one_application_at_a_time) {
    Preferences preferences(directory());
    preferences.change(kApp, {{"key", true}});
    preferences.change("org.example.other", {{"key", true}});
    ASSERT_TRUE(preferences.synchronize(kApp));
    EXPECT_EQ(rows("SELECT application FROM records"), "org.example.app\n");
    EXPECT_TRUE(preferences.value("org.example.other", "key").has_value());
}

TEST_F(Store, makes_nothing_for_somebody_who_only_looks) {
    {
        Preferences preferences(directory());
        EXPECT_FALSE(preferences.value(kApp, "key").has_value());
        EXPECT_TRUE(preferences.synchronize(kApp));
        EXPECT_FALSE(std::filesystem::exists(config()));
    }
    std::filesystem::create_directories(directory());
    EXPECT_FALSE(read("key").has_value());
    EXPECT_TRUE(std::filesystem::is_empty(directory()));
    std::filesystem::permissions(directory(), std::filesystem::perms::owner_all);
    write("key", true);
    EXPECT_TRUE(same(*read("key"), true));
}

TEST_F(Store, sees_a_store_that_another_process_makes_later) {
    Preferences preferences(directory());
    EXPECT_FALSE(preferences.value(kApp, "key").has_value());
    write("key", true);
    ASSERT_TRUE(preferences.synchronize(kApp));
    EXPECT_TRUE(same(*preferences.value(kApp, "key"), true));
}

TEST_F(Store, takes_an_empty_file_for_a_store_without_records) {
    std::filesystem::create_directories(directory());
    std::ofstream(database()).flush();
    EXPECT_FALSE(read("key").has_value());
    EXPECT_EQ(std::filesystem::file_size(database()), 0u);
    write("key", true);
    EXPECT_TRUE(same(*read("key"), true));
}

TEST_F(Store, is_one_file_when_nobody_uses_it) {
    write("key", true);
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(directory())) {
        names.push_back(entry.path().filename());
    }
    EXPECT_EQ(names, std::vector<std::string>{"records.sqlite3"});
    EXPECT_EQ(rows("PRAGMA journal_mode"), "wal\n");
    EXPECT_EQ(rows("PRAGMA page_size"), "4096\n");
    EXPECT_EQ(rows("PRAGMA user_version"), "1\n");
}

TEST_F(Store, takes_names_and_folders_with_any_characters) {
    const std::filesystem::path odd = home() / "Jos\xC3\xA9 M\xC3\xBCller's %41 ? # & folder";
    std::filesystem::create_directory(odd);
    const std::string app = "it's \"an\" app; -- %s ?1";
    const std::string key = "'; DROP TABLE records; --";
    {
        Preferences preferences((odd / "records").string());
        preferences.change(app, {{key, true}});
        ASSERT_TRUE(preferences.synchronize(app));
    }
    EXPECT_TRUE(same(*Preferences((odd / "records").string()).value(app, key), true));
    Connection frozen;
    ASSERT_EQ(frozen.open(odd / "records/records.sqlite3", Access::kFrozen), SQLITE_OK);
    texprobe::platform::Records records;
    ASSERT_EQ(frozen.read(app, &records), SQLITE_OK);
    EXPECT_EQ(records.count(key), 1u);
}

/// What a synchronization costs, on the disk.
class StoreOnDisk : public Store {
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
    Preferences preferences(directory());
    preferences.change(kApp, {{"VERSION", 0.21}});
    ASSERT_TRUE(preferences.synchronize(kApp));
    constexpr int kSynchronizations = 100;
    for (int i = 0; i < kSynchronizations; ++i) {
        forget();
        preferences.change(kApp,
                           {{"verdict of the last", true},
                            {"GL_LUMINANCE16_ALPHA16_DOWNLOAD_READ" + std::to_string(i), false}});
        ASSERT_TRUE(preferences.synchronize(kApp));
        ASSERT_EQ(syncs(), 1) << i;
    }
}

TEST_F(StoreOnDisk, touches_nothing_when_nothing_changes) {
    Preferences preferences(directory());
    const Changes changes = {
        {"VERSION", 0.21}, {"nan", std::nan("")}, {"GL_VENDOR", std::string("Mesa")}};
    preferences.change(kApp, changes);
    ASSERT_TRUE(preferences.synchronize(kApp));
    forget();
    ASSERT_TRUE(preferences.synchronize(kApp));
    preferences.change(kApp, changes);
    preferences.change(kApp, {{"never set", std::nullopt}});
    ASSERT_TRUE(preferences.synchronize(kApp));
    EXPECT_EQ(syncs(), 0);
    EXPECT_EQ(writes(), 0);
}

TEST_F(StoreOnDisk, removes_a_list_in_one_transaction) {
    Preferences preferences(directory());
    Changes removals;
    for (int i = 0; i < 96; ++i) {
        preferences.change(kApp, {{std::to_string(i), true}});
        removals[std::to_string(i)] = std::nullopt;
    }
    ASSERT_TRUE(preferences.synchronize(kApp));
    forget();
    preferences.change(kApp, removals);
    ASSERT_TRUE(preferences.synchronize(kApp));
    EXPECT_EQ(syncs(), 1);
    EXPECT_EQ(rows("SELECT count(*) FROM records"), "0\n");
}

TEST_F(Store, reads_an_unchanged_database_once) {
    using texprobe::platform::ApplicationRecords;
    write("key", true);
    texprobe::platform::Store store(directory());
    ApplicationRecords records;
    ASSERT_TRUE(store.look(kApp, &records));
    // A sign that only reading would wipe out.
    records.stored["sign"] = true;
    ASSERT_TRUE(store.synchronize(kApp, &records));
    EXPECT_EQ(records.stored.count("sign"), 1u);
    write("key", false);
    ASSERT_TRUE(store.synchronize(kApp, &records));
    EXPECT_EQ(records.stored.count("sign"), 0u);
}

TEST_F(Store, keeps_a_rollback_journal_where_it_is_asked_to) {
    std::filesystem::create_directories(directory());
    std::ofstream(database()).flush();
    Connection connection;
    ASSERT_EQ(connection.open(database(), Access::kReadWrite), SQLITE_OK);
    ASSERT_EQ(connection.begin(Journal::kRollback), SQLITE_OK);
    ASSERT_EQ(connection.set(kApp, "key", true), SQLITE_OK);
    EXPECT_FALSE(std::filesystem::exists(database().string() + "-wal"));
    ASSERT_EQ(connection.commit(), SQLITE_OK);
    EXPECT_EQ(rows("PRAGMA journal_mode"), "delete\n");
    connection.close();
    std::filesystem::permissions(directory(), std::filesystem::perms::owner_all);
    // The next one may have a local disk again.
    write("other", true);
    EXPECT_EQ(rows("PRAGMA journal_mode"), "wal\n");
    EXPECT_TRUE(same(*read("key"), true));
}

TEST_F(Store, may_be_used_by_several_threads) {
    Preferences preferences(directory());
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&preferences, i] {
            for (int j = 0; j < 25; ++j) {
                preferences.change(kApp, {{std::to_string(25 * i + j), true}});
                EXPECT_TRUE(preferences.value(kApp, std::to_string(25 * i + j)).has_value());
                EXPECT_TRUE(preferences.synchronize(kApp));
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(rows("SELECT count(*) FROM records"), "100\n");
}

TEST_F(Store, does_not_depend_on_an_applications_default_file_layer) {
    sqlite3_initialize();
    sqlite3_vfs useless = *sqlite3_vfs_find("unix");
    useless.zName = "an application's own";
    useless.xOpen = [](sqlite3_vfs*, const char*, sqlite3_file* file, int, int*) {
        file->pMethods = nullptr;
        return SQLITE_CANTOPEN;
    };
    sqlite3_vfs_register(&useless, 1);
    write("key", true);
    EXPECT_TRUE(same(*read("key"), true));
    EXPECT_EQ(sqlite3_vfs_find(nullptr), &useless);
    sqlite3_vfs_unregister(&useless);
}

}  // namespace
