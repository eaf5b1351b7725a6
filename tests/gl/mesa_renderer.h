// The renderers of Mesa that the tests measure: two are always there, two where their packages are.

#ifndef TEXPROBE_TESTS_MESA_RENDERER_H
#define TEXPROBE_TESTS_MESA_RENDERER_H

#include <ostream>
#include <string>
#include <vector>

#include "support/tool_folder.h"

namespace texprobe::tests {

struct MesaRenderer {
    /// What GL_RENDERER begins with.
    std::string name;
    /// What makes Mesa choose it.
    Environment environment;
};

std::ostream& operator<<(std::ostream& stream, const MesaRenderer& renderer);

/// llvmpipe, softpipe, zink on lavapipe, and virpipe.
std::vector<MesaRenderer> mesa_renderers();

/// Makes the renderer usable by the processes that are started from now on; returns what is
/// missing, or nothing.
std::string prepare(const MesaRenderer& renderer);

}  // namespace texprobe::tests

#endif
