// Processes that are killed while they synchronize.

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <string>

#include "store/store_fixture.h"
#include "support/fault_rows.h"

namespace texprobe::tests {
namespace {

namespace fs = std::filesystem;

constexpr unsigned kKills = 40;

class KilledProcesses : public StoreFixture {
protected:
    /// A process that sets one record after the other. It is killed some time after it has reported
    /// `patience` of them. Returns how many it has reported.
    unsigned records_of_killed_process(unsigned patience) const {
        int ends[2];
        if (pipe(ends) != 0) return 0;
        const pid_t child = start([&] {
            RecordStore store(directory());
            unsigned i = 0;
            do {
                store.change(kApp, {{std::to_string(i++), true}});
            } while (store.synchronize(kApp) && ::write(ends[1], ".", 1) == 1);
            return 1;
        });
        close(ends[1]);
        char report = 0;
        unsigned reported = 0;
        while (reported < patience && ::read(ends[0], &report, 1) == 1) ++reported;
        kill(child, SIGKILL);
        while (::read(ends[0], &report, 1) == 1) ++reported;
        close(ends[0]);
        status_of(child);
        return reported;
    }
};

TEST_F(KilledProcesses, lose_nothing_that_they_synchronized) {
    FaultCount count;
    while (count.cases < kKills) {
        const unsigned patience = 1 + count.cases / 2;
        EXPECT_TRUE(count.add([&] {
            const unsigned reported = records_of_killed_process(patience);
            EXPECT_GE(reported, patience);
            RecordStore store(directory());
            bool isWhole = true;
            for (unsigned i = 0; i < reported; ++i) {
                isWhole = store.value(kApp, std::to_string(i)) && isWhole;
            }
            return isWhole;
        })) << patience;
        EXPECT_EQ(rows("PRAGMA integrity_check"), "ok\n");
        fs::remove_all(config());
    }
    write_fault_row("Process killed while it synchronizes", "all", count);
}

}  // namespace
}  // namespace texprobe::tests
