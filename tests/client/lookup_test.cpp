// Finds the records of the application's context: copyCurrentRendererID().

#include "records/lookup.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "run_at_work.h"
#include "scripted_application.h"

namespace texprobe::tests {
namespace {

using testing::ElementsAre;
using testing::Not;

/// On a machine with two renderers.
class Lookup : public ScriptedApplication {
protected:
    Lookup() { machine().displays = {{1, {{0xff}, {0x1021a00}}}}; }

    /// The text of the identifier that was found, or "none".
    std::string find() {
        machine().calls.clear();
        const CFStringRef appID = heard([] { return copyCurrentRendererID(); });
        std::string text = appID ? text_of(appID) : "none";
        release(appID);
        return text;
    }
};

TEST_F(Lookup, finds_the_renderer_whose_strings_are_the_context_s) {
    write_identity(kFirst, "Vendor", "2.1 Version", "Another renderer");
    write_identity(kSecond);
    EXPECT_EQ(find(), kSecond);
    EXPECT_EQ(messages_, "");
}

TEST_F(Lookup, takes_the_first_of_two_renderers_that_match) {
    write_identity(kFirst);
    write_identity(kSecond);
    EXPECT_EQ(find(), kFirst);
    EXPECT_THAT(machine().calls, Not(testing::Contains("CGLDescribeRenderer 0x1")));

    machine().displays = {{1, {{0x1021a00}, {0xff}}}};
    EXPECT_EQ(find(), kSecond);
}

TEST_F(Lookup, finds_a_renderer_through_the_first_display_that_lists_it) {
    machine().displays = {{1, {{0xff}}}, {2, {{0x1021a00}}}, {3, {{0x1021a00}}}};
    write_identity(kSecond);
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
    write_identity(kFirst);
    EXPECT_EQ(find(), "none");
}

TEST_F(Lookup, goes_on_behind_what_cannot_be_listed) {
    const std::string negative = "org.texprobe.texprobe2.fffffffe.22G120";
    for (const std::string& set : {std::string(kFirst), std::string(kSecond), negative}) {
        write_identity(set);
    }
    const struct {
        int listError;
        std::vector<ScriptedDisplay> displays;
        std::string found;
        const char* message;
        int destroyed;  ///< Lists of renderers.
    } rows[] = {
        {0, {}, "none", "", 0},
        {1001, {{1, {{0xff}}}}, "none", "*** cannot get active display list (1001)\n", 0},
        {0,
         {{1, {{0x1021a00}}, 10017}, {2, {{0xff}}}},
         kFirst,
         "*** cannot query renderer info (10017)\n",
         1},
        {0, {{1, {{0x1021a00, 10003}, {0xff}}}}, kFirst, "*** cannot get renderer ID (10003)\n", 1},
        // A negative number of renderers is none.
        {0, {{1, {{0xff}}, 0, -1}, {2, {{0xff}}, 0, 0}}, "none", "", 2},
        // The ID is hexadecimal and unsigned.
        {0, {{1, {{-2}}}}, negative, "", 1},
    };
    for (const auto& row : rows) {
        machine().displayListError = row.listError;
        machine().displays = row.displays;
        EXPECT_EQ(find(), row.found);
        EXPECT_EQ(messages_, row.message);
        const auto& calls = machine().calls;
        const auto destroyed = std::count_if(calls.begin(), calls.end(), [](const auto& call) {
            return call.rfind("CGLDestroyRendererInfo", 0) == 0;
        });
        EXPECT_EQ(destroyed, row.destroyed) << row.message;
    }
}

TEST_F(Lookup, does_not_match_a_set_that_a_run_is_at_work_on) {
    write_identity(kFirst);
    {
        const RunAtWork run(kFirst);
        EXPECT_EQ(find(), "none");
        write_identity(kSecond);
        EXPECT_EQ(find(), kSecond);
    }
    EXPECT_EQ(find(), kFirst);
    EXPECT_EQ(messages_, "");
}

TEST_F(Lookup, compares_every_string_of_the_context_exactly) {
    EXPECT_EQ(find(), "none") << "without records";
    write_identity(kFirst);
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
        write_identity(kFirst);
        EXPECT_EQ(find(), kFirst);
        folder_.execute(std::string("DELETE FROM records WHERE key = '") + key + "'");
        EXPECT_EQ(find(), "none") << key;
        write_boolean(kFirst, key, true);
        EXPECT_EQ(find(), "none") << key;
        EXPECT_EQ(messages_, "");
    }
}

TEST_F(Lookup, ignores_the_records_of_another_build_of_the_system) {
    write_identity("org.texprobe.texprobe2.ff.22G119");
    EXPECT_EQ(find(), "none");
}

TEST_F(Lookup, sees_records_that_another_process_has_just_written) {
    write_identity(kFirst, "Vendor", "2.1 Version", "Renderer before the update");
    EXPECT_EQ(find(), "none");
    folder_.execute("UPDATE records SET value = 'Renderer' WHERE key = 'GL_RENDERER'");
    EXPECT_EQ(find(), kFirst);
}

}  // namespace
}  // namespace texprobe::tests
