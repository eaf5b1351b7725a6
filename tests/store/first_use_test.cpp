// A process forked while one of its threads asks for a record for the first time.

#include <RecordStore/location.h>
#include <RecordStore/record_store.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "support/process.h"

namespace {

int registrations = 0;
std::atomic<bool> isAsked{false};

}  // namespace

extern "C" {

/// Does what the C library's own does, and counts. That one is linked statically, so this replaces
/// it.
int __register_atfork(void (*)(), void (*)(), void (*)(), void*) noexcept;  // NOLINT
int pthread_atfork(void (*prepare)(), void (*parent)(), void (*child)()) noexcept {
    ++registrations;
    return __register_atfork(prepare, parent, child, nullptr);
}
}

namespace texprobe::platform {

/// Slow, so that the fork happens during the first use.
std::string records_directory() {
    isAsked = true;
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    return "/nonexistent/records";
}

namespace {

TEST(FirstUse, finds_forks_provided_for) {
    EXPECT_EQ(registrations, 1);
}

TEST(FirstUse, in_another_thread_does_not_hang_a_forked_child) {
    // The thread outlives the fork. Otherwise the thread sanitizer would report it in the child as
    // ended but not joined.
    std::atomic<bool> isForked{false};
    std::thread first([&isForked] {
        RecordStore::of_process().value("app", "key");
        while (!isForked) std::this_thread::yield();
    });
    while (!isAsked) std::this_thread::yield();
    const pid_t child = tests::start([] {
        alarm(20);
        return RecordStore::of_process().value("app", "key") ? 1 : 0;
    });
    isForked = true;
    EXPECT_EQ(tests::status_of(child), 0);
    first.join();
}

}  // namespace

}  // namespace texprobe::platform
