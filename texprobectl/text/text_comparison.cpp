#include <fmt/format.h>

#include "records/compare.h"
#include "records/plain_text.h"
#include "text/text_matrix.h"
#include "text/write_text.h"

namespace texprobe::ctl {

namespace {

void write_pair(const ComparedSets& pair, const Terminal& terminal, std::ostream& stream) {
    const auto writeSide = [&](const char* side, const RecordSet& set) {
        stream << plain(fmt::format("{}: {}", side, set.id)) << '\n'
               << plain(fmt::format("   {}, {}", renderer_name(set), short_driver(set.glVersion)))
               << '\n';
    };
    writeSide("A", pair.a);
    writeSide("B", pair.b);
    stream << fmt::format("\n{:<41}{:>10}{:>10}\n", "", "A", "B");
    for (const Difference& difference : pair.differences) {
        stream << fmt::format("{:<41}", words_of(difference.cell));
        for (const Verdict verdict : {difference.a, difference.b}) {
            const Shown shown = show_verdict(verdict, terminal);
            stream << std::string(10 - shown.width, ' ')
                   << coloured(shown.text, shown.colour, terminal);
        }
        stream << '\n';
    }
    stream << '\n';
}

}  // namespace

void write_comparison_text(const Comparison& comparison, const Terminal& terminal,
                           std::ostream& stream) {
    for (const ComparedSets& pair : comparison.pairs) {
        if (!pair.differences.empty()) write_pair(pair, terminal, stream);
    }
    for (const RecordSet& set : comparison.onlyA) stream << "Only in A: " << plain(set.id) << '\n';
    for (const RecordSet& set : comparison.onlyB) stream << "Only in B: " << plain(set.id) << '\n';
}

}  // namespace texprobe::ctl
