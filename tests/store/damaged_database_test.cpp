// Thousands of databases with flipped, lost and foreign bytes, all reproducible: each is read or
// put aside, and accepts new records at once.

#include <RecordStore/record_store.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <random>
#include <string>

#include "doubles/watched_disk.h"
#include "support/fault_rows.h"
#include "support/same_value.h"
#include "support/scratch_folder.h"
#include "support/text.h"

namespace texprobe::tests {
namespace {

namespace fs = std::filesystem;
using platform::RecordStore;

/// Files by name.
using Files = std::map<std::string, std::string>;
using Random = std::mt19937;
using Damage = void (*)(std::string& bytes, Random& random);

std::size_t any(Random& random, std::size_t below) {
    return below == 0 ? 0 : random() % below;
}

std::string noise(std::size_t size, Random& random) {
    std::string bytes(size, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random());
    return bytes;
}

void flip_bits(std::string& bytes, Random& random) {
    for (std::size_t flips = 1 + any(random, 64); flips > 0 && !bytes.empty(); --flips) {
        char& byte = bytes[any(random, bytes.size())];
        byte = static_cast<char>(byte ^ 1 << any(random, 8));
    }
}

void flip_bits_of_a_header(std::string& bytes, Random& random) {
    const std::size_t page = 4096 * any(random, 1 + bytes.size() / 4096);
    for (std::size_t flips = 1 + any(random, 8); flips > 0 && page < bytes.size(); --flips) {
        char& byte = bytes[page + any(random, std::min<std::size_t>(120, bytes.size() - page))];
        byte = static_cast<char>(byte ^ 1 << any(random, 8));
    }
}

void cut_off(std::string& bytes, Random& random) {
    bytes.resize(any(random, bytes.size()));
}

void overwrite(std::string& bytes, Random& random) {
    const std::size_t begin = any(random, bytes.size());
    const std::size_t size = any(random, bytes.size() - begin);
    bytes.replace(begin, size, noise(size, random));
}

void clear(std::string& bytes, Random& random) {
    const std::size_t begin = any(random, bytes.size());
    const std::size_t size = any(random, bytes.size() - begin);
    bytes.replace(begin, size, std::string(size, '\0'));
}

void replace_all(std::string& bytes, Random& random) {
    bytes = noise(any(random, 20'000), random);
}

void exchange_pages(std::string& bytes, Random& random) {
    const std::size_t pages = bytes.size() / 4096;
    const std::size_t one = 4096 * any(random, pages);
    const std::size_t other = 4096 * any(random, pages);
    for (std::size_t i = 0; i < 4096 && pages > 0; ++i) std::swap(bytes[one + i], bytes[other + i]);
}

Files read_files(const fs::path& directory) {
    Files files;
    for (const auto& entry : fs::directory_iterator(directory)) {
        files[entry.path().filename()] = read_file(entry.path());
    }
    return files;
}

/// Three complete record sets; `later` changes half of them and leaves the changes in the log.
void fill(RecordStore& store, bool later) {
    for (const char* app : {"org.example.1", "org.example.2", "org.example.3"}) {
        for (int i = 0; i < 96; ++i) {
            if (!later || i % 2 == 0) store.change(app, {{std::to_string(i), later}});
        }
        store.change(app, {{"VERSION", 0.21}, {"GL_VENDOR", std::string("Mesa")}});
        ASSERT_TRUE(store.synchronize(app));
    }
}

/// Are the files unchanged, and does SQLite alone find nothing wrong with them? Their bytes may say
/// that a newer program made the file, or that the table belongs to another program.
bool is_left_alone(const fs::path& directory, const Files& files) {
    const Files now = read_files(directory);
    for (const auto& [name, bytes] : files) {
        if (name != "records.sqlite3-shm" && (!now.contains(name) || now.at(name) != bytes))
            return false;
    }
    sqlite3* opened = nullptr;
    const std::string database = directory / "records.sqlite3";
    int code = sqlite3_open_v2(database.c_str(), &opened, SQLITE_OPEN_READONLY, nullptr);
    std::string found;
    const auto collect = [](void* text, int, char** columns, char**) {
        *static_cast<std::string*>(text) += columns[0];
        return 0;
    };
    if (code == SQLITE_OK) {
        code = sqlite3_exec(opened, "PRAGMA integrity_check(1)", collect, &found, nullptr);
    }
    sqlite3_close(opened);
    return code == SQLITE_ERROR || (code == SQLITE_OK && found == "ok");
}

/// Does a store with these files answer, and accept a new record that another process sees? Or is
/// it left alone, with nothing wrong for SQLite?
bool is_usable(const Files& files) {
    const ScratchFolder folder;
    const fs::path directory = folder.path() / "records";
    fs::create_directory(directory);
    for (const auto& [name, bytes] : files) write_file(directory / name, bytes);
    RecordStore store(directory);
    for (const char* app : {"org.example.1", "org.example.2", "org.example.3"}) {
        store.value(app, "VERSION");
    }
    store.change("org.example.2", {{"new", true}, {"0", std::nullopt}});
    if (!store.synchronize("org.example.2")) return is_left_alone(directory, files);
    store.close();
    const auto seen = RecordStore(directory).value("org.example.2", "new");
    return seen && same(*seen, true);
}

/// Damages one file of the store in every way, many times.
void damage(const std::string& part, const Files& whole, const std::string& name) {
    constexpr Damage kDamages[] = {flip_bits, flip_bits_of_a_header, cut_off,       overwrite,
                                   clear,     replace_all,           exchange_pages};
    const WatchedDisk quick([](const DiskEvent&) { return SQLITE_OK; });
    FaultCount count;
    testing::internal::CaptureStderr();
    for (unsigned seed = 0; seed < DAMAGED_DATABASES; ++seed) {
        Random random(seed);
        Files files = whole;
        kDamages[seed % std::size(kDamages)](files[name], random);
        EXPECT_TRUE(count.add([&] { return is_usable(files); })) << name << ", seed " << seed;
    }
    const std::string said = testing::internal::GetCapturedStderr();
    EXPECT_EQ(count.lostVerdicts, 0u) << said.substr(0, 2000);
    EXPECT_EQ(count.hangs, 0u);
    write_fault_row("Database with damaged bytes", part, count);
}

TEST(DamagedDatabases, are_read_or_put_aside) {
    const ScratchFolder folder;
    {
        RecordStore store(folder.path() / "records");
        fill(store, false);
    }
    damage("database", read_files(folder.path() / "records"), "records.sqlite3");
}

TEST(DamagedDatabases, with_a_log_are_read_or_put_aside) {
    const ScratchFolder folder;
    RecordStore store(folder.path() / "records");
    fill(store, false);
    store.close();
    fill(store, true);
    Files files = read_files(folder.path() / "records");
    ASSERT_EQ(files.size(), 3u);
    // After its pages, the log has unused room, where damage would never be noticed.
    constexpr std::size_t kHeader = 32;
    constexpr std::size_t kPage = 24 + 4096;
    std::string& log = files["records.sqlite3-wal"];
    const std::size_t pages = (log.find_last_not_of('\0') - kHeader) / kPage + 1;
    ASSERT_GE(pages, 5u);
    ASSERT_LT(pages, 100u);
    log.resize(kHeader + pages * kPage);
    damage("log", files, "records.sqlite3-wal");
    damage("database_with_log", files, "records.sqlite3");
    damage("map", files, "records.sqlite3-shm");
}

}  // namespace
}  // namespace texprobe::tests
