// The tool's progress, read from its lines.

#ifndef TEXPROBECTL_TOOL_OUTPUT_H
#define TEXPROBECTL_TOOL_OUTPUT_H

#include <optional>
#include <string>
#include <string_view>

#include "records/cells.h"

namespace texprobe::ctl {

struct ToolLine {
    enum Kind {
        kOther,
        /// "*** cannot create OpenGL context"
        kTrouble,
        /// "<identifier>[4711] testing renderer: -1102742418"
        kRendererBegun,
        /// "<identifier>[4711] UP TO DATE ...", and every other line on a renderer. The tool waits
        /// for its turn after the first one, so the lines after it come from one that has the turn.
        kRendererSpokenOf,
        /// "<identifier>[4711] GL_ARB_pixel_buffer_object : SUPPORTED": the last before the tests.
        kTestsBegun,
        /// "<identifier>[4711] GL_VENDOR: Mesa": the first after them.
        kTestsDone,
        /// "<identifier>[4711] GL_RGBA8 upload SET: 1"
        kTestEnded,
    };
    Kind kind = kOther;
    /// The set that it speaks of; for kTrouble the text.
    std::string text;
    Cell cell = {};
    bool verdict = false;
};

ToolLine parse_line(std::string_view line);

/// "<application>[4711] <text>", of an application of this domain. A driver may have left something
/// on the line before it.
struct LineOf {
    std::string application;
    std::string_view text;
};
std::optional<LineOf> find_line_of(std::string_view domain, std::string_view line);

}  // namespace texprobe::ctl

#endif
