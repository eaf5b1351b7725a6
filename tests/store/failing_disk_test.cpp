// A disk that is full or fails, from any access on or now and then: what was promised is kept, the
// rest is tried again, and the whole of it costs one line.

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "doubles/watched_disk.h"
#include "store/store_fixture.h"
#include "support/fault_rows.h"

namespace texprobe::tests {
namespace {

namespace fs = std::filesystem;

constexpr unsigned kFailures = 300;
constexpr int kErrors[] = {SQLITE_FULL, SQLITE_IOERR_WRITE, SQLITE_IOERR_FSYNC};
constexpr unsigned kErrorCount = std::size(kErrors);

class FailingDisk : public StoreFixture {
protected:
    /// Three synchronizations on a disk whose n-th access fails with `errorAt(n)`, and a last one
    /// on the healthy disk. Is nothing lost?
    bool loses_nothing(const std::function<int(unsigned)>& errorAt) const {
        bool isSound = false;
        bool good = true;
        unsigned accesses = 0;
        const WatchedDisk disk(
            [&](const DiskEvent&) { return isSound ? SQLITE_OK : errorAt(++accesses); });
        const std::string said = errors_of([&] {
            RecordStore store(directory());
            std::vector<std::string> promised;
            for (const char* key : {"0", "1", "2"}) {
                store.change(kApp, {{key, true}});
                if (store.synchronize(kApp)) promised.emplace_back(key);
                good = good && store.value(kApp, key);
            }
            isSound = true;
            for (const std::string& key : promised) good = good && read(key);
            good = good && store.synchronize(kApp);
        });
        good = good && rows("SELECT key FROM records") == "0\n1\n2\n" && !fs::exists(aside()) &&
               std::count(said.begin(), said.end(), '\n') <= 1;
        EXPECT_TRUE(good) << said;
        fs::remove_all(config());
        return good;
    }

    /// The number of accesses if nothing fails.
    unsigned accesses() const {
        unsigned count = 0;
        loses_nothing([&count](unsigned access) {
            count = access;
            return SQLITE_OK;
        });
        return count;
    }
};

TEST_F(FailingDisk, loses_nothing) {
    const unsigned last = accesses();
    // Every access with every error, and enough cases left for random failures.
    ASSERT_LT(last * kErrorCount, kFailures);
    FaultCount count;
    while (count.cases < kFailures) {
        const unsigned number = count.cases / kErrorCount + 1;
        const int error = kErrors[count.cases % kErrorCount];
        std::mt19937 random(count.cases);
        const auto errorAt = [&](unsigned access) {
            if (number <= last) return access >= number ? error : SQLITE_OK;
            return random() % 8 == 0 ? kErrors[random() % kErrorCount] : SQLITE_OK;
        };
        EXPECT_TRUE(count.add([&] { return loses_nothing(errorAt); })) << "case " << count.cases;
    }
    write_fault_row("Disk full or failing at any access", "all", count);
}

}  // namespace
}  // namespace texprobe::tests
