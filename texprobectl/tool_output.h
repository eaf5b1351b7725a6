// What the tool's lines say of its progress.

#ifndef TEXPROBECTL_TOOL_OUTPUT_H
#define TEXPROBECTL_TOOL_OUTPUT_H

#include <string>
#include <string_view>
#include <variant>

#include "formats.h"

namespace texprobe::ctl {

/// "<identifier>[4711] testing renderer: -1102742418"
struct RendererBegun {
    std::string id;
};
/// "<identifier>[4711] GL_RGBA8 upload SET: 1"
struct TestEnded {
    std::string id;
    Cell cell;
    bool verdict = false;
};
/// "*** cannot create OpenGL context"
struct ToolTrouble {
    std::string text;
};
struct OtherLine {};
using ToolEvent = std::variant<OtherLine, RendererBegun, TestEnded, ToolTrouble>;

ToolEvent parse_line(std::string_view line);

}  // namespace texprobe::ctl

#endif
