#include "text/text_matrix.h"

#include <fmt/format.h>

namespace texprobe::ctl {

namespace {

constexpr std::size_t kNameWidth = 25;
constexpr std::size_t kColumnWidth = 9;

}  // namespace

Shown show_verdict(Verdict verdict, const Terminal& terminal) {
    const bool marks = terminal.hasMarks;
    switch (verdict) {
        case Verdict::kYes:
            return marks ? Shown{"\u2713", 1, "32"} : Shown{"yes", 3, "32"};
        case Verdict::kNo:
            return marks ? Shown{"\u2717", 1, "31"} : Shown{"no", 2, "31"};
        case Verdict::kCrashed:
            return marks ? Shown{"\u2717 crash", 7, "1;31"} : Shown{"crashed", 7, "1;31"};
        case Verdict::kHung:
            return marks ? Shown{"\u2717 hung", 6, "1;31"} : Shown{"hung", 4, "1;31"};
        case Verdict::kNotApplicable:
            return marks ? Shown{"\u2013", 1, "2"} : Shown{"n/a", 3, "2"};
        default:
            return marks ? Shown{"?", 1, "33"} : Shown{"untested", 8, "33"};
    }
}

std::string coloured(const std::string& text, const char* colour, const Terminal& terminal) {
    if (!terminal.hasColours || !*colour) return text;
    return fmt::format("\x1b[{}m{}\x1b[0m", colour, text);
}

void write_matrix(const std::function<Shown(const Cell&)>& show, const Terminal& terminal,
                  std::ostream& stream) {
    stream << std::string(kNameWidth, ' ');
    for (const CapabilityNames& names : kCapabilities) {
        stream << fmt::format("{:>{}}", names.column, kColumnWidth);
    }
    stream << '\n';
    for (std::size_t format = 0; format < kFormatCount; ++format) {
        stream << fmt::format("{:<{}}", kFormats[format].name, kNameWidth);
        for (std::size_t i = 0; i < kCapabilityCount; ++i) {
            const Shown shown = show({format, static_cast<Capability>(i)});
            const std::size_t space = shown.width < kColumnWidth ? kColumnWidth - shown.width : 1;
            stream << std::string(space, ' ') << coloured(shown.text, shown.colour, terminal);
        }
        stream << '\n';
    }
}

std::string describe_state(const RecordSet& set) {
    if (set.isComplete) return "complete";
    if (!set.version || !(*set.version >= kCurrentVersion)) return "of an older version";
    const std::size_t all = kFormatCount * kCapabilityCount;
    if (set.unmeasured() > 0) {
        return fmt::format("{} of {} verdicts", all - set.unmeasured(), all);
    }
    return "without the driver's strings";
}

std::string short_driver(const std::optional<std::string>& glVersion) {
    std::string text = glVersion.value_or("unknown");
    constexpr std::string_view kProfile = "(Compatibility Profile) ";
    const std::size_t at = text.find(kProfile);
    if (at != std::string::npos) text.erase(at, kProfile.size());
    return text;
}

std::string renderer_name(const RecordSet& set) {
    return set.renderer.value_or("unknown renderer");
}

}  // namespace texprobe::ctl
