// What a renderer ID depends on, and what it does not. Every user's records are found by these
// numbers: if they change, all verdicts are lost.

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <string>

#include "CGL/devices.h"

namespace texprobe::tests {
namespace {

using platform::driver_overrides;
using platform::renderer_id;

// Computed without this program: FNV-1a over the identity, a line feed and the overrides.
TEST(RendererId, is_the_published_hash) {
    EXPECT_EQ(renderer_id("software", ""), 0xbe457c6eu);
    EXPECT_EQ(renderer_id("software", "GALLIUM_DRIVER=softpipe\n"), 0x3534fc5du);
    EXPECT_EQ(renderer_id("0x1002/0x73df/amdgpu", ""), 0x944e81a2u);
    EXPECT_EQ(renderer_id("0x10de/0x2204/nvidia", "GALLIUM_DRIVER=softpipe\n"), 0x79a8789fu);
}

TEST(RendererId, is_not_0_even_where_the_hash_is) {
    EXPECT_EQ(renderer_id("cno9ia8", ""), 1u);
}

/// The result in a process with these variables and no others.
std::string overrides_of(const std::map<std::string, std::string>& variables) {
    clearenv();
    for (const auto& [name, value] : variables) setenv(name.c_str(), value.c_str(), 1);
    return driver_overrides();
}

TEST(DriverOverrides, are_the_set_variables_that_change_a_verdict_or_a_string_in_a_fixed_order) {
    EXPECT_EQ(overrides_of({}), "");
    EXPECT_EQ(
        overrides_of({{"LIBGL_ALWAYS_SOFTWARE", "1"},
                      {"MESA_LOADER_DRIVER_OVERRIDE", "zink"},
                      {"MESA_GL_VERSION_OVERRIDE", ""},
                      {"GALLIUM_DRIVER", "softpipe"}}),
        "GALLIUM_DRIVER=softpipe\nMESA_LOADER_DRIVER_OVERRIDE=zink\nLIBGL_ALWAYS_SOFTWARE=1\n");
    EXPECT_EQ(overrides_of({{"MESA_GL_VERSION_OVERRIDE", "2.1"}, {"GALLIUM_DRIVER", "softpipe"}}),
              "GALLIUM_DRIVER=softpipe\nMESA_GL_VERSION_OVERRIDE=2.1\n");
    EXPECT_EQ(overrides_of({{"HOME", "/home/user"},
                            {"DISPLAY", ":0"},
                            {"MESA_DEBUG", "context"},
                            {"MESA_GLES_VERSION_OVERRIDE", "2.0"},
                            {"MESA_SHADER_CACHE_DISABLE", "1"},
                            {"LIBGL_DRI3_DISABLE", "1"},
                            {"GALLIUM_HUD", "fps"},
                            {"LP_NUM_THREADS", "2"},
                            {"LD_LIBRARY_PATH", "/opt/lib"},
                            {"vblank_mode", "0"}}),
              "");
}

// Each changes what Mesa 22.3 reports or does on a software renderer, as seen in runs of the tool.
TEST(DriverOverrides, are_all_that_are_known_to_matter) {
    for (const std::string name :
         {"MESA_EXTENSION_OVERRIDE", "MESA_EXTENSION_MAX_YEAR", "MESA_GL_VERSION_OVERRIDE",
          "mesa_extension_override", "force_gl_vendor", "force_gl_renderer",
          "LP_NATIVE_VECTOR_WIDTH", "GALLIUM_OVERRIDE_CPU_CAPS", "GALLIUM_NOSSE", "LP_NO_RAST",
          "GALLIUM_NOOP", "ST_DEBUG", "SOFTPIPE_DEBUG", "LIBGL_DRIVERS_PATH"}) {
        EXPECT_EQ(overrides_of({{name, "x y"}}), name + "=x y\n");
    }
}

}  // namespace
}  // namespace texprobe::tests
