// While a damaged database with a log is put aside, the process dies, or the system refuses a call.
// The result is either the old database with its log, or a new one with both kept beside it.

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <fstream>
#include <map>
#include <string>

#include "store/store_fixture.h"
#include "support/fault_rows.h"

namespace {

enum class Fault { kNone, kDeath, kRefusal, kRefusalFromHereOn };
Fault fault = Fault::kNone;
int calls = 0;
int faultyCall = 0;

/// Called before each call that changes names: does the system refuse it? May not return.
bool is_refused() {
    ++calls;
    if (fault == Fault::kDeath && calls == faultyCall) _exit(0);
    errno = EPERM;
    return (fault == Fault::kRefusal && calls == faultyCall) ||
           (fault == Fault::kRefusalFromHereOn && calls >= faultyCall);
}

}  // namespace

// The linker redirects the C library's functions here (--wrap).
extern "C" {
int __real_link(const char* from, const char* to);
int __wrap_link(const char* from, const char* to) {
    return is_refused() ? -1 : __real_link(from, to);
}
int __real_rename(const char* from, const char* to);
int __wrap_rename(const char* from, const char* to) {
    return is_refused() ? -1 : __real_rename(from, to);
}
int __real_unlink(const char* path);
int __wrap_unlink(const char* path) {
    return is_refused() ? -1 : __real_unlink(path);
}
}

namespace texprobe::tests {
namespace {

namespace fs = std::filesystem;

class PutAside : public StoreFixture {
protected:
    std::string log() const { return database().string() + "-wal"; }

    /// Valid records, half of them in a log whose writer has died; then the header is damaged.
    void make_damaged_store() {
        fs::remove_all(config());
        write("VERSION", 0.21);
        RecordChanges changes;
        for (int i = 0; i < 51; ++i) changes[std::to_string(i)] = true;
        ASSERT_TRUE(write_and_die(changes));
        old_database_ = "damage" + read_file(database()).substr(6);
        old_log_ = read_file(log());
        std::ofstream(database(), std::ios::binary) << old_database_;
    }

    bool is_old() const {
        return read_file(database()) == old_database_ && read_file(log()) == old_log_;
    }
    bool is_kept() const {
        return read_file(aside()) == old_database_ &&
               read_file(aside().string() + "-wal") == old_log_;
    }

    /// A process that writes one record, with a fault at the `number`-th call. Returns the number
    /// of its calls if it survived.
    int write_with(Fault itsFault, int number) {
        int ends[2];
        EXPECT_EQ(pipe(ends), 0);
        EXPECT_TRUE(in_child([&] {
            std::freopen("/dev/null", "w", stderr);
            fault = itsFault;
            faultyCall = number;
            RecordStore store(directory(),
                              {std::chrono::milliseconds(0), std::chrono::milliseconds(0)});
            store.change(kApp, {{"new", true}});
            store.synchronize(kApp);
            const bool goes_on = store.value(kApp, "new").has_value();
            return ::write(ends[1], &calls, sizeof calls) == sizeof calls && goes_on;
        }));
        close(ends[1]);
        int made = -1;
        if (::read(ends[0], &made, sizeof made) != sizeof made) made = -1;
        close(ends[0]);
        return made;
    }

    /// Is everything there, and does the next writer find or create a valid store?
    bool loses_nothing() {
        if (!is_old() && !is_kept()) return false;
        if (write_with(Fault::kNone, 0) < 0 || !is_kept()) return false;
        const auto seen = read("new");
        return seen && same(*seen, true) && !read("0").has_value();
    }

    std::string old_database_;
    std::string old_log_;
};

TEST_F(PutAside, loses_nothing_whatever_dies_or_is_refused) {
    make_damaged_store();
    const int last = write_with(Fault::kNone, 0);
    ASSERT_GE(last, 8);
    EXPECT_TRUE(is_kept());
    FaultCount count;
    for (const Fault each : {Fault::kDeath, Fault::kRefusal, Fault::kRefusalFromHereOn}) {
        for (int number = 1; number <= last; ++number) {
            make_damaged_store();
            EXPECT_TRUE(count.add([&] {
                write_with(each, number);
                return loses_nothing();
            })) << "fault "
                << static_cast<int>(each) << " at call " << number;
        }
    }
    write_fault_row("Death or refusal while a database is put aside", "all", count);
}

}  // namespace
}  // namespace texprobe::tests
