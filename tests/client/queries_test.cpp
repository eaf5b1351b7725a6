// The answers of a constructed qor::TexProbe.

#include <CoreFoundation/CoreFoundation.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <thread>

#include "scripted_application.h"
#include "support/formats.h"

namespace texprobe::tests {
namespace {

using qor::TexProbe;

constexpr GLenum kRGBA8 = 0x8058;

/// The record as 32 bits.
std::uint32_t bits(TexProbe::TexFormatCaps caps) {
    static_assert(sizeof caps == sizeof(std::uint32_t));
    std::uint32_t result = 0;
    std::memcpy(&result, &caps, sizeof result);
    return result;
}

/// The answers of all five queries, bit n for capability n+1.
unsigned answers(const TexProbe& probe, GLenum format) {
    return static_cast<unsigned>(probe.IsTextureFormatSupported(format, false)) |
           static_cast<unsigned>(probe.IsTextureFormatSupported(format, true)) << 1 |
           static_cast<unsigned>(probe.IsTextureFormatSettable(format)) << 2 |
           static_cast<unsigned>(probe.IsTextureFormatResettable(format)) << 3 |
           static_cast<unsigned>(probe.IsTextureFormatGettable(format)) << 4 |
           static_cast<unsigned>(probe.IsTextureFormatReadable(format)) << 5;
}

/// What the queries print of a format that is not known.
std::string messages_of(const std::string& format) {
    std::string text;
    for (const char* query : {"", "", " SET", " RESET", " GET", " READ"}) {
        text += std::string("unsupported texture format") + query + ": " + format + "\n";
    }
    return text;
}

class Queries : public ScriptedApplication {
protected:
    Queries() { write_identity_of_renderer(); }

