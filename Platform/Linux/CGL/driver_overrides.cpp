#include <cstdlib>

#include "CGL/devices.h"

namespace texprobe::platform {

namespace {

// The environment variables of Mesa, GLVND and the Vulkan loader that change which driver serves a
// device, what its contexts report, or what they can do. If one is missing here, a run with it
// overwrites the records of runs without it. One too many costs its users one more measurement. So
// when in doubt, a variable is listed. Left out are harmless ones: window systems and swapping,
// caches, messages and traces, OpenGL ES, and switches between implementations with the same
// result.
//
// The renderer IDs depend on the order. Insert a new name anywhere, but never reorder the others.
constexpr const char* kVariables[] = {
    "GALLIUM_DRIVER",               // The driver by name: softpipe, zink, virpipe.
    "MESA_LOADER_DRIVER_OVERRIDE",  // The driver of a GPU by name.
    "LIBGL_ALWAYS_SOFTWARE",        // A software driver in the GPU's place.

    // Where the driver comes from.
    "LIBGL_DRIVERS_PATH",              // Another build of Mesa's drivers.
    "__EGL_VENDOR_LIBRARY_FILENAMES",  // Other vendors' EGL libraries, by file.
    "__EGL_VENDOR_LIBRARY_DIRS",       // The same, by folder.

    // For drivers on top of another API: the device below them.
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

    // For every Mesa context.
    "MESA_EXTENSION_OVERRIDE",     // Adds and removes extensions.
    "MESA_EXTENSION_MAX_YEAR",     // Removes newer extensions.
    "MESA_GL_VERSION_OVERRIDE",    // The version string, by which records are found.
    "MESA_GLSL_VERSION_OVERRIDE",  // The version of the shading language.
    "MESA_NO_ERROR",               // Invalid calls have undefined results instead of an error.

    // Options of Mesa's configuration, which can also be set by variables of the same name.
    "mesa_extension_override",                // As MESA_EXTENSION_OVERRIDE.
    "mesa_no_error",                          // As MESA_NO_ERROR.
    "force_glsl_version",                     // As MESA_GLSL_VERSION_OVERRIDE.
    "force_gl_vendor",                        // The vendor string.
    "force_gl_renderer",                      // The renderer string.
    "allow_higher_compat_version",            // The version of compatibility profiles.
    "glthread_nop_check_framebuffer_status",  // Every framebuffer counts as complete.
    "DRIRC_CONFIGDIR",                        // The folder of the configuration.
    "MESA_DRICONF_EXECUTABLE_OVERRIDE",       // The program whose section is used.
    "MESA_PROCESS_NAME",                      // The same, for everything that depends on the name.

    // Switches of single drivers that skip work, hide features, or pretend to be other hardware.
    "GALLIUM_NOOP",               // Nothing is rendered.
    "GALLIUM_OVERRIDE_CPU_CAPS",  // llvmpipe: the vector width in its renderer string.
    "GALLIUM_NOSSE",              // llvmpipe: the same, under an older name.
    "LP_NATIVE_VECTOR_WIDTH",     // llvmpipe: the same, by number.
    "LP_NO_RAST",                 // llvmpipe: nothing is rendered.
    "LP_PERF",                    // llvmpipe: skips texturing or blending.
    "GALLIVM_PERF",               // llvmpipe: how precisely textures are sampled.
    "SOFTPIPE_DEBUG",             // softpipe: no_rast renders nothing.
    "ST_DEBUG",                   // All of Gallium: wf draws wire frames.
    "AMD_DEBUG",                  // radeonsi: the shader compiler in its renderer string.
    "R600_DEBUG",                 // r600, radeonsi: the same, and no hardware blits.
    "AMD_FORCE_FAMILY",           // radeonsi: pretends to be another chip.
    "SI_FORCE_FAMILY",            // radeonsi: the same, under an older name.
    "RADEON_DEBUG",               // r300: disables hardware features.
    "RADEON_NOOP",                // r300 to radeonsi: nothing is rendered.
    "RADV_DEBUG",                 // Zink on RADV: the compiler in the device's name.
    "RADV_FORCE_FAMILY",          // Zink on RADV: pretends to be another chip.
    "INTEL_DEBUG",                // iris, crocus: disables hardware features.
    "INTEL_NO_HW",                // iris, crocus: nothing is rendered.
    "INTEL_DEVID_OVERRIDE",       // iris, crocus: pretends to be another chip.
    "I915_DEBUG",                 // i915: disables hardware features.
    "I915_NO_HW",                 // i915: nothing is rendered.
    "FD_MESA_DEBUG",              // freedreno: glsl120 lowers the version.
    "TU_DEBUG",                   // Zink on turnip: disables hardware features.
    "PAN_MESA_DEBUG",             // panfrost: gl3 raises the version.
    "LIMA_DEBUG",                 // lima: disables hardware features.
    "ETNA_MESA_DEBUG",            // etnaviv: disables hardware features.
    "V3D_DEBUG",                  // v3d: norast renders nothing; texel precision.
    "VC4_DEBUG",                  // vc4: norast renders nothing.
    "ASAHI_MESA_DEBUG",           // asahi: disables hardware features.
    "SVGA_VGPU10",                // svga: lowers the version.
    "SVGA_GL43",                  // svga: raises the version.
    "VIRGL_DEBUG",                // virgl: how BGRA formats are emulated.
    "ZINK_DEBUG",                 // zink: compact offers fewer bindings.
    "D3D12_DEBUG",                // d3d12: unfinished features.
};

}  // namespace

std::string driver_overrides() {
    std::string overrides;
    for (const char* name : kVariables) {
        // Mesa treats an empty variable as unset.
        const char* value = std::getenv(name);
        if (value && *value) overrides += std::string(name) + '=' + value + '\n';
    }
    return overrides;
}

}  // namespace texprobe::platform
