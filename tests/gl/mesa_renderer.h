// Mesa's renderers that the tests measure: two are always there, two if their packages are.

#ifndef TEXPROBE_TESTS_MESA_RENDERER_H
#define TEXPROBE_TESTS_MESA_RENDERER_H

#include <ostream>
#include <string>
#include <vector>

#include "support/tool_folder.h"

namespace texprobe::tests {

struct MesaRenderer {
    /// How GL_RENDERER begins.
    std::string name;
    /// The variable that makes Mesa choose it.
    Environment environment;
};

std::ostream& operator<<(std::ostream& stream, const MesaRenderer& renderer);

/// llvmpipe, softpipe, zink on lavapipe, and virpipe.
std::vector<MesaRenderer> mesa_renderers();

/// Makes the renderer usable for processes started from now on. Returns what is missing, if
/// anything.
std::string prepare(const MesaRenderer& renderer);

}  // namespace texprobe::tests

#endif
