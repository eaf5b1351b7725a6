// The real tool measures for TexProbeVerdicts, and the disk with the records becomes full.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "TexProbeVerdicts.h"
#include "application_context.h"
#include "records_of_test.h"
#include "support/answers.h"
#include "support/process.h"

namespace texprobe::tests {
namespace {

using testing::AllOf;
using testing::AnyOf;
using testing::EndsWith;
using testing::Eq;
using testing::HasSubstr;
using testing::StartsWith;

/// In a process with a disk of its own at `folder`.
bool mount_disk(const std::filesystem::path& folder, const std::string& size) {
    std::filesystem::create_directories(folder);
    return unshare(CLONE_NEWNS) == 0 &&
           mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount("none", folder.c_str(), "tmpfs", 0, ("mode=700,size=" + size).c_str()) == 0;
}

class FullDisk : public testing::Test {
protected:
    /// What an application gets: "ready " and y, n and ? for each verdict, or "failed"; and why.
    std::string measure() const {
        const auto context = open_surfaceless();
        const std::string tool = folder_.tool();
        const texprobe_options options = {sizeof options, tool.c_str(), 0, nullptr, nullptr, 0,
                                          nullptr};
        qor::TexProbeVerdicts verdicts(&options);
        const bool isReady = verdicts.wait() == TEXPROBE_READY;
        return (isReady ? "ready " + answers_of(verdicts) : "failed") + " " + verdicts.reason() +
               "\n";
    }

    /// The same on a disk of that size; and again after it has grown. Nothing if mounting is not
    /// allowed.
    std::vector<std::string> measure_on_disk(const std::string& size) const {
        const std::filesystem::path file = folder_.path() / "answers";
        std::filesystem::remove(file);
        status_of(start([&] {
            const std::filesystem::path records = folder_.database().parent_path();
            if (!mount_disk(records, size)) return 1;
            const std::string small = measure();
            mount(nullptr, records.c_str(), nullptr, MS_REMOUNT, "size=10m");
            write_file(file, small + measure());
            return 0;
        }));
        return lines_of(read_file(file));
    }

    const ToolFolder& folder_ = empty_folder(TOOL);
};

TEST_F(FullDisk, gives_the_right_verdicts_with_a_reason_and_costs_none) {
    const std::vector<std::string> whole = measure_on_disk("10m");
    if (whole.empty()) GTEST_SKIP() << "mounting is not allowed here";
    const std::string& right = whole.at(0);
    ASSERT_THAT(right, AllOf(StartsWith("ready "), HasSubstr("yyyyyy"), EndsWith(" ")));
    const std::string file = folder_.database().parent_path();
    const auto hasReason =
        AllOf(StartsWith(right + "the verdicts are not recorded, and will be measured again: "),
              HasSubstr("cannot use " + file),
              AnyOf(EndsWith(": No space left on device"), EndsWith(": database or disk is full")));
    int reasons = 0;
    for (const int kilobytes : {4, 16, 48, 128, 400, 600}) {
        const auto lines = measure_on_disk(std::to_string(kilobytes) + "k");
        ASSERT_EQ(lines.size(), 2u) << kilobytes;
        EXPECT_THAT(lines[0], AnyOf(Eq(right), hasReason)) << kilobytes;
        EXPECT_EQ(lines[1], right) << kilobytes;
        reasons += lines[0] != right ? 1 : 0;
    }
    EXPECT_GT(reasons, 2);
}

}  // namespace
}  // namespace texprobe::tests
