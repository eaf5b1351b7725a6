// Is it the GPU? Some renderers are programs that draw on the processor.

#ifndef TEXPROBECTL_SOFTWARE_H
#define TEXPROBECTL_SOFTWARE_H

#include <optional>
#include <string>
#include <vector>

namespace texprobe::ctl {

/// The software renderer that a GL_RENDERER names, such as "llvmpipe"; none where it names none.
std::optional<std::string> software_named_in(const std::string& renderer);

/// A renderer that was measured.
struct NamedRenderer {
    std::string name;
    bool isSoftware = false;
};
/// The trouble where hardware is required: all of these are software, or there are none. Empty
/// where one is hardware.
std::string trouble_without_hardware(const std::vector<NamedRenderer>& renderers);

}  // namespace texprobe::ctl

#endif
