// The power fails at every moment between the store's writes and syncs. The files that the disk
// would then hold can be opened and contain what was synchronized before.

#include <RecordStore/record_store.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "support/fault_rows.h"
#include "support/scratch_folder.h"
#include "support/same_value.h"
#include "doubles/watched_disk.h"

namespace {

namespace fs = std::filesystem;
using texprobe::platform::Database;
using texprobe::platform::RecordChanges;
using texprobe::platform::Records;
using texprobe::platform::RecordStore;
using texprobe::tests::DiskEvent;
using texprobe::tests::FaultCount;
using texprobe::tests::same;
using texprobe::tests::ScratchFolder;
using texprobe::tests::WatchedDisk;
using texprobe::tests::write_fault_row;

constexpr const char* kApp = "org.example.app";
constexpr unsigned kPowerCuts = 1000;

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

/// What the disk holds of one file, and the operations that it has not synced yet.
struct File {
    std::optional<std::string> content;
    std::vector<Operation> told;
};

void perform(const Operation& operation, std::optional<std::string>& content) {
    if (operation.kind == DiskEvent::kDelete) {
        content.reset();
        return;
    }
    if (!content) content.emplace();
    const auto offset = static_cast<std::size_t>(operation.offset);
    if (operation.kind == DiskEvent::kTruncate) content->resize(offset);
    if (operation.kind != DiskEvent::kWrite) return;
    const std::size_t end = offset + operation.bytes.size();
    if (content->size() < end) content->resize(end);
    content->replace(offset, operation.bytes.size(), operation.bytes);
}

/// Which of the operations that were not synced are on disk nevertheless.
enum class Luck { kNone, kAll, kSome };

/// Some operations are partly done, because a disk writes sectors.
std::optional<Operation> some_of(Operation operation, std::mt19937& random) {
    if (random() % 2 == 0) return std::nullopt;
    if (operation.kind == DiskEvent::kWrite && random() % 4 == 0) {
        const std::size_t sectors = operation.bytes.size() / 512;
        operation.bytes.resize(512 * (sectors == 0 ? 0 : random() % sectors));
    }
    return operation;
}

std::map<std::string, std::string> files_after_cut(const Recording& recording, std::size_t cut,
                                                   Luck luck, unsigned seed) {
    std::map<std::string, File> files;
    files["records.sqlite3"].content.emplace();
    for (std::size_t i = 0; i < cut; ++i) {
        const Operation& operation = recording.operations[i];
        File& file = files[operation.name];
        const bool isSync = operation.kind == DiskEvent::kSync;
        // The offset of a deletion tells whether it also syncs the directory.
        const bool isDurable = operation.kind == DiskEvent::kDelete && operation.offset != 0;
        if (!isSync) file.told.push_back(operation);
        if (!isSync && !isDurable) continue;
        for (const Operation& told : file.told) perform(told, file.content);
        file.told.clear();
    }
    std::mt19937 random(seed);
    std::map<std::string, std::string> contents;
    for (auto& [name, file] : files) {
        for (const Operation& told : file.told) {
            std::optional<Operation> done = told;
            if (luck == Luck::kNone) done.reset();
            if (luck == Luck::kSome) done = some_of(told, random);
            if (done) perform(*done, file.content);
            // Operations after a deletion are on another file, whose name is not on disk yet.
            if (told.kind == DiskEvent::kDelete && !done) break;
        }
        if (file.content) contents[name] = *file.content;
    }
    // The log's index is shared memory: what the disk has of it may be anything.
    if (luck == Luck::kSome) contents["records.sqlite3-shm"] = std::string(32768, char(random()));
    return contents;
}

bool equal(const Records& a, const Records& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const auto& x, const auto& y) {
        return x.first == y.first && same(x.second, y.second);
    });
}

/// Does a store with these files hold exactly what was promised, or exactly the next state?
bool holds_what_was_promised(const Recording& recording, std::size_t cut,
                             const std::map<std::string, std::string>& contents) {
    const ScratchFolder folder;
    const fs::path directory = folder.path() / "records";
    fs::create_directory(directory);
    for (const auto& [name, content] : contents) {
        std::ofstream(directory / name, std::ios::binary) << content;
    }
    const auto promised =
        std::upper_bound(recording.promisedAt.begin(), recording.promisedAt.end(), cut) -
        recording.promisedAt.begin() - 1;
    RecordStore store(directory);
    // A rollback journal is only rolled back by a writer.
    store.change(kApp, {{"after the cut", true}});
    if (!store.synchronize(kApp)) return false;
    Records stored = store.records(kApp);
    stored.erase("after the cut");
    const auto state = static_cast<std::size_t>(promised);
    const bool isNext =
        state + 1 < recording.states.size() && equal(stored, recording.states[state + 1]);
    return (isNext || equal(stored, recording.states[state])) &&
           !fs::exists(directory / "records.sqlite3.damaged");
}

