// The power fails at every moment between the store's writes and syncs. The files that the disk
// would then hold can be opened, and contain what was synchronized before.

#include <RecordStore/record_store.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "doubles/watched_disk.h"
#include "support/fault_rows.h"
#include "support/scratch_folder.h"
#include "support/text.h"

namespace texprobe::tests {
namespace {

namespace fs = std::filesystem;
using platform::Database;
using platform::RecordChanges;
using platform::Records;
using platform::RecordStore;

constexpr const char* kApp = "org.example.app";
constexpr const char* kFault = "Power cut between the store's writes and syncs";
constexpr unsigned kPowerCuts = 1000;

// 1. A run is recorded.

/// One operation on one file, in the order of the calls.
struct Operation {
    DiskEvent::Kind kind;
    std::string name;
    sqlite3_int64 offset;
    std::string bytes;
};

/// All operations of a run, and what each synchronization has promised.
struct Recording {
    std::vector<Operation> operations;
    /// The records after each synchronization, and the number of operations when it returned.
    std::vector<Records> states{Records()};
    std::vector<std::size_t> promisedAt{0};

    void promise(const Records& records) {
        states.push_back(records);
        promisedAt.push_back(operations.size());
    }
};

/// What a disk listens with while `recording` is made.
WatchedDisk::Listener into(Recording& recording) {
    return [&recording](const DiskEvent& event) {
        recording.operations.push_back(
            {event.kind, fs::path(event.path).filename(), event.offset, std::string(event.bytes)});
        return SQLITE_OK;
    };
}

void record(const std::vector<RecordChanges>& steps, const fs::path& directory,
            Recording& recording) {
    RecordStore store(directory);
    for (const RecordChanges& step : steps) {
        store.change(kApp, step);
        ASSERT_TRUE(store.synchronize(kApp));
        recording.promise(store.records(kApp));
    }
}

// 2. What the disk holds when the power fails.

/// Which of the operations that were not synced are on the disk nevertheless.
enum class Luck { kNone, kAll, kSome };

/// What the disk holds of one file, and the operations that it has been told and has not synced.
struct FileOnDisk {
    std::optional<std::string> content;
    std::vector<Operation> told;

