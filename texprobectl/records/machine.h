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
    /// Those of them that the platform knows to draw on the processor.
    std::vector<std::uint32_t> software;
    /// The question that failed, as a sentence; empty when none did.
    std::string trouble;

    bool lists(const std::string& rendererID) const;
    /// By the platform, or by the GL_RENDERER as far as it is known: a GPU's entry may stand for a
    /// software driver, too.
    bool is_software(const std::string& rendererID, const std::string& glRenderer) const;
};

/// Opens no driver.
Machine look_at_machine();

/// The result of opening a renderer.
struct Opening {
    bool isOpened = false;
    int megabytes = 0;
    /// The context's strings; empty where there is none.
    std::string vendor;
    std::string glVersion;
    std::string renderer;
    /// Why it cannot be opened; empty otherwise.
    std::string trouble;
};
/// Makes a context of the renderer current, as the tool does, and destroys it again. A driver may
/// end the process.
Opening open_renderer(std::uint32_t renderer);

std::string hexadecimal(std::uint32_t rendererID);

}  // namespace texprobe::ctl

#endif
