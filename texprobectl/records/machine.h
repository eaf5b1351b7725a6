// This machine as the tool finds it: its displays, its renderers and its build.

#ifndef TEXPROBECTL_MACHINE_H
#define TEXPROBECTL_MACHINE_H

#include <cstdint>
#include <string>
#include <vector>

namespace texprobe::ctl {

struct Machine {
    std::string systemBuild;
    std::size_t displayCount = 0;
    /// In the order in which they are measured, each once.
    std::vector<std::uint32_t> renderers;
    /// The question that failed, as a sentence; empty when none did.
    std::string trouble;

    bool lists(const std::string& rendererID) const;
};

/// Opens no driver.
Machine look_at_machine();

/// The result of opening a renderer.
struct Opening {
    bool isOpened = false;
    int megabytes = 0;
    /// The context's strings.
    std::string vendor;
    std::string glVersion;
    std::string renderer;
    /// The call that failed and its error.
    std::string trouble;
};
/// Makes a context of the renderer current, as the tool does, and destroys it again. A driver may
/// end the process.
Opening open_renderer(std::uint32_t renderer);

std::string hexadecimal(std::uint32_t rendererID);

}  // namespace texprobe::ctl

#endif
