// Finds the records of the application's context: copyCurrentRendererID().

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "doubles/scripted_machine.h"
#include "records/lookup.h"
#include "records_of_test.h"
#include "run_at_work.h"
#include "support/tool_folder.h"

namespace texprobe::tests {
namespace {

using testing::ElementsAre;
using testing::Not;

constexpr char kFirst[] = "org.texprobe.texprobe2.ff.22G120";
constexpr char kSecond[] = "org.texprobe.texprobe2.1021a00.22G120";

class Lookup : public testing::Test {
protected:
    Lookup() {
        machine() = {};
        machine().displays = {{1, {{0xff}, {0x1021a00}}}};
    }

    /// The text of the identifier that was found, or "none".
    std::string find() {
        machine().calls.clear();
        testing::internal::CaptureStderr();
        const CFStringRef appID = copyCurrentRendererID();
        messages_ = testing::internal::GetCapturedStderr();
        std::string text = appID ? text_of(appID) : "none";
        release(appID);
        return text;
    }

    const ToolFolder& folder_ = empty_folder("/bin/true");
    std::string messages_;
};

TEST_F(Lookup, finds_the_renderer_whose_strings_are_the_context_s) {
    write_identity(kFirst, "Vendor", "2.1 Version", "Another renderer");
    write_identity(kSecond, "Vendor", "2.1 Version", "Renderer");
    EXPECT_EQ(find(), kSecond);
    EXPECT_EQ(messages_, "");
}

TEST_F(Lookup, asks_for_nothing_but_strings_and_lists) {
    write_identity(kSecond, "Vendor", "2.1 Version", "Renderer");
    find();
    EXPECT_THAT(
        machine().calls,
        ElementsAre("CGGetActiveDisplayList 0x20", "glGetString 0x1f00", "glGetString 0x1f02",
                    "glGetString 0x1f01", "CGLQueryRendererInfo 0x100", "CGLDescribeRenderer 0",
                    "CGLDescribeRenderer 0x1", "CGLDestroyRendererInfo 0x1"));
}

TEST_F(Lookup, takes_the_first_of_two_renderers_that_match) {
    write_identity(kFirst, "Vendor", "2.1 Version", "Renderer");
    write_identity(kSecond, "Vendor", "2.1 Version", "Renderer");
    EXPECT_EQ(find(), kFirst);
    EXPECT_THAT(machine().calls, Not(testing::Contains("CGLDescribeRenderer 0x1")));

    machine().displays = {{1, {{0x1021a00}, {0xff}}}};
    EXPECT_EQ(find(), kSecond);
}

TEST_F(Lookup, finds_a_renderer_through_the_first_display_that_lists_it) {
    machine().displays = {{1, {{0xff}}}, {2, {{0x1021a00}}}, {3, {{0x1021a00}}}};
    write_identity(kSecond, "Vendor", "2.1 Version", "Renderer");
    EXPECT_EQ(find(), kSecond);
    EXPECT_THAT(machine().calls,
                ElementsAre("CGGetActiveDisplayList 0x20",
                            // The strings are read again for every display.
                            "glGetString 0x1f00", "glGetString 0x1f02", "glGetString 0x1f01",
                            "CGLQueryRendererInfo 0x100", "CGLDescribeRenderer 0",
                            "CGLDestroyRendererInfo 0x1",
                            //
                            "glGetString 0x1f00", "glGetString 0x1f02", "glGetString 0x1f01",
                            "CGLQueryRendererInfo 0x200", "CGLDescribeRenderer 0",
                            "CGLDestroyRendererInfo 0x2"));
}

TEST_F(Lookup, asks_for_32_displays_at_most) {
    machine().displays.clear();
    for (std::uint32_t id = 1; id <= 33; ++id) machine().displays.push_back({id, {}});
    machine().displays.back().renderers = {{0xff}};
    write_identity(kFirst, "Vendor", "2.1 Version", "Renderer");
    EXPECT_EQ(find(), "none");
}

TEST_F(Lookup, finds_nothing_in_silence_without_a_display) {
    machine().displays.clear();
    EXPECT_EQ(find(), "none");
    EXPECT_EQ(messages_, "");
    EXPECT_THAT(machine().calls, ElementsAre("CGGetActiveDisplayList 0x20"));
}

TEST_F(Lookup, does_not_match_a_set_that_a_run_is_at_work_on) {
    write_identity(kFirst, "Vendor", "2.1 Version", "Renderer");
    {
        const RunAtWork run(kFirst);
        EXPECT_EQ(find(), "none");
        write_identity(kSecond, "Vendor", "2.1 Version", "Renderer");
        EXPECT_EQ(find(), kSecond);
    }
    EXPECT_EQ(find(), kFirst);
    EXPECT_EQ(messages_, "");
}

TEST_F(Lookup, compares_every_string_of_the_context_exactly) {
    EXPECT_EQ(find(), "none") << "without records";
    write_identity(kFirst, "Vendor", "2.1 Version", "Renderer");
    const struct {
        const char* vendor;
        const char* version;
        const char* renderer;
    } others[] = {{nullptr, nullptr, nullptr},
                  {nullptr, "2.1 Version", "Renderer"},
                  {"Vendor", nullptr, "Renderer"},
                  {"Vendor", "2.1 Version", nullptr},
                  {"vendor", "2.1 Version", "Renderer"},
                  {"Vend\xc3\xb6r", "2.1 Version", "Renderer"},
                  {"Vendor", "2.1 Version ", "Renderer"},
                  {"Vendor", "2.1 Version", "renderer"},
                  {"Vendor", "2.1 Version", " Renderer"},
                  {"Vendor", "2.1 Version", "Rendere"},
                  {"Vendor", "2.1 Version", ""}};
    for (const auto& other : others) {
        machine().vendor = other.vendor;
        machine().version = other.version;
        machine().renderer = other.renderer;
        EXPECT_EQ(find(), "none");
        EXPECT_EQ(messages_, "");
    }
}

TEST_F(Lookup, needs_all_four_records_of_their_types) {
    for (const char* key : {"VERSION", "GL_VENDOR", "GL_VERSION", "GL_RENDERER"}) {
        write_identity(kFirst, "Vendor", "2.1 Version", "Renderer");
        EXPECT_EQ(find(), kFirst);
        folder_.execute(std::string("DELETE FROM records WHERE key = '") + key + "'");
        EXPECT_EQ(find(), "none") << key;
        write_identity(kFirst, "Vendor", "2.1 Version", "Renderer");
        if (key == std::string("VERSION")) {
            write_string(kFirst, key, "0.21");
        } else {
            write_number(kFirst, key, 1.0);
        }
        EXPECT_EQ(find(), "none") << key;
        write_boolean(kFirst, key, true);
        EXPECT_EQ(find(), "none") << key;
        EXPECT_EQ(messages_, "");
    }
}

TEST_F(Lookup, needs_a_current_version_of_the_records) {
    const struct {
        double version;
        bool current;
    } cases[] = {{0.21, true},
                 {0.22, true},
                 {std::numeric_limits<double>::infinity(), true},
                 {0.2099, false},
                 {0.2, false},
                 {-1.0, false},
                 {std::numeric_limits<double>::quiet_NaN(), false}};
    write_identity(kFirst, "Vendor", "2.1 Version", "Renderer");
    for (const auto& each : cases) {
        write_number(kFirst, "VERSION", each.version);
        EXPECT_EQ(find(), each.current ? kFirst : "none") << each.version;
    }
}

TEST_F(Lookup, ignores_the_records_of_another_build_of_the_system) {
    write_identity("org.texprobe.texprobe2.ff.22G119", "Vendor", "2.1 Version", "Renderer");
    EXPECT_EQ(find(), "none");
}

TEST_F(Lookup, sees_records_that_another_process_has_just_written) {
    write_identity(kFirst, "Vendor", "2.1 Version", "Renderer before the update");
    EXPECT_EQ(find(), "none");
    folder_.execute("UPDATE records SET value = 'Renderer' WHERE key = 'GL_RENDERER'");
    EXPECT_EQ(find(), kFirst);
}

TEST_F(Lookup, says_that_displays_cannot_be_listed) {
    machine().displayListError = 1001;
    EXPECT_EQ(find(), "none");
    EXPECT_EQ(messages_, "*** cannot get active display list (1001)\n");
}

TEST_F(Lookup, goes_on_behind_a_display_whose_renderers_cannot_be_had) {
    machine().displays = {{1, {{0x1021a00}}, 10017}, {2, {{0xff}}}};
    write_identity(kFirst, "Vendor", "2.1 Version", "Renderer");
    write_identity(kSecond, "Vendor", "2.1 Version", "Renderer");
    EXPECT_EQ(find(), kFirst);
    EXPECT_EQ(messages_, "*** cannot query renderer info (10017)\n");
    // There was no handle to destroy.
    EXPECT_THAT(machine().calls, Not(testing::Contains("CGLDestroyRendererInfo 0x1")));
}

TEST_F(Lookup, goes_on_behind_a_renderer_that_has_no_id) {
    machine().displays = {{1, {{0x1021a00, 10003}, {0xff}}}};
    write_identity(kFirst, "Vendor", "2.1 Version", "Renderer");
    write_identity(kSecond, "Vendor", "2.1 Version", "Renderer");
    EXPECT_EQ(find(), kFirst);
    EXPECT_EQ(messages_, "*** cannot get renderer ID (10003)\n");
}

TEST_F(Lookup, takes_a_negative_number_of_renderers_for_none) {
    machine().displays = {{1, {{0xff}}, 0, -1}, {2, {{0xff}}, 0, 0}};
    write_identity(kFirst, "Vendor", "2.1 Version", "Renderer");
    EXPECT_EQ(find(), "none");
    EXPECT_EQ(messages_, "");
    EXPECT_THAT(machine().calls, testing::Contains("CGLDestroyRendererInfo 0x1"));
    EXPECT_THAT(machine().calls, testing::Contains("CGLDestroyRendererInfo 0x2"));
}

TEST_F(Lookup, names_a_renderer_by_its_id_as_unsigned_hexadecimal) {
    machine().displays = {{1, {{-2}}}};
    write_identity("org.texprobe.texprobe2.fffffffe.22G120", "Vendor", "2.1 Version", "Renderer");
    EXPECT_EQ(find(), "org.texprobe.texprobe2.fffffffe.22G120");
}

}  // namespace
}  // namespace texprobe::tests
