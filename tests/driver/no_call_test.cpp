// Tests that lack what they need: noes without a call of OpenGL.

#include <gtest/gtest.h>

#include "measuring/capability_tests.h"

namespace texprobe {
namespace {

TEST(TestThatCannotRun, is_a_no_of_every_transfer_without_a_gl_call) {
    const struct {
        const char* lacks;
        bool hasPBO;
        GLenum internalFormat;
    } rows[] = {{"pixel buffer objects", false, GL_RGBA8},
                // No format of the pass is, but the tests must handle it.
                {"a transfer format", true, 0x8817}};
    __hasFBO = true;
    for (const auto& row : rows) {
        __hasPBO = row.hasPBO;
        for (const CapabilityTest& test : kCapabilityTests) {
            if (test.capability < kUploadSet) continue;
            // No context is current: the fakes end the process at the first call.
            EXPECT_FALSE(test.run(row.internalFormat)) << row.lacks << ' ' << test.capability;
        }
    }
}

}  // namespace
}  // namespace texprobe
