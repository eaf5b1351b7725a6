// The answers of a constructed qor::TexProbe.

#include <CoreFoundation/CoreFoundation.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <thread>

#include "scripted_application.h"
#include "support/answers.h"

namespace texprobe::tests {
namespace {

using qor::TexProbe;

constexpr GLenum kRGBA8 = 0x8058;
constexpr GLenum kUnlisted = 0x1908;

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
    Queries() { write_identity(kFirst); }

    void record(const std::string& key, bool value) { write_boolean(kFirst, key.c_str(), value); }
    std::unique_ptr<TexProbe> construct() { return ScriptedApplication::construct("/no/tool"); }
    std::string hear(const TexProbe& probe, GLenum format) {
        return heard([&] { return answers_of(probe, format); });
    }
};

TEST_F(Queries, answer_each_format_from_its_own_records) {
    // A different set of flags for each format; SUPPORTED in all, because RENDERABLE needs it.
    unsigned flags = 1;
    for (const Format& format : kFormats) {
        for (std::size_t i = 0; i < kCapabilities.size(); ++i) {
            record(std::string(format.name) + "_" + kCapabilities[i], flags >> i & 1);
        }
        flags += 2;
    }
    const auto probe = construct();
    EXPECT_EQ(heard([&] { return answers_of(*probe); }), answers_of(folder_.records().at(kFirst)));
    EXPECT_EQ(messages_, "");
}

TEST_F(Queries, know_no_other_format_than_the_sixteen) {
    const auto probe = construct();
    testing::internal::CaptureStderr();
    for (GLenum format = 0; format < 0x9000; ++format) probe->IsTextureFormatReadable(format);
    const std::size_t unknown = lines_of(testing::internal::GetCapturedStderr()).size();
    EXPECT_EQ(unknown, 0x9000 - kFormats.size());
}

TEST_F(Queries, of_rendering_look_at_supported_and_those_of_transfers_do_not) {
    for (const std::string capability : kCapabilities) record("GL_RGBA8_" + capability, true);
    record("GL_RGBA8_SUPPORTED", false);
    EXPECT_EQ(answers_of(*construct(), kRGBA8), "nnyyyy");
    record("GL_RGBA8_SUPPORTED", true);
    record("GL_RGBA8_RENDERABLE", false);
    EXPECT_EQ(answers_of(*construct(), kRGBA8), "ynyyyy");
}

TEST_F(Queries, of_a_listed_format_are_false_in_silence_and_of_others_print_their_messages) {
    const auto probe = construct();
    const std::pair<GLenum, std::string> rows[] = {
        {kRGBA8, ""}, {kUnlisted, messages_of("0x1908")}, {0, messages_of("0")}};
    for (const auto& [format, messages] : rows) {
        EXPECT_EQ(hear(*probe, format), "nnnnnn");
        EXPECT_EQ(messages_, messages);
    }
}

TEST_F(Queries, do_not_touch_the_records) {
    record("GL_RGBA8_SUPPORTED", true);
    const auto probe = construct();
    record("GL_RGBA8_SUPPORTED", false);
    record("GL_RGBA8_UPLOAD_SET", true);
    EXPECT_EQ(answers_of(*probe, kRGBA8), "ynnnnn");
}

TEST_F(Queries, may_come_from_several_threads_at_once) {
    record("GL_RGBA8_SUPPORTED", true);
    record("GL_RGBA8_DOWNLOAD_READ", true);
    const auto probe = construct();
    testing::internal::CaptureStderr();
    std::array<std::string, 8> results;
    std::vector<std::thread> threads;
    threads.reserve(results.size());
    for (std::string& result : results) {
        threads.emplace_back([&probe, &result] {
            for (int i = 0; i < 100; ++i)
                result = answers_of(*probe, kRGBA8) + answers_of(*probe, kUnlisted);
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_THAT(results, testing::Each("ynnnnynnnnnn"));
    EXPECT_EQ(lines_of(testing::internal::GetCapturedStderr()).size(), 8u * 100u * 6u);
}

class Caps : public Queries {
protected:
    /// The flags of one format as 32 bits.
    std::uint32_t read(const char* application, const char* format) {
        const CFStringRef appID = CFStringCreateWithCString(nullptr, application, 0x600);
        const CFStringRef name = CFStringCreateWithCString(nullptr, format, 0x600);
        const TexProbe::TexFormatCaps caps = construct()->GetTextureFormatCaps(appID, name);
        CFRelease(name);
        if (appID) CFRelease(appID);
        std::uint32_t bits = 0;
        static_assert(sizeof caps == sizeof bits);
        std::memcpy(&bits, &caps, sizeof bits);
        return bits;
    }
};

TEST_F(Caps, are_bits_0_to_5_in_the_order_of_the_tests) {
    std::uint32_t expected = 1;
    for (const std::string capability : kCapabilities) {
        record("GL_RGB16_" + capability, true);
        EXPECT_EQ(read(kFirst, "GL_RGB16"), expected) << capability;
        record("GL_RGB16_" + capability, false);
        expected <<= 1;
    }
}

TEST_F(Caps, are_of_the_arguments_only_and_false_without_a_boolean_record) {
    const char* const another = "another.application";
    write_boolean(another, "GL_MADE_UP_SUPPORTED", true);
    write_boolean(another, "GL_MADE_UP_DOWNLOAD_READ", true);
    write_string(kFirst, "GL_RGBA8_SUPPORTED", "maybe");
    write_string(kFirst, "GL_RGBA8_UPLOAD_SET", "");
    record("GL_RGB8_SUPPORTED", true);
    EXPECT_EQ(read(another, "GL_MADE_UP"), 33u);
    EXPECT_EQ(read(another, "GL_RGBA8"), 0u);
    EXPECT_EQ(read(kFirst, "GL_MADE_UP"), 0u);
    EXPECT_EQ(read(kFirst, "GL_RGBA8"), 0u);
    EXPECT_EQ(read(nullptr, "GL_RGB8"), 0u);
}

}  // namespace
}  // namespace texprobe::tests
