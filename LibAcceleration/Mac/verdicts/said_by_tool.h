// The verdicts that a run prints of each renderer: the only ones where records cannot be kept.

#ifndef TEXPROBE_VERDICTS_SAID_BY_TOOL_H
#define TEXPROBE_VERDICTS_SAID_BY_TOOL_H

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "records/formats.h"
#include "records/records.h"
#include "verdicts/verdicts.h"

namespace texprobe {

namespace {

/// A line "org.texprobe.texprobe2.ff.22G120[4711] GL_RGBA8 upload SET: 1".
struct LineOfRenderer {
    std::string_view id;
    std::string_view text;

    /// The system's build in the identifier; empty without one.
    std::string_view build() const {
        const std::string_view domain = text_of(preferences_domain());
        const std::size_t point = id.find('.', domain.size() + 1);
        return point == std::string_view::npos ? std::string_view() : id.substr(point + 1);
    }
};

/// A driver may have written something before it on the same line.
inline std::optional<LineOfRenderer> line_of_renderer(std::string_view line) {
    const std::string_view domain = text_of(preferences_domain());
    const std::size_t begin = line.find(domain);
    if (begin == std::string_view::npos) return std::nullopt;
    line.remove_prefix(begin);
    const std::size_t bracket = line.find('[');
    if (line.substr(domain.size(), 1) != "." || bracket == std::string_view::npos) {
        return std::nullopt;
    }
    const std::size_t end = line.find("] ", bracket);
    return LineOfRenderer{line.substr(0, bracket), end == std::string_view::npos
                                                       ? std::string_view()
                                                       : line.substr(end + 2)};
}

struct SaidOfRenderer {
    Answers verdicts;
    /// It continues from earlier records.
    bool isUpToDate = false;
    std::string vendor;
    std::string version;
};

/// Of one run.
class SaidByTool {
public:
    void take(const LineOfRenderer& line) {
        SaidOfRenderer& renderer = renderers_[std::string(line.id)];
        const std::string_view text = line.text;
        constexpr std::string_view kVendor = "GL_VENDOR: ";
        constexpr std::string_view kVersion = "GL_VERSION: ";
        if (text.substr(0, kVendor.size()) == kVendor) {
            renderer.vendor = text.substr(kVendor.size());
        } else if (text.substr(0, kVersion.size()) == kVersion) {
            renderer.version = text.substr(kVersion.size());
        } else if (text.substr(0, 11) == "UP TO DATE ") {
            renderer.isUpToDate = true;
        } else {
            take_verdict(text, &renderer.verdicts);
        }
    }

    /// Null if it has said nothing of this one.
    const SaidOfRenderer* of(CFStringRef appID) const {
        const auto found = renderers_.find(text_of(appID));
        return found == renderers_.end() ? nullptr : &found->second;
    }

private:
    /// "GL_RGBA8 upload SET: 1"
    static void take_verdict(std::string_view text, Answers* verdicts) {
        const std::size_t space = text.find(' ');
        const std::size_t colon = text.rfind(": ");
        if (space == std::string_view::npos || colon == std::string_view::npos || colon < space) {
            return;
        }
        const std::string_view label = text.substr(space + 1, colon - space - 1);
        const std::string_view word = text.substr(colon + 2);
        if (word != "0" && word != "1") return;
        for (std::size_t format = 0; format < kFormatCount; ++format) {
            if (text.substr(0, space) != kFormats[format].name) continue;
            for (std::size_t i = 0; i < kCapabilityCount; ++i) {
                if (label != kCapabilityRows[i].printed) continue;
                verdicts->at(format, i) = word == "1" ? TEXPROBE_YES : TEXPROBE_NO;
            }
        }
    }

    std::map<std::string, SaidOfRenderer> renderers_;
};

}  // namespace

}  // namespace texprobe

#endif
