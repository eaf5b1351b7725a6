// A format without a transfer format. The pass has none, but the tests must handle it.

#include <gtest/gtest.h>

#include "measuring/capability_tests.h"

namespace texprobe {
namespace {

TEST(UnknownFormat, is_a_no_of_every_transfer_without_a_gl_call) {
    constexpr GLenum kUnknown = 0x8817;
    __hasFBO = __hasPBO = true;
    for (const CapabilityTest& test : kCapabilityTests) {
        if (test.capability < kUploadSet) continue;
        // No context is current: the fakes end the process at the first call.
        EXPECT_FALSE(test.run(kUnknown)) << test.capability;
    }
}

}  // namespace
}  // namespace texprobe
