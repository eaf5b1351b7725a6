// A scripted machine: displays, their renderers, and the strings of the current context. It
// replaces CoreGraphics, CGL, sysctl, glGetString and glGetIntegerv, and logs the calls.

#ifndef TEXPROBE_TESTS_SCRIPTED_MACHINE_H
#define TEXPROBE_TESTS_SCRIPTED_MACHINE_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace texprobe::tests {

struct ScriptedRenderer {
    int id = 0;
    int error = 0;  ///< What CGLDescribeRenderer returns for it.
};

struct ScriptedDisplay {
    std::uint32_t id = 0;
    std::vector<ScriptedRenderer> renderers;
    int error = 0;               ///< What CGLQueryRendererInfo returns.
    std::optional<int> count{};  ///< The reported number of renderers, if wrong.
};

struct ScriptedMachine {
    std::vector<ScriptedDisplay> displays;
    int displayListError = 0;
    // Null without a current context.
    const char* vendor = "Vendor";
    const char* version = "2.1 Version";
    const char* renderer = "Renderer";
    int profile = 0;  ///< The context's profile mask.
    std::vector<std::string> extensions;
    std::vector<std::string> calls;
};

/// The machine of this test. Its system build is "22G120"; a display's OpenGL mask is 0x100 times
/// its ID.
ScriptedMachine& machine();

}  // namespace texprobe::tests

#endif
