// The active displays, on machines laid out in a temporary folder.

#include "CoreGraphics/displays.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "doubles/laid_out_machine.h"

namespace texprobe::tests {
namespace {

using platform::get_active_displays;
using testing::ElementsAre;

std::vector<CGDirectDisplayID> active_displays(const std::filesystem::path& sysfs,
                                               std::uint32_t most = 32) {
    std::vector<CGDirectDisplayID> displays(most);
    std::uint32_t count = 0;
    EXPECT_EQ(get_active_displays(sysfs, most, displays.data(), &count), kCGErrorSuccess);
    EXPECT_LE(count, most);
    displays.resize(count);
    return displays;
}

TEST(Displays, are_the_connected_and_enabled_connectors) {
    const LaidOutMachine machine;
    machine.add_connector("card0-DP-1", "connected", "enabled");
    machine.add_connector("card0-HDMI-A-1", "connected", "enabled");
    machine.add_connector("card1-eDP-1", "connected", "enabled");
    // Without a display, with one that is off, no connectors, and files that make no sense.
    machine.add_connector("card0-DP-2", "disconnected", "enabled");
    machine.add_connector("card0-DP-3", "connected", "disabled");
    machine.add_connector("card0-Writeback-1", "unknown", "disabled");
    for (const char* name : {"card1", "renderD128", "ttm-page-pool"}) {
        machine.add_connector(name, "connected", "enabled");
    }
    machine.add_connector("card0-DP-4", "", "enabled");
    machine.add_connector("card0-DP-5", std::string("conn\0ected", 10), "enabled");
    machine.add_connector("card0-DP-6", "connected", "\xff\xfe");
    std::filesystem::create_directories(machine.sysfs() / "class/drm/card0-DP-7/status");
    std::filesystem::create_directories(machine.sysfs() / "class/drm/card0-DP-8");
    EXPECT_THAT(active_displays(machine.sysfs()), ElementsAre(1u, 2u, 3u));
}

TEST(Displays, are_one_headless_display_on_a_machine_without_connectors) {
    const LaidOutMachine machine;
    EXPECT_THAT(active_displays(machine.sysfs()), ElementsAre(1u));
    EXPECT_THAT(active_displays(machine.sysfs() / "missing"), ElementsAre(1u));
    machine.add_connector("card0-DP-1", "disconnected", "disabled");
    EXPECT_THAT(active_displays(machine.sysfs()), ElementsAre(1u));
}

TEST(Displays, are_at_most_as_many_as_asked_for_and_all_counted_without_a_list) {
    const LaidOutMachine machine;
    for (const char* name : {"card0-DP-1", "card0-DP-2", "card0-DP-3"}) {
        machine.add_connector(name, "connected", "enabled");
    }
    EXPECT_THAT(active_displays(machine.sysfs(), 2), ElementsAre(1u, 2u));
    CGDirectDisplayID untouched = 77;
    std::uint32_t count = 77;
    EXPECT_EQ(get_active_displays(machine.sysfs(), 0, &untouched, &count), kCGErrorSuccess);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(untouched, 77u);
    EXPECT_EQ(get_active_displays(machine.sysfs(), 0, nullptr, &count), kCGErrorSuccess);
    EXPECT_EQ(count, 3u);
}

TEST(Displays, of_this_machine_are_at_least_one) {
    CGDirectDisplayID displays[32] = {};
    std::uint32_t count = 0;
    EXPECT_EQ(CGGetActiveDisplayList(32, displays, nullptr), kCGErrorIllegalArgument);
    ASSERT_EQ(CGGetActiveDisplayList(32, displays, &count), kCGErrorSuccess);
    EXPECT_GE(count, 1u);
    EXPECT_EQ(displays[0], 1u);
}

TEST(DisplayMask, is_one_bit_for_each_of_32_displays) {
    const std::pair<CGDirectDisplayID, CGOpenGLDisplayMask> rows[] = {
        {1, 0x1u}, {2, 0x2u}, {32, 0x80000000u}, {0, 0u}, {33, 0u}, {0xFFFFFFFF, 0u}};
    for (const auto& [id, mask] : rows) EXPECT_EQ(CGDisplayIDToOpenGLDisplayMask(id), mask) << id;
}

}  // namespace
}  // namespace texprobe::tests