    void perform(const Operation& operation) {
        if (operation.kind == DiskEvent::kDelete) {
            content.reset();
            return;
        }
        if (!content) content.emplace();
        const auto offset = static_cast<std::size_t>(operation.offset);
        if (operation.kind == DiskEvent::kTruncate) content->resize(offset);
        if (operation.kind != DiskEvent::kWrite) return;
        content->resize(std::max(content->size(), offset + operation.bytes.size()));
        content->replace(offset, operation.bytes.size(), operation.bytes);
    }
    void tell(const Operation& operation) {
        const bool isSync = operation.kind == DiskEvent::kSync;
        // The offset of a deletion tells whether it also syncs the directory.
        const bool isDurable = operation.kind == DiskEvent::kDelete && operation.offset != 0;
        if (!isSync) told.push_back(operation);
        if (!isSync && !isDurable) return;
        for (const Operation& each : told) perform(each);
        told.clear();
    }
    void fail(Luck luck, std::mt19937& random) {
        for (Operation& each : told) {
            const bool isDone = luck == Luck::kAll || (luck == Luck::kSome && random() % 2 != 0);
            // A disk writes sectors.
            if (isDone && luck == Luck::kSome && each.kind == DiskEvent::kWrite &&
                random() % 4 == 0) {
                const std::size_t sectors = each.bytes.size() / 512;
                each.bytes.resize(512 * (sectors == 0 ? 0 : random() % sectors));
            }
            if (isDone) perform(each);
            // Operations after a deletion are on another file, whose name is not on disk yet.
            if (each.kind == DiskEvent::kDelete && !isDone) break;
        }
    }
};

/// The files and their bytes after the first `cut` operations.
std::map<std::string, std::string> files_after_cut(const Recording& recording, std::size_t cut,
                                                   Luck luck, unsigned seed) {
    std::map<std::string, FileOnDisk> files;
    files["records.sqlite3"].content.emplace();
    for (std::size_t i = 0; i < cut; ++i) {
        files[recording.operations[i].name].tell(recording.operations[i]);
    }
    std::mt19937 random(seed);
    std::map<std::string, std::string> contents;
    for (auto& [name, file] : files) {
        file.fail(luck, random);
        if (file.content) contents[name] = *file.content;
    }
    // The log's index is shared memory: what the disk has of it may be anything.
    if (luck == Luck::kSome) contents["records.sqlite3-shm"] = std::string(32768, char(random()));
    return contents;
}

// 3. What the next process finds.

/// Does a store with these files hold exactly what was promised, or exactly the next state?
bool holds_what_was_promised(const Recording& recording, std::size_t cut,
                             const std::map<std::string, std::string>& contents) {
    const ScratchFolder folder;
    const fs::path directory = folder.path() / "records";
    fs::create_directory(directory);
    for (const auto& [name, content] : contents) write_file(directory / name, content);
    RecordStore store(directory);
    // A rollback journal is only rolled back by a writer.
    store.change(kApp, {{"after the cut", true}});
    if (!store.synchronize(kApp) || fs::exists(directory / "records.sqlite3.damaged")) return false;
    Records stored = store.records(kApp);
    stored.erase("after the cut");
    const auto promised =
        std::upper_bound(recording.promisedAt.begin(), recording.promisedAt.end(), cut);
    const auto state = static_cast<std::size_t>(promised - recording.promisedAt.begin()) - 1;
    return stored == recording.states[state] ||
           (state + 1 < recording.states.size() && stored == recording.states[state + 1]);
}

/// First the power fails at every moment on a disk that has done nothing, and on one that has done
/// everything. Then it fails at all moments in turn on a disk that has done part of it, until the
/// number of cases is reached, which does not depend on how many operations SQLite needs.
void cut_everywhere(const Recording& recording, const std::string& part) {
    const std::size_t moments = recording.operations.size() + 1;
    EXPECT_LE(2 * moments, kPowerCuts);
    const WatchedDisk quick([](const DiskEvent&) { return SQLITE_OK; });
    FaultCount count;
    while (count.cases < kPowerCuts) {
        const std::size_t cut = count.cases % moments;
        const std::size_t round = count.cases / moments;
        const Luck luck = round == 0 ? Luck::kNone : round == 1 ? Luck::kAll : Luck::kSome;
        EXPECT_TRUE(count.add([&] {
            return holds_what_was_promised(recording, cut,
                                           files_after_cut(recording, cut, luck, count.cases));
        })) << "cut "
            << cut << " round " << round;
    }
    write_fault_row(kFault, part, count);
}

// 4. The runs.

/// The changes of a run, by synchronization: the version and a reset, provisional falses that
/// become verdicts, and the strings at the end.
std::vector<RecordChanges> run_of_the_tool() {
    std::vector<RecordChanges> steps(1);
    for (int i = 0; i < 30; ++i) steps[0]["FORMAT_" + std::to_string(i)] = std::nullopt;
    steps[0]["VERSION"] = 0.21;
    for (int i = 0; i < 30; ++i) {
        RecordChanges step;
        if (i > 0) step["FORMAT_" + std::to_string(i - 1)] = i % 3 != 0;
        step["FORMAT_" + std::to_string(i)] = false;
        steps.push_back(step);
    }
    steps.push_back({{"GL_VENDOR", std::string("Mesa")}, {"GL_VERSION", std::string(5000, '4')}});
    return steps;
}

class PowerCut : public testing::Test {
protected:
    const ScratchFolder folder_;
    Recording recording_;
    std::optional<WatchedDisk> disk_{into(recording_)};
};

TEST_F(PowerCut, loses_nothing_that_was_synchronized) {
    record(run_of_the_tool(), folder_.path() / "records", recording_);
    // A second run, on the results of the first.
    record({{{"FORMAT_0", false}}, {{"FORMAT_0", true}, {"FORMAT_1", std::nullopt}}},
           folder_.path() / "records", recording_);
    disk_.reset();
    ASSERT_GT(recording_.operations.size(), 100u);
    cut_everywhere(recording_, "log");
}

TEST_F(PowerCut, loses_nothing_that_was_synchronized_in_a_log_that_is_written_over) {
    // Each long value takes 13 pages of the log, which is checkpointed after 128.
    std::vector<RecordChanges> steps;
    for (char letter = 'a'; letter <= 'l'; ++letter) {
        steps.push_back({{"LONG", std::string(50'000, letter)}});
    }
    for (int i = 0; i < 3; ++i) steps.push_back({{"SHORT", i % 2 == 0}});
    record(steps, folder_.path() / "records", recording_);
    disk_.reset();
    const auto beginsLog = [](const Operation& operation) {
        return operation.kind == DiskEvent::kWrite && operation.name == "records.sqlite3-wal" &&
               operation.offset == 0 && operation.bytes.size() == 32;
    };
    const auto& operations = recording_.operations;
    ASSERT_EQ(std::count_if(operations.begin(), operations.end(), beginsLog), 2);
    cut_everywhere(recording_, "log written over");
}

TEST_F(PowerCut, loses_nothing_that_was_synchronized_with_a_rollback_journal) {
    const fs::path database = folder_.path() / "records.sqlite3";
    std::ofstream(database).flush();
    Database opened;
    ASSERT_TRUE(opened.open(database, Database::kWrite, Database::kRollback).ok());
    Records records;
    for (int i = 0; i < 12; ++i) {
        const RecordChanges change = {{std::to_string(i), std::string(1000, 'x')}};
        ASSERT_TRUE(opened.write(kApp, change, &records).ok());
        recording_.promise(records);
    }
    opened.close(false);
    disk_.reset();
    ASSERT_GT(recording_.operations.size(), 50u);
    cut_everywhere(recording_, "journal");
}

}  // namespace
}  // namespace texprobe::tests