/// First the power fails at every moment on a disk that has done nothing, and on one that has done
/// everything. Then it fails at all moments in turn on a disk that has done part of it, until the
/// number of cases is reached, which does not depend on how many operations SQLite needs.
FaultCount cut_everywhere(const Recording& recording) {
    const std::size_t moments = recording.operations.size() + 1;
    EXPECT_LE(2 * moments, kPowerCuts);
    const WatchedDisk quick([](const DiskEvent&) { return SQLITE_OK; });
    FaultCount count;
    for (; count.cases < kPowerCuts; ++count.cases) {
        const std::size_t cut = count.cases % moments;
        const std::size_t round = count.cases / moments;
        const Luck luck = round == 0 ? Luck::kNone : round == 1 ? Luck::kAll : Luck::kSome;
        const auto begin = std::chrono::steady_clock::now();
        const bool good = holds_what_was_promised(
            recording, cut, files_after_cut(recording, cut, luck, count.cases));
        EXPECT_TRUE(good) << "cut " << cut << " round " << round;
        count.lostVerdicts += !good;
        count.hangs += std::chrono::steady_clock::now() - begin > std::chrono::seconds(10);
    }
    return count;
}

/// Records the operations on the files as long as it exists.
class Recorder {
public:
    explicit Recorder(Recording& recording)
        : disk_([&recording](const DiskEvent& event) {
              recording.operations.push_back({event.kind, fs::path(event.path).filename(),
                                              event.offset, std::string(event.bytes)});
              return SQLITE_OK;
          }) {}

private:
    WatchedDisk disk_;
};

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

void record(const std::vector<RecordChanges>& steps, const fs::path& directory,
            Recording& recording) {
    RecordStore store(directory);
    for (const RecordChanges& step : steps) {
        store.change(kApp, step);
        ASSERT_TRUE(store.synchronize(kApp));
        recording.promise(store.records(kApp));
    }
}

TEST(PowerCut, loses_nothing_that_was_synchronized) {
    const ScratchFolder folder;
    const fs::path directory = folder.path() / "records";
    Recording recording;
    {
        const Recorder recorder(recording);
        record(run_of_the_tool(), directory, recording);
        // A second run, on the results of the first.
        record({{{"FORMAT_0", false}}, {{"FORMAT_0", true}, {"FORMAT_1", std::nullopt}}}, directory,
               recording);
    }
    ASSERT_GT(recording.operations.size(), 100u);
    write_fault_row("Power cut between the store's writes and syncs", "log",
                    cut_everywhere(recording));
}

TEST(PowerCut, loses_nothing_that_was_synchronized_in_a_log_that_is_written_over) {
    // Each long value takes 13 pages of the log, which is checkpointed after 128.
    std::vector<RecordChanges> steps;
    for (const char letter : {'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h', 'i', 'j', 'k', 'l'}) {
        steps.push_back({{"LONG", std::string(50'000, letter)}});
    }
    for (int i = 0; i < 3; ++i) steps.push_back({{"SHORT", i % 2 == 0}});
    const ScratchFolder folder;
    Recording recording;
    {
        const Recorder recorder(recording);
        record(steps, folder.path() / "records", recording);
    }
    const auto beginsLog = [](const Operation& operation) {
        return operation.kind == DiskEvent::kWrite && operation.name == "records.sqlite3-wal" &&
               operation.offset == 0 && operation.bytes.size() == 32;
    };
    ASSERT_EQ(std::count_if(recording.operations.begin(), recording.operations.end(), beginsLog),
              2);
    write_fault_row("Power cut between the store's writes and syncs", "log written over",
                    cut_everywhere(recording));
}

TEST(PowerCut, loses_nothing_that_was_synchronized_with_a_rollback_journal) {
    const ScratchFolder folder;
    const fs::path database = folder.path() / "records.sqlite3";
    std::ofstream(database).flush();
    Recording recording;
    {
        const Recorder recorder(recording);
        Database opened;
        ASSERT_TRUE(opened.open(database, Database::kWrite, Database::kRollback).ok());
        Records records;
        for (int i = 0; i < 12; ++i) {
            const RecordChanges change = {{std::to_string(i), std::string(1000, 'x')}};
            ASSERT_TRUE(opened.write(kApp, change, &records).ok());
            recording.promise(records);
        }
        opened.close(false);
    }
    ASSERT_GT(recording.operations.size(), 50u);
    write_fault_row("Power cut between the store's writes and syncs", "journal",
                    cut_everywhere(recording));
}

}  // namespace
