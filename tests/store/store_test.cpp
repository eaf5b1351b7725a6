// What is pending, what is on disk, and what another process sees. A second RecordStore acts as
// another process.

#include <sys/resource.h>

#include <array>
#include <bit>
#include <chrono>
#include <cmath>
#include <fstream>
#include <limits>
#include <thread>
#include <utility>
#include <vector>

#include "store/store_fixture.h"

namespace texprobe::tests {
namespace {

using platform::Database;

class Store : public StoreFixture {};

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
                            std::string(platform::kLongestString, 'x')};
    for (const Value& value : values) {
        write("key", value);
        const auto seen = read("key");
        ASSERT_TRUE(seen.has_value()) << value.index();
        EXPECT_TRUE(same(*seen, value)) << rows("SELECT type, typeof(value), value FROM records");
    }
}

TEST_F(Store, gives_only_the_strings_whose_keys_begin_as_asked) {
    EXPECT_EQ(RecordStore(directory()).read_texts(kApp, "core"), platform::Texts())
        << "there is no store yet";
    for (const char* key : {"cor", "core", "core.A", "core.B", "corf", "es.A"})
        write(key, std::string(key));
    write("core.number", 1.0);
    write("core.flag", true);
    const platform::Texts expected = {{"core", "core"}, {"core.A", "core.A"}, {"core.B", "core.B"}};
    EXPECT_EQ(RecordStore(directory()).read_texts(kApp, "core"), expected);
    EXPECT_EQ(RecordStore(directory()).read_texts(kApp, "x"), platform::Texts());
    EXPECT_EQ(RecordStore(directory()).read_texts("org.example.other", "core"), platform::Texts());
    RecordStore reader(directory());
    EXPECT_EQ(reader.read_texts(kApp, "es"), (platform::Texts{{"es.A", "es.A"}}));
    query(database(), "UPDATE records SET value = 'new' WHERE key = 'es.A'");
    EXPECT_EQ(reader.read_texts(kApp, "es"), (platform::Texts{{"es.A", "new"}}));
    std::ofstream(database()) << "no database at all, but long enough to be looked at as one";
    EXPECT_NE(errors_of([&] { EXPECT_FALSE(reader.read_texts(kApp, "es")); }), "");
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
                                   "'string', hex(zeroblob(32769))",
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
    RecordStore store(directory());
    ASSERT_TRUE(put(store, {{"key", std::nullopt}}));
    EXPECT_EQ(rows("SELECT key FROM records"), "VERSION\n");
}

