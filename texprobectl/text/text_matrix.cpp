#include "text/text_matrix.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>

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

Shown show_cell(const RecordSet& set, const Cell& cell, const Terminal& terminal) {
    Shown shown = show_verdict(set.verdict(cell), terminal);
    if (set.is_of_test(cell)) shown = {shown.text + '*', shown.width + 1, "2"};
    return shown;
}

bool has_mark(const RecordSets& sets) {
    return std::any_of(sets.begin(), sets.end(), [](const RecordSet& set) {
        return std::any_of(set.details.begin(), set.details.end(),
                           [](const Detail& detail) { return detail.is_of_test(); });
    });
}

void explain_mark(bool isShown, const Terminal& terminal, std::ostream& stream) {
    if (isShown) stream << show_verdict(Verdict::kNo, terminal).text << "*: " << kOfTest << '\n';
}

std::string coloured(const std::string& text, const char* colour, const Terminal& terminal) {
    if (!terminal.hasColours || !*colour) return text;
    return fmt::format("\x1b[{}m{}\x1b[0m", colour, text);
}

Shown show_word(const char* word, const char* colour) {
    return {word, std::strlen(word), colour};
}

void write_row(const std::string& name, const std::vector<Shown>& row, const Terminal& terminal,
               std::ostream& stream) {
    stream << name;
    // Nothing stands behind the last text of a line.
    std::size_t written = name.size();
    std::size_t end = kNameWidth;
    for (const Shown& shown : row) {
        end += kColumnWidth;
        if (shown.width == 0) continue;
        const std::size_t space = std::max(end, written + 1 + shown.width) - written - shown.width;
        stream << std::string(space, ' ') << coloured(shown.text, shown.colour, terminal);
        written += space + shown.width;
    }
    stream << '\n';
}

void write_matrix(const std::function<Shown(const Cell&)>& show, const Terminal& terminal,
                  std::ostream& stream) {
    std::vector<Shown> row;
    row.reserve(kCapabilityCount);
    for (const CapabilityNames& names : kCapabilities) row.push_back(show_word(names.column));
    write_row("", row, terminal, stream);
    for (std::size_t format = 0; format < kFormatCount; ++format) {
        for (std::size_t i = 0; i < kCapabilityCount; ++i) {
            row[i] = show({format, static_cast<Capability>(i)});
        }
        write_row(kFormats[format].name, row, terminal, stream);
    }
}

std::string describe_state(const RecordSet& set) {
    if (set.isComplete) return "complete";
    if (!is_measured(set)) return "not measured";
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

std::string describe_measured(const RecordSet& set) {
    constexpr std::size_t kMinutes = 16;
    std::string text;
    if (set.measured) {
        std::string time = set.measured->substr(0, kMinutes);
        std::replace(time.begin(), time.end(), 'T', ' ');
        text = "measured " + time + " UTC";
    }
    if (set.version) text += fmt::format("{}version {:g}", text.empty() ? "" : ", ", *set.version);
    return text;
}

}  // namespace texprobe::ctl
