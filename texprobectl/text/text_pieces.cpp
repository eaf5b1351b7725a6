#include "text/text_pieces.h"

#include <fmt/format.h>

#include <algorithm>

#include "records/plain_text.h"

namespace texprobe::ctl {

std::size_t Shown::width() const {
    // Of UTF-8 the bytes that begin one.
    return static_cast<std::size_t>(std::count_if(
        text.begin(), text.end(), [](unsigned char byte) { return (byte & 0xC0U) != 0x80; }));
}

Shown show_verdict(Verdict verdict, const Terminal& terminal) {
    const bool marks = terminal.hasMarks;
    switch (verdict) {
        case Verdict::kYes:
            return {marks ? "\u2713" : "yes", "32"};
        case Verdict::kNo:
            return {marks ? "\u2717" : "no", "31"};
        case Verdict::kCrashed:
            return {marks ? "\u2717 crash" : "crashed", "1;31"};
        case Verdict::kHung:
            return {marks ? "\u2717 hung" : "hung", "1;31"};
        case Verdict::kNotApplicable:
            return {marks ? "\u2013" : "n/a", "2"};
        default:
            return {marks ? "?" : "untested", "33"};
    }
}

Shown show_cell(const RecordSet& set, const Cell& cell, const Terminal& terminal) {
    const Shown shown = show_verdict(set.verdict(cell), terminal);
    return set.is_of_test(cell) ? Shown{shown.text + '*', "2"} : shown;
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

const char* word_of(const survey::FormatRecord& record, const survey::Question& question) {
    const auto found = record.uses.find(question);
    if (found == record.uses.end()) return "untested";
    switch (found->second.verdict) {
        case survey::Verdict::kNotOffered:
            return "no";
        case survey::Verdict::kNotApplicable:
            return "n/a";
        default:
            return name_of(found->second.verdict);
    }
}

std::string row_of(const std::string& name, const std::vector<Shown>& row, const Terminal& terminal,
                   std::size_t nameWidth, std::size_t columnWidth) {
    std::string text = name;
    // Nothing stands behind the last text of a line.
    std::size_t written = name.size();
    std::size_t end = nameWidth;
    for (const Shown& shown : row) {
        end += columnWidth;
        const std::size_t width = shown.width();
        if (width == 0) continue;
        const std::size_t space = std::max(end, written + 1 + width) - written - width;
        text += std::string(space, ' ') + coloured(shown.text, shown.colour, terminal);
        written += space + width;
    }
    return text;
}

void write_matrix(const std::function<Shown(const Cell&)>& show, const Terminal& terminal,
                  std::ostream& stream) {
    std::vector<Shown> row;
    row.reserve(kCapabilityCount);
    for (const CapabilityNames& names : kCapabilities) row.push_back({names.column});
    stream << row_of("", row, terminal) << '\n';
    for (std::size_t format = 0; format < kFormatCount; ++format) {
        for (const Cell& cell : cells_of(format)) row[cell.capability] = show(cell);
        stream << row_of(kFormats[format].name, row, terminal) << '\n';
    }
}

std::string wrapped(const std::string& given, std::size_t indent, std::string_view separator) {
    constexpr std::size_t kWidth = 80;
    const std::string text = plain(given);
    std::string result;
    std::size_t column = indent;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t found = text.find(separator, at);
        const std::size_t end =
            found == std::string::npos ? text.size() : found + separator.size() - 1;
        const std::string word = text.substr(at, end - at);
        if (at > 0 && column + 1 + word.size() > kWidth) {
            result += '\n' + std::string(indent, ' ');
            column = indent;
        } else if (at > 0) {
            result += ' ';
            ++column;
        }
        result += word;
        column += word.size();
        at = end + 1;
    }
    return result;
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

std::string describe_build(const RecordSet& set) {
    const std::string measured = describe_measured(set);
    return set.systemBuild + (measured.empty() ? "" : ", ") + measured;
}

}  // namespace texprobe::ctl
