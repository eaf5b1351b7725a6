// A format without a transfer format. The pass has none, but the probe must handle it.

#include <RecordStore/location.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "measuring/probe.h"

namespace texprobe {
namespace {

constexpr GLenum kUnknown = 0x8817;

class UnknownFormatTest : public testing::Test {
protected:
    UnknownFormatTest() {
        std::filesystem::remove_all(texprobe::platform::records_directory());
        __hasFBO = __hasPBO = true;
        const FlagKeys keys(name_);
        write_verdict(keys[kSupported], true, appID_);
        write_verdict(keys[kRenderable], true, appID_);
    }

    /// '0' or '1' for the verdict on each capability, '-' if there is none.
    std::string verdicts() const {
        const FlagKeys keys(name_);
        std::string text;
        for (const CapabilityTest& test : kCapabilityTests) {
            Boolean recorded = 0;
            const bool verdict =
                CFPreferencesGetAppBooleanValue(keys[test.capability], appID_, &recorded);
            text += recorded ? (verdict ? '1' : '0') : '-';
        }
        return text;
    }

    CFStringRef name_ = CFSTR("GL_UNKNOWN");
    CFStringRef appID_ = CFSTR("unknown_format_test");
};

TEST_F(UnknownFormatTest, every_transfer_is_false_without_a_gl_call) {
    ASSERT_EQ(verdicts(), "11----");
    const std::string prefix = "unknown_format_test[" + std::to_string(getpid()) + "] GL_UNKNOWN ";
    testing::internal::CaptureStderr();
    // No context is current: the fakes end the process at the first GL call.
    test_texture_format(appID_, 0, kUnknown, name_);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Testing UPLOAD SET...\n" + prefix + "upload SET: 0\n" + "Testing UPLOAD RESET...\n" +
                  prefix + "upload RESET: 0\n" + prefix + "download GET: 0\n" + prefix +
                  "download READ: 0\n");
    EXPECT_EQ(verdicts(), "110000");
}

TEST_F(UnknownFormatTest, reset_removes_its_records_in_silence) {
    testing::internal::CaptureStderr();
    test_texture_format(appID_, 1, kUnknown, name_);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(verdicts(), "------");
}

}  // namespace
}  // namespace texprobe
