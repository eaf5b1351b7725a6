// Processes that are killed while they synchronize.

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <string>

#include "support/fault_rows.h"
#include "store/store_fixture.h"

namespace {

namespace fs = std::filesystem;
using texprobe::tests::FaultCount;
using texprobe::tests::RecordStore;
using texprobe::tests::write_fault_row;

constexpr unsigned kKills = 40;

class KilledProcesses : public texprobe::tests::StoreFixture {
protected:
    /// A process that sets one record after the other. It is killed some time after it has reported
    /// `patience` of them. Returns how many it has reported.
    unsigned records_of_killed_process(unsigned patience) const {
        int ends[2];
        if (pipe(ends) != 0) return 0;
        const pid_t child = texprobe::tests::start([&] {
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
        texprobe::tests::status_of(child);
        return reported;
    }
};

TEST_F(KilledProcesses, lose_nothing_that_they_synchronized) {
    FaultCount count;
    for (; count.cases < kKills; ++count.cases) {
        const unsigned patience = 1 + count.cases / 2;
        const auto begin = std::chrono::steady_clock::now();
        const unsigned reported = records_of_killed_process(patience);
        EXPECT_GE(reported, patience);
        {
            RecordStore store(directory());
            for (unsigned i = 0; i < reported; ++i) {
                const bool isThere = store.value(kApp, std::to_string(i)).has_value();
                EXPECT_TRUE(isThere) << i;
                count.lostVerdicts += !isThere;
            }
        }
        EXPECT_EQ(rows("PRAGMA integrity_check"), "ok\n");
        count.hangs += std::chrono::steady_clock::now() - begin > std::chrono::seconds(10);
        fs::remove_all(config());
    }
    write_fault_row("Process killed while it synchronizes", "all", count);
}

}  // namespace
