#include "measure/tool_output.h"

#include <optional>

#include "records/record_set.h"

namespace texprobe::ctl {

namespace {

/// "GL_RGBA8 upload SET: 1" and so on.
std::optional<ToolLine> parse_result(const std::string& id, std::string_view text) {
    for (std::size_t format = 0; format < kFormatCount; ++format) {
        const std::string_view name = kFormats[format].name;
        if (!text.starts_with(std::string(name) + ' ')) continue;
        const std::string_view rest = text.substr(name.size() + 1);
        for (std::size_t i = 0; i < kCapabilityCount; ++i) {
            const std::string_view label = kCapabilities[i].printed;
            if (!rest.starts_with(label)) continue;
            const std::string_view outcome = rest.substr(label.size());
            if (outcome != ": 0" && outcome != ": 1") continue;
            const Cell cell = {format, static_cast<Capability>(i)};
            return ToolLine{ToolLine::kTestEnded, id, cell, outcome == ": 1"};
        }
    }
    return std::nullopt;
}

}  // namespace

std::optional<LineOf> find_line_of(std::string_view domain, std::string_view line) {
    const std::size_t begin = line.find(domain);
    if (begin == std::string_view::npos) return std::nullopt;
    line.remove_prefix(begin);
    const std::size_t bracket = line.find('[');
    const std::size_t space = line.find("] ");
    if (bracket == std::string_view::npos || space == std::string_view::npos) return std::nullopt;
    return LineOf{std::string(line.substr(0, bracket)), line.substr(space + 2)};
}

ToolLine parse_line(std::string_view line) {
    const std::size_t trouble = line.find("*** ");
    if (trouble != std::string_view::npos) {
        return {ToolLine::kTrouble, std::string(line.substr(trouble))};
    }
    const auto spoken = find_line_of(kDomain, line);
    if (!spoken || !parse_id(spoken->application)) return {};
    const std::string& id = spoken->application;
    const std::string_view text = spoken->text;
    if (text.starts_with("testing renderer: ")) return {ToolLine::kRendererBegun, id};
    if (text.starts_with("GL_ARB_pixel_buffer_object : ")) return {ToolLine::kTestsBegun, id};
    if (text.starts_with("GL_VENDOR: ")) return {ToolLine::kTestsDone, id};
    return parse_result(id, text).value_or(ToolLine{ToolLine::kRendererSpokenOf, id});
}

}  // namespace texprobe::ctl
