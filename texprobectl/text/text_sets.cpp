// Record sets one by one, several side by side, and both as tables for a forge.

#include <fmt/format.h>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "records/plain_text.h"
#include "text/text_pieces.h"
#include "text/write_text.h"

namespace texprobe::ctl {

namespace {

/// Verdicts in words, as of a stream that is no terminal.
constexpr Terminal kNoTerminal = {};

void write_set(const RecordSet& set, const Terminal& terminal, std::ostream& stream) {
    stream << coloured(renderer_name(set), kBold, terminal) << '\n';
    stream << fmt::format("{}, {}\n{}\n", set.glVersion.value_or("unknown driver"),
                          set.vendor.value_or("unknown vendor"), set.id);
    stream << fmt::format("{}; {} its machine's present build\n", describe_state(set),
                          set.isPresent ? "of" : "not of");
    const std::string measured = describe_measured(set);
    stream << measured << (measured.empty() ? "\n" : "\n\n");
    write_matrix([&](const Cell& cell) { return show_cell(set, cell, terminal); }, terminal,
                 stream);
    stream << '\n';
    const char* end = "";
    for (const Detail& detail : set.details) {
        if (detail.is_of_test()) continue;
        stream << fmt::format("{}: {}\n", words_of(detail.cell), describe(detail.cause));
        end = "\n";
    }
    stream << end;
}

/// Capabilities of a format with the same verdicts on each renderer.
struct AlikeRow {
    std::string format;
    std::vector<Shown> verdicts;
    std::string capabilities;
};

std::vector<AlikeRow> rows_of(const RecordSets& sets, const Terminal& terminal) {
    std::vector<AlikeRow> rows;
    for (std::size_t format = 0; format < kFormatCount; ++format) {
        Folded<std::vector<Shown>> alike;
        for (const Cell& cell : cells_of(format)) {
            std::vector<Shown> verdicts;
            for (const RecordSet& set : sets) verdicts.push_back(show_cell(set, cell, terminal));
            fold(verdicts, kCapabilities[cell.capability].column, &alike);
        }
        for (const auto& [verdicts, columns] : alike) {
            rows.push_back(
                {kFormats[format].name, verdicts, alike.size() == 1 ? "all six" : joined(columns)});
        }
    }
    return rows;
}

/// Text of strangers: in a code span a forge sees no markup, no name and no link.
std::string in_code(const std::string& text) {
    std::string code = plain(text);
    std::replace(code.begin(), code.end(), '`', '\'');
    return '`' + code + '`';
}

/// "llvmpipe ..., 4.5 Mesa 22.3.6, build 6.1.0, measured ..."
std::string describe_in_code(const RecordSet& set) {
    return in_code(fmt::format("{}, {}, build {}; {}", renderer_name(set),
                               short_driver(set.glVersion), describe_build(set),
                               describe_state(set)));
}

void write_markdown_row(const std::vector<std::string>& names, const std::vector<Shown>& verdicts,
                        std::ostream& stream) {
    for (const std::string& name : names) stream << "| " << name << ' ';
    for (const Shown& shown : verdicts) {
        const bool isMarked = shown.text.back() == '*';
        const std::string text = shown.text.substr(0, shown.text.size() - (isMarked ? 1 : 0));
        stream << "| " << text << (isMarked ? "\\* " : " ");
    }
    stream << "|\n";
}

void write_markdown_head(const std::vector<std::string>& columns, std::ostream& stream) {
    write_markdown_row(columns, {}, stream);
    write_markdown_row(std::vector<std::string>(columns.size(), "---"), {}, stream);
}

void write_set_markdown(const RecordSet& set, std::ostream& stream) {
    stream << describe_in_code(set) << "\n\n";
    std::vector<std::string> columns = {"format"};
    for (const CapabilityNames& names : kCapabilities) columns.emplace_back(names.column);
    write_markdown_head(columns, stream);
    for (std::size_t format = 0; format < kFormatCount; ++format) {
        std::vector<Shown> verdicts;
        for (const Cell& cell : cells_of(format)) {
            verdicts.push_back(show_cell(set, cell, kNoTerminal));
        }
        write_markdown_row({kFormats[format].name}, verdicts, stream);
    }
    stream << '\n';
    for (const Detail& detail : set.details) {
        if (detail.is_of_test()) continue;
        stream << "- " << words_of(detail.cell) << ' ' << in_code(describe(detail.cause)) << '\n';
    }
}

void write_renderers_markdown(const RecordSets& sets, std::ostream& stream) {
    std::vector<std::string> columns = {"format", "capabilities"};
    for (const RecordSet& set : sets) {
        columns.push_back(std::to_string(columns.size() - 1));
        stream << columns.back() << ". " << describe_in_code(set) << '\n';
    }
    stream << '\n';
    write_markdown_head(columns, stream);
    for (const AlikeRow& row : rows_of(sets, kNoTerminal)) {
        write_markdown_row({row.format, row.capabilities}, row.verdicts, stream);
    }
    stream << '\n';
}

}  // namespace

void write_sets_text(const RecordSets& sets, const Terminal& terminal, std::ostream& stream) {
    bool hasUnseenNo = false;
    std::set<Verdict> shown;
    for (const RecordSet& set : sets) {
        write_set(plain(set), terminal, stream);
        hasUnseenNo |= set.hasUnseenNo;
        for_each_cell([&](const Cell& cell) { shown.insert(set.verdict(cell)); });
    }
    explain_mark(has_mark(sets), terminal, stream);
    const auto explain = [&](Verdict verdict, const char* meaning) {
        if (shown.count(verdict) == 0) return;
        stream << show_verdict(verdict, terminal).text << ": " << meaning << '\n';
    };
    explain(Verdict::kUnmeasured, "not measured yet");
    explain(Verdict::kNotApplicable, "not applicable, because a capability that it needs is a no");
    if (hasUnseenNo) {
        stream << "A no that was recorded without `texprobectl measure` may have been a crash.\n";
    }
}

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
        for (const Shown& shown : row.verdicts) width = std::max(width, shown.width() + 2);
    }
    std::vector<Shown> numbers;
    for (const RecordSet& each : sets) {
        const RecordSet set = plain(each);
        numbers.push_back({std::to_string(numbers.size() + 1)});
        stream << fmt::format("{:>2}  {}, {}\n      build {}, {}\n", numbers.back().text,
                              renderer_name(set), short_driver(set.glVersion), set.systemBuild,
                              describe_state(set));
    }
    stream << '\n' << row_of("", numbers, terminal, 25, width) << '\n';
    std::string before;
    for (const AlikeRow& row : rows) {
        stream << row_of(row.format == before ? "" : row.format, row.verdicts, terminal, 25, width)
               << "  " << row.capabilities << '\n';
        before = row.format;
    }
    stream << '\n';
    explain_mark(has_mark(sets), terminal, stream);
}

}  // namespace texprobe::ctl