TEST_F(Store, shows_a_change_to_another_process_when_both_have_synchronized) {
    write("key", std::string("old"));
    RecordStore one(directory());
    RecordStore other(directory());
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

TEST_F(Store, keeps_the_last_synchronized_value_of_each_key_and_shows_those_of_others) {
    RecordStore one(directory());
    RecordStore other(directory());
    one.change(kApp, {{"both", std::string("one")}, {"one", true}});
    ASSERT_TRUE(put(other, {{"both", std::string("other")}, {"other", true}}));
    ASSERT_TRUE(one.synchronize(kApp));
    EXPECT_TRUE(same(*one.value(kApp, "other"), true));
    ASSERT_TRUE(other.synchronize(kApp));
    EXPECT_TRUE(same(*other.value(kApp, "both"), std::string("one")));
    EXPECT_EQ(rows("SELECT key FROM records"), "both\none\nother\n");
}

TEST_F(Store, writes_an_equal_value_over_what_another_process_wrote_meanwhile) {
    RecordStore one(directory());
    ASSERT_TRUE(put(one, {{"key", false}}));
    write("key", true);
    ASSERT_TRUE(put(one, {{"key", false}}));
    EXPECT_TRUE(same(*read("key"), false));
}

TEST_F(Store, synchronizes_one_application_at_a_time) {
    RecordStore store(directory());
    store.change(kApp, {{"key", true}});
    store.change("org.example.other", {{"key", true}});
    ASSERT_TRUE(store.synchronize(kApp));
    EXPECT_EQ(rows("SELECT application FROM records"), "org.example.app\n");
    EXPECT_TRUE(store.value("org.example.other", "key").has_value());
}

TEST_F(Store, makes_nothing_for_somebody_who_only_looks_and_sees_what_is_made_later) {
    RecordStore store(directory());
    EXPECT_FALSE(store.value(kApp, "key").has_value());
    EXPECT_TRUE(store.synchronize(kApp));
    EXPECT_FALSE(std::filesystem::exists(config()));
    std::filesystem::create_directories(directory());
    EXPECT_FALSE(read("key").has_value());
    EXPECT_TRUE(std::filesystem::is_empty(directory()));
    write("key", true);
    ASSERT_TRUE(store.synchronize(kApp));
    EXPECT_TRUE(same(*store.value(kApp, "key"), true));
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
        RecordStore store((odd / "records").string());
        store.change(app, {{key, true}});
        ASSERT_TRUE(store.synchronize(app));
    }
    EXPECT_TRUE(same(*RecordStore((odd / "records").string()).value(app, key), true));
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)  // They need the memory.
TEST_F(Store, with_a_record_that_does_not_fit_into_memory_ends_nobody) {
    write("a", true);
    rows(
        "INSERT INTO records VALUES ('org.example.app', 'b', 'string', zeroblob(75000000));"
        "INSERT INTO records VALUES ('org.example.app', 'c', 'boolean', 1)");
    errors_of([this] {
        EXPECT_TRUE(in_child([this] {
            rlimit limit;
            getrlimit(RLIMIT_DATA, &limit);
            limit.rlim_cur = 60'000'000;
            if (setrlimit(RLIMIT_DATA, &limit) != 0) return false;
            RecordStore store(directory());
            store.value(kApp, "a");
            store.change(kApp, {{"new", true}});
            store.synchronize(kApp);
            return store.value(kApp, "new").has_value();
        }));
    });
}
#endif

TEST_F(Store, that_takes_too_long_to_read_costs_one_line) {
    write("key", true);
    rows(
        "WITH RECURSIVE number(n) AS (SELECT 1 UNION ALL SELECT n + 1 FROM number LIMIT 4000)"
        " INSERT INTO records SELECT 'org.example.app', n, 'boolean', 1 FROM number");
    EXPECT_TRUE(read("key").has_value());
    const auto usual = std::exchange(Database::longestStatement, std::chrono::milliseconds(-1));
    EXPECT_EQ(errors_of([this] { EXPECT_FALSE(read("key").has_value()); }),
              cannot_use(database(), "reading it took too long"));
    Database::longestStatement = usual;
}

TEST_F(Store, is_opened_for_no_longer_than_a_look) {
    write("key", true);
    RecordStore store(directory());
    EXPECT_TRUE(store.value(kApp, "key").has_value());
    EXPECT_TRUE(store.synchronize(kApp));
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        const auto target = std::filesystem::read_symlink(entry.path(), gone).string();
        EXPECT_NE(target.rfind(directory().string(), 0), 0u) << target;
    }
}

TEST_F(Store, keeps_a_rollback_journal_where_it_is_asked_to) {
    std::filesystem::create_directories(directory());
    std::ofstream(database()).flush();
    Database opened;
    platform::Records records;
    ASSERT_TRUE(opened.open(database(), Database::kWrite, Database::kRollback).ok());
    ASSERT_TRUE(opened.write(kApp, {{"key", true}}, &records).ok());
    EXPECT_FALSE(std::filesystem::exists(database().string() + "-wal"));
    EXPECT_EQ(rows("PRAGMA journal_mode"), "delete\n");
    opened.close(false);
    // The next process finds it on a local disk again.
    write("other", true);
    EXPECT_EQ(rows("PRAGMA journal_mode"), "wal\n");
    EXPECT_TRUE(same(*read("key"), true));
}

TEST_F(Store, may_be_used_by_several_threads) {
    RecordStore store(directory());
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&store, i] {
            for (int j = 0; j < 25; ++j) {
                store.change(kApp, {{std::to_string(25 * i + j), true}});
                EXPECT_TRUE(store.value(kApp, std::to_string(25 * i + j)).has_value());
                EXPECT_TRUE(store.synchronize(kApp));
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
}  // namespace texprobe::tests
