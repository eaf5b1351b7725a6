// A machine made of data: displays, the renderers behind them, and the strings of the current
// context. It stands in for CoreGraphics, CGL, sysctl and glGetString, and logs the calls.

#ifndef TEXPROBE_TESTS_SCRIPTED_MACHINE_H
#define TEXPROBE_TESTS_SCRIPTED_MACHINE_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace texprobe::tests {

struct ScriptedRenderer {
    int id = 0;
    int error = 0;  ///< What describing it returns.
};

struct ScriptedDisplay {
    std::uint32_t id = 0;
    std::vector<ScriptedRenderer> renderers;
    int error = 0;               ///< What querying its renderers returns.
    std::optional<int> count{};  ///< The number of renderers it claims, when not the true one.
};

struct ScriptedMachine {
    std::vector<ScriptedDisplay> displays;
    int displayListError = 0;
    // Null without a current context.
    const char* vendor = "Vendor";
    const char* version = "2.1 Version";
    const char* renderer = "Renderer";
    std::vector<std::string> calls;
};

/// The machine of this test. Its build of the system is "22G120"; the OpenGL display mask of a
/// display is 0x100 times its ID.
ScriptedMachine& machine();

}  // namespace texprobe::tests

#endif