    void record(const std::string& key, bool value) {
        write_boolean(kScriptedApplication, key.c_str(), value);
    }
    std::unique_ptr<TexProbe> construct() { return ScriptedApplication::construct("/no/tool"); }
};

TEST_F(Queries, answer_each_format_from_its_own_records) {
    // A different set of flags for each format; SUPPORTED in all, because RENDERABLE needs it.
    unsigned flags = 1;
    std::map<GLenum, unsigned> expected;
    for (const Format& tested : kFormats) {
        const GLenum format = tested.internalFormat;
        const std::string name = tested.name;
        expected[format] = flags;
        for (std::size_t i = 0; i < kCapabilities.size(); ++i) {
            record(name + "_" + kCapabilities[i], flags >> i & 1);
        }
        flags += 2;
    }
    const auto probe = construct();
    testing::internal::CaptureStderr();
    for (const Format& tested : kFormats) {
        const GLenum format = tested.internalFormat;
        const std::string name = tested.name;
        EXPECT_EQ(answers(*probe, format), expected[format]) << name;
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(Queries, know_no_other_format_than_the_sixteen) {
    const auto probe = construct();
    testing::internal::CaptureStderr();
    for (GLenum format = 0; format < 0x9000; ++format) probe->IsTextureFormatReadable(format);
    const std::size_t unknown = lines_of(testing::internal::GetCapturedStderr()).size();
    EXPECT_EQ(unknown, 0x9000 - kFormats.size());
}

TEST_F(Queries, renderable_asks_for_both_flags) {
    record("GL_RGBA8_SUPPORTED", true);
    record("GL_RGBA8_RENDERABLE", false);
    record("GL_RGB8_SUPPORTED", false);
    record("GL_RGB8_RENDERABLE", true);
    const auto probe = construct();
    EXPECT_TRUE(probe->IsTextureFormatSupported(kRGBA8, false));
    EXPECT_FALSE(probe->IsTextureFormatSupported(kRGBA8, true));
    EXPECT_FALSE(probe->IsTextureFormatSupported(0x8051, false));
    EXPECT_FALSE(probe->IsTextureFormatSupported(0x8051, true));
}

TEST_F(Queries, of_transfers_do_not_look_at_supported) {
    for (const std::string capability : kCapabilities) record("GL_RGBA8_" + capability, true);
    record("GL_RGBA8_SUPPORTED", false);
    EXPECT_EQ(answers(*construct(), kRGBA8), 0b111100u);
}

TEST_F(Queries, of_a_listed_format_are_false_in_silence) {
    const auto probe = construct();
    EXPECT_EQ(ask([&] { return answers(*probe, kRGBA8) != 0; }), false);
    EXPECT_EQ(messages_, "");
}

TEST_F(Queries, of_another_format_print_their_messages_and_zero_bare) {
    const auto probe = construct();
    EXPECT_FALSE(ask([&] { return answers(*probe, 0x1908) != 0; }));
    EXPECT_EQ(messages_, messages_of("0x1908"));
    EXPECT_FALSE(ask([&] { return answers(*probe, 0) != 0; }));
    EXPECT_EQ(messages_, messages_of("0"));
}

TEST_F(Queries, of_an_empty_object_print_their_messages_for_every_format) {
    folder_.execute("DELETE FROM records");
    const auto probe = ScriptedApplication::construct("/bin/true");
    EXPECT_EQ(messages_, "*** cannot get renderer\n");
    for (const Format& tested : kFormats) {
        const GLenum format = tested.internalFormat;
        const std::string name = tested.name;
        EXPECT_FALSE(ask([&, value = format] { return answers(*probe, value) != 0; })) << name;
        EXPECT_EQ(lines_of(messages_).size(), 6u) << name;
    }
    EXPECT_EQ(messages_, messages_of("0x881a"));
}

TEST_F(Queries, do_not_touch_the_records) {
    record("GL_RGBA8_SUPPORTED", true);
    const auto probe = construct();
    record("GL_RGBA8_SUPPORTED", false);
    record("GL_RGBA8_UPLOAD_SET", true);
    EXPECT_EQ(answers(*probe, kRGBA8), 1u);
}

TEST_F(Queries, may_come_from_several_threads_at_once) {
    record("GL_RGBA8_SUPPORTED", true);
    record("GL_RGBA8_DOWNLOAD_READ", true);
    const auto probe = construct();
    testing::internal::CaptureStderr();
    std::array<unsigned, 8> results{};
    std::vector<std::thread> threads;
    threads.reserve(results.size());
    for (unsigned& result : results) {
        threads.emplace_back([&probe, &result] {
            for (int i = 0; i < 100; ++i)
                result = answers(*probe, kRGBA8) | answers(*probe, 0x1908);
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_THAT(results, testing::Each(0b100001u));
    EXPECT_EQ(lines_of(testing::internal::GetCapturedStderr()).size(), 8u * 100u * 6u);
}

class Caps : public Queries {
protected:
    /// The flags of one format as 32 bits.
    std::uint32_t read(const char* application, const char* format) {
        const CFStringRef appID = CFStringCreateWithCString(nullptr, application, 0x600);
        const CFStringRef name = CFStringCreateWithCString(nullptr, format, 0x600);
        const std::uint32_t result = bits(construct()->GetTextureFormatCaps(appID, name));
        CFRelease(name);
        if (appID) CFRelease(appID);
        return result;
    }
};

TEST_F(Caps, are_bits_0_to_5_in_the_order_of_the_tests) {
    std::uint32_t expected = 1;
    for (const std::string capability : kCapabilities) {
        record("GL_RGB16_" + capability, true);
        EXPECT_EQ(read(kScriptedApplication, "GL_RGB16"), expected) << capability;
        record("GL_RGB16_" + capability, false);
        expected <<= 1;
    }
    EXPECT_EQ(bits({}), 0u);
}

TEST_F(Caps, depend_on_the_arguments_only) {
    write_boolean("another.application", "GL_MADE_UP_SUPPORTED", true);
    write_boolean("another.application", "GL_MADE_UP_DOWNLOAD_READ", true);
    EXPECT_EQ(read("another.application", "GL_MADE_UP"), 33u);
    EXPECT_EQ(read(kScriptedApplication, "GL_MADE_UP"), 0u);
    EXPECT_EQ(read("another.application", "GL_RGBA8"), 0u);
}

TEST_F(Caps, of_a_null_identifier_are_all_false) {
    record("GL_RGBA8_SUPPORTED", true);
    EXPECT_EQ(read(nullptr, "GL_RGBA8"), 0u);
}

TEST_F(Caps, are_false_where_a_record_is_absent_or_not_a_boolean) {
    EXPECT_EQ(read(kScriptedApplication, "GL_RGBA8"), 0u);
    write_string(kScriptedApplication, "GL_RGBA8_SUPPORTED", "maybe");
    write_string(kScriptedApplication, "GL_RGBA8_UPLOAD_SET", "");
    EXPECT_EQ(read(kScriptedApplication, "GL_RGBA8"), 0u);
}

}  // namespace
}  // namespace texprobe::tests
