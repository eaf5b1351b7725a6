// The tool's progress, read from its lines.

#ifndef TEXPROBECTL_TOOL_OUTPUT_H
#define TEXPROBECTL_TOOL_OUTPUT_H

#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "records/cells.h"

namespace texprobe::ctl {

/// "<identifier>[4711] testing renderer: -1102742418"
struct RendererBegun {
    std::string id;
};
/// "<identifier>[4711] UP TO DATE ...", and every other line on a renderer. The tool waits for its
/// turn after the first one, so the lines after it come from one that has the turn.
struct RendererSpokenOf {
    std::string id;
};
/// "<identifier>[4711] GL_ARB_pixel_buffer_object : SUPPORTED": the last line before the tests.
struct TestsBegun {
    std::string id;
};
/// "<identifier>[4711] GL_VENDOR: Mesa": the first line after them.
struct TestsDone {
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
using ToolEvent = std::variant<OtherLine, RendererBegun, RendererSpokenOf, TestsBegun, TestsDone,
                               TestEnded, ToolTrouble>;

ToolEvent parse_line(std::string_view line);

/// "<application>[4711] <text>", of an application of this domain. A driver may have left something
/// on the line before it.
struct LineOf {
    std::string application;
    std::string_view text;
};
std::optional<LineOf> find_line_of(std::string_view domain, std::string_view line);

}  // namespace texprobe::ctl

#endif
