#include "CGL/driver_overrides.h"

#include <cstdlib>

namespace texprobe::platform {

namespace {

// What Mesa, GLVND and the Vulkan loader read from the environment that changes which driver serves
// a device, what its contexts report, or what they can do. A variable that is missing here spoils
// the records of those who do not set it; one too many costs those who set it one more measurement.
// So what may matter is here. What cannot is not: window systems and swapping, caches, messages and
// traces, OpenGL ES, and switches between ways to the same result.
//
// Their order is part of the renderer IDs, so a new one may go anywhere, but none may move.
constexpr const char* kVariables[] = {
    "GALLIUM_DRIVER",               // The driver by name: softpipe, zink, virpipe.
    "MESA_LOADER_DRIVER_OVERRIDE",  // The driver of a GPU by name.
    "LIBGL_ALWAYS_SOFTWARE",        // A software driver in the GPU's place.

    // Where the driver comes from.
    "LIBGL_DRIVERS_PATH",              // Another build of Mesa's drivers.
    "__EGL_VENDOR_LIBRARY_FILENAMES",  // Other vendors' EGL libraries, by file.
    "__EGL_VENDOR_LIBRARY_DIRS",       // The same, by folder.

    // What a driver that is built on another interface runs on.
    "VK_DRIVER_FILES",                             // Zink: the Vulkan drivers.
    "VK_ICD_FILENAMES",                            // Zink: their older name.
    "VK_ADD_DRIVER_FILES",                         // Zink: more of them.
    "VK_LOADER_DRIVERS_SELECT",                    // Zink: those that are loaded.
    "VK_LOADER_DRIVERS_DISABLE",                   // Zink: those that are not.
    "MESA_VK_DEVICE_SELECT",                       // Zink: the Vulkan device.
    "MESA_VK_DEVICE_SELECT_FORCE_DEFAULT_DEVICE",  // Zink: the only Vulkan device.
    "DRI_PRIME",                                   // Zink: the Vulkan device, by GPU.
    "MESA_VK_VERSION_OVERRIDE",                    // Zink: the version Vulkan reports.
    "ZINK_USE_LAVAPIPE",                           // Zink: Vulkan's software driver.
    "MESA_D3D12_DEFAULT_ADAPTER_NAME",             // d3d12: the adapter.
    "D3D_ALWAYS_SOFTWARE",                         // d3d12: the software adapter.
    "VTEST_SOCKET_NAME",                           // virpipe: the server that renders.

    // What every Mesa context reports and checks.
    "MESA_EXTENSION_OVERRIDE",     // Adds and removes extensions.
    "MESA_EXTENSION_MAX_YEAR",     // Removes the extensions that are younger.
    "MESA_GL_VERSION_OVERRIDE",    // The version string, by which records are found.
    "MESA_GLSL_VERSION_OVERRIDE",  // The version of the shading language.
    "MESA_NO_ERROR",               // Calls that should fail do something undefined.

    // Mesa's configuration, whose options are also read from variables of their names.
    "mesa_extension_override",                // As MESA_EXTENSION_OVERRIDE.
    "mesa_no_error",                          // As MESA_NO_ERROR.
    "force_glsl_version",                     // As MESA_GLSL_VERSION_OVERRIDE.
    "force_gl_vendor",                        // The vendor string.
    "force_gl_renderer",                      // The renderer string.
    "allow_higher_compat_version",            // The version of compatibility profiles.
    "glthread_nop_check_framebuffer_status",  // Every framebuffer counts as complete.
    "DRIRC_CONFIGDIR",                        // The folder of the configuration.
    "MESA_DRICONF_EXECUTABLE_OVERRIDE",       // The program whose part of it is used.
    "MESA_PROCESS_NAME",                      // The same, for all that goes by its name.

    // Switches of single drivers that leave out work or features, or pretend other hardware.
    "GALLIUM_NOOP",               // Nothing is rendered.
    "GALLIUM_OVERRIDE_CPU_CAPS",  // llvmpipe: the vector width in its renderer string.
    "GALLIUM_NOSSE",              // llvmpipe: the same, under an older name.
    "LP_NATIVE_VECTOR_WIDTH",     // llvmpipe: the same, by number.
    "LP_NO_RAST",                 // llvmpipe: nothing is rendered.
    "LP_PERF",                    // llvmpipe: leaves out texturing or blending.
    "GALLIVM_PERF",               // llvmpipe: how exactly textures are sampled.
    "SOFTPIPE_DEBUG",             // softpipe: no_rast renders nothing.
    "ST_DEBUG",                   // All of Gallium: wf draws wire frames.
    "AMD_DEBUG",                  // radeonsi: the shader compiler in its renderer string.
    "R600_DEBUG",                 // r600, radeonsi: the same, and no hardware blits.
    "AMD_FORCE_FAMILY",           // radeonsi: pretends another chip.
    "SI_FORCE_FAMILY",            // radeonsi: the same, under an older name.
    "RADEON_DEBUG",               // r300: leaves out hardware features.
    "RADEON_NOOP",                // r300 to radeonsi: nothing is rendered.
    "RADV_DEBUG",                 // Zink on RADV: the compiler in the device's name.
    "RADV_FORCE_FAMILY",          // Zink on RADV: pretends another chip.
    "INTEL_DEBUG",                // iris, crocus: leaves out hardware features.
    "INTEL_NO_HW",                // iris, crocus: nothing is rendered.
    "INTEL_DEVID_OVERRIDE",       // iris, crocus: pretends another chip.
    "I915_DEBUG",                 // i915: leaves out hardware features.
    "I915_NO_HW",                 // i915: nothing is rendered.
    "FD_MESA_DEBUG",              // freedreno: glsl120 lowers the version.
    "TU_DEBUG",                   // Zink on turnip: leaves out hardware features.
    "PAN_MESA_DEBUG",             // panfrost: gl3 raises the version.
    "LIMA_DEBUG",                 // lima: leaves out hardware features.
    "ETNA_MESA_DEBUG",            // etnaviv: leaves out hardware features.
    "V3D_DEBUG",                  // v3d: norast renders nothing; the precision of texels.
    "VC4_DEBUG",                  // vc4: norast renders nothing.
    "ASAHI_MESA_DEBUG",           // asahi: leaves out hardware features.
    "SVGA_VGPU10",                // svga: lowers the version.
    "SVGA_GL43",                  // svga: raises the version.
    "VIRGL_DEBUG",                // virgl: how BGRA formats are had.
    "ZINK_DEBUG",                 // zink: compact offers fewer bindings.
    "D3D12_DEBUG",                // d3d12: unfinished features.
};

}  // namespace

std::string driver_overrides() {
    std::string overrides;
    for (const char* name : kVariables) {
        // Mesa takes a variable without a value as one that is not set.
        const char* value = std::getenv(name);
        if (value && *value) overrides += std::string(name) + '=' + value + '\n';
    }
    return overrides;
}

}  // namespace texprobe::platform
