// Many threads read the system's build string. The test driver's calls cover a single thread.

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "records/records.h"

namespace texprobe {
namespace {

constexpr char kBuild[] = "22G120";
std::atomic<int> calls{0};

}  // namespace

/// A slow system, which takes its time to write the text.
extern "C" int sysctlbyname(const char*, void* old, std::size_t* length, void*, std::size_t) {
    ++calls;
    *length = sizeof kBuild;
    if (old) {
        std::memset(old, 0, sizeof kBuild);
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        std::memcpy(old, kBuild, sizeof kBuild);
    }
    return 0;
}

namespace {

TEST(SystemVersion, is_read_once_and_whole_for_all_threads) {
    std::vector<std::string> seen(8);
    std::vector<std::thread> threads;
    threads.reserve(seen.size());
    for (std::string& text : seen) {
        threads.emplace_back([&text] { text = get_system_version(); });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(seen, std::vector<std::string>(8, "22G120"));
    EXPECT_EQ(calls, 2);
}

}  // namespace
}  // namespace texprobe
