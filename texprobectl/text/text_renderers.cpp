// Several renderers side by side, and tables for a forge.

#include <fmt/format.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "records/plain_text.h"
#include "text/text_matrix.h"
#include "text/write_text.h"

namespace texprobe::ctl {

namespace {

/// Verdicts in words, as of a stream that is no terminal.
constexpr Terminal kNoTerminal = {};

/// Capabilities of a format with the same verdicts on each renderer.
struct AlikeRow {
    std::string format;
    std::vector<Shown> verdicts;
    std::string capabilities;
};

void add_rows(std::size_t format, const RecordSets& sets, const Terminal& terminal,
              std::vector<AlikeRow>* rows) {
    std::vector<AlikeRow> own;
    for (std::size_t i = 0; i < kCapabilityCount; ++i) {
        AlikeRow row = {kFormats[format].name, {}, kCapabilities[i].column};
        for (const RecordSet& set : sets) {
            row.verdicts.push_back(show_cell(set, {format, static_cast<Capability>(i)}, terminal));
        }
        const auto same = std::find_if(own.begin(), own.end(), [&](const AlikeRow& other) {
            return std::equal(row.verdicts.begin(), row.verdicts.end(), other.verdicts.begin(),
                              [](const Shown& a, const Shown& b) { return a.text == b.text; });
        });
        if (same == own.end()) {
            own.push_back(std::move(row));
        } else {
            same->capabilities += ", " + row.capabilities;
        }
    }
    if (own.size() == 1) own.front().capabilities = "all six";
    rows->insert(rows->end(), own.begin(), own.end());
}

std::vector<AlikeRow> rows_of(const RecordSets& sets, const Terminal& terminal) {
    std::vector<AlikeRow> rows;
    for (std::size_t format = 0; format < kFormatCount; ++format) {
        add_rows(format, sets, terminal, &rows);
    }
    return rows;
}

/// Text of strangers: in a code span a forge sees no markup, no name and no link.
std::string in_code(const std::string& text) {
    std::string code = plain(text);
    std::replace(code.begin(), code.end(), '`', '\'');
    return '`' + code + '`';
}

/// A verdict in a table.
std::string for_markdown(const Shown& shown) {
    const bool isMarked = shown.text.back() == '*';
    return isMarked ? shown.text.substr(0, shown.text.size() - 1) + "\\*" : shown.text;
}

void write_markdown_row(const std::vector<std::string>& cells, std::ostream& stream) {
    for (const std::string& cell : cells) stream << "| " << cell << ' ';
    stream << "|\n";
}

void write_markdown_head(const std::vector<std::string>& cells, std::ostream& stream) {
    write_markdown_row(cells, stream);
    for (std::size_t i = 0; i < cells.size(); ++i) stream << "| --- ";
    stream << "|\n";
}

/// "llvmpipe ..., 4.5 Mesa 22.3.6, build 6.1.0, measured ..."
std::string describe_line(const RecordSet& set) {
    const std::string measured = describe_measured(set);
    return fmt::format("{}, {}, build {}{}{}; {}", renderer_name(set), short_driver(set.glVersion),
                       set.systemBuild, measured.empty() ? "" : ", ", measured,
                       describe_state(set));
}

void write_set_markdown(const RecordSet& set, std::ostream& stream) {
    stream << in_code(describe_line(set)) << "\n\n";
    std::vector<std::string> cells = {"format"};
    for (const CapabilityNames& names : kCapabilities) cells.emplace_back(names.column);
    write_markdown_head(cells, stream);
    for (std::size_t format = 0; format < kFormatCount; ++format) {
        cells = {kFormats[format].name};
        for (std::size_t i = 0; i < kCapabilityCount; ++i) {
            const Cell cell = {format, static_cast<Capability>(i)};
            cells.push_back(for_markdown(show_cell(set, cell, kNoTerminal)));
        }
        write_markdown_row(cells, stream);
    }
    stream << '\n';
    for (const Detail& detail : set.details) {
        if (detail.is_of_test()) continue;
        stream << "- " << words_of(detail.cell) << ' ' << in_code(describe(detail.cause)) << '\n';
    }
}

void write_renderers_markdown(const RecordSets& sets, std::ostream& stream) {
    std::vector<std::string> cells = {"format", "capabilities"};
    for (std::size_t i = 0; i < sets.size(); ++i) {
        cells.push_back(std::to_string(i + 1));
        stream << i + 1 << ". " << in_code(describe_line(sets[i])) << '\n';
    }
    stream << '\n';
    write_markdown_head(cells, stream);
    for (const AlikeRow& row : rows_of(sets, kNoTerminal)) {
        cells = {row.format, row.capabilities};
        for (const Shown& shown : row.verdicts) cells.push_back(for_markdown(shown));
        write_markdown_row(cells, stream);
    }
    stream << '\n';
}

}  // namespace

void write_sets_markdown(const RecordSets& sets, bool isOneTable, std::ostream& stream) {
    if (isOneTable) write_renderers_markdown(sets, stream);
    for (const RecordSet& set : sets) {
        if (!isOneTable) write_set_markdown(set, stream);
    }
    if (has_mark(sets)) stream << "no\\*: " << kOfTest << '\n';
}

void write_renderers_text(const RecordSets& sets, const Terminal& terminal, std::ostream& stream) {
    std::size_t width = 5;
    const std::vector<AlikeRow> rows = rows_of(sets, terminal);
    for (const AlikeRow& row : rows) {
        for (const Shown& shown : row.verdicts) width = std::max(width, shown.width + 2);
    }
    for (std::size_t i = 0; i < sets.size(); ++i) {
        const RecordSet set = plain(sets[i]);
        stream << fmt::format("{:>2}  {}, {}\n      build {}, {}\n", i + 1, renderer_name(set),
                              short_driver(set.glVersion), set.systemBuild, describe_state(set));
    }
    stream << fmt::format("\n{:25}", "");
    for (std::size_t i = 0; i < sets.size(); ++i) stream << fmt::format("{:>{}}", i + 1, width);
    stream << '\n';
    std::string before;
    for (const AlikeRow& row : rows) {
        stream << fmt::format("{:<25}", row.format == before ? "" : row.format);
        before = row.format;
        for (const Shown& shown : row.verdicts) {
            stream << std::string(width - shown.width, ' ')
                   << coloured(shown.text, shown.colour, terminal);
        }
        stream << "  " << row.capabilities << '\n';
    }
    stream << '\n';
    explain_mark(has_mark(sets), terminal, stream);
}

}  // namespace texprobe::ctl
