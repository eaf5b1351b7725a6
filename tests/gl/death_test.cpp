// Under safe mode, a real renderer's driver dies in each of the 96 tests in turn.

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <array>
#include <csignal>
#include <filesystem>
#include <fstream>

#include "support/formats.h"
#include "support/tool_folder.h"

namespace texprobe::tests {
namespace {

constexpr std::array<int, 4> kSignals = {SIGSEGV, SIGABRT, SIGBUS, SIGKILL};

/// The records of a run in which the driver died in that test: its verdict is false, and tests that
/// depend on it were not run.
Records records_after_death(Records undisturbed, const std::string& format,
                            std::size_t capability) {
    undisturbed[format + '_' + kCapabilities[capability]] = "boolean 0";
    const std::size_t firstDependent = capability == 0 ? 1 : capability == 1 ? 4 : 6;
    for (std::size_t i = firstDependent; i < kCapabilities.size(); ++i) {
        undisturbed.erase(format + '_' + kCapabilities[i]);
    }
    return undisturbed;
}

/// The application identifiers in the order of their renderer runs.
std::vector<std::string> run_order(const Finished& run) {
    std::vector<std::string> applications;
    for (const std::string& line : lines_of(run.err)) {
        if (line.find("] testing renderer: ") != std::string::npos) {
            applications.push_back(line.substr(0, line.find('[')));
        }
    }
    return applications;
}

class Death : public testing::TestWithParam<std::size_t> {
protected:
    void SetUp() override {
        const rlimit noCores = {0, 0};
        setrlimit(RLIMIT_CORE, &noCores);
    }
};

TEST_P(Death, in_a_test_costs_that_verdict_and_no_other) {
    const Format& format = kFormats[GetParam()];
    const ToolFolder healthy(TOOL);
    const Finished healthyRun = healthy.run({"--safe"});
    ASSERT_TRUE(healthyRun.exited_with(0)) << healthyRun.err;
    const RecordSets undisturbed = healthy.records();
    ASSERT_FALSE(undisturbed.empty()) << "no renderer was found";

    for (std::size_t capability = 0; capability < kCapabilities.size(); ++capability) {
        // A sample is one test of each format.
        if (FAULT_STRIDE > 1 && capability != GetParam() % kCapabilities.size()) continue;
        const std::string key = std::string(format.name) + '_' + kCapabilities[capability];
        const int signal = kSignals[(GetParam() + capability) % kSignals.size()];
        const ToolFolder folder(TOOL);
        const std::filesystem::path order = folder.path() / "faults";
        std::ofstream(order) << format.internalFormat << ' ' << capability << ' ' << signal << '!';

        const Finished run = folder.run({"--safe"});
        EXPECT_TRUE(run.exited_with(0)) << key << '\n' << run.err;

        // The first renderer that runs the test dies in it. The order is used up then.
        RecordSets expected = undisturbed;
        bool tried = false;
        for (const std::string& application : run_order(healthyRun)) {
            Records& records = expected.at(application);
            if (tried || records.count(key) == 0) continue;
            tried = true;
            records = records_after_death(records, format.name, capability);
        }
        EXPECT_EQ(std::filesystem::exists(order), !tried) << key;
        EXPECT_EQ(folder.records(), expected) << key;
    }
}

INSTANTIATE_TEST_SUITE_P(OfAllFormats, Death, testing::Range<std::size_t>(0, kFormats.size()),
                         [](const auto& format) {
                             return std::string(kFormats[format.param].name);
                         });

}  // namespace
}  // namespace texprobe::tests
