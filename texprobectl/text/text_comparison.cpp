#include <fmt/format.h>

#include "records/compare.h"
#include "records/plain_text.h"
#include "text/text_matrix.h"
#include "text/wrapped.h"
#include "text/write_text.h"

namespace texprobe::ctl {

namespace {

void write_side(const char* side, const RecordSet& set, bool isSameDriver, std::ostream& stream) {
    stream << plain(fmt::format("{}: {}", side, set.id)) << '\n'
           << plain(fmt::format("   {}, {}", renderer_name(set), short_driver(set.glVersion)))
           << '\n';
    if (!isSameDriver) return;
    const std::string measured = describe_measured(set);
    stream << plain(fmt::format("   build {}{}{}", set.systemBuild, measured.empty() ? "" : ", ",
                                measured))
           << '\n';
}

/// True if a no is marked.
bool write_pair(const ComparedSets& pair, const Terminal& terminal, std::ostream& stream) {
    bool hasMark = false;
    const bool isSameDriver = pair.a.renderer == pair.b.renderer &&
                              pair.a.glVersion == pair.b.glVersion &&
                              pair.a.vendor == pair.b.vendor;
    write_side("A", pair.a, isSameDriver, stream);
    write_side("B", pair.b, isSameDriver, stream);
    if (!pair.differences.empty()) stream << fmt::format("\n{:<41}{:>10}{:>10}\n", "", "A", "B");
    for (const Difference& difference : pair.differences) {
        stream << fmt::format("{:<41}", words_of(difference.cell));
        for (const RecordSet* set : {&pair.a, &pair.b}) {
            hasMark |= set->is_of_test(difference.cell);
            const Shown shown = show_cell(*set, difference.cell, terminal);
            stream << std::string(10 - shown.width, ' ')
                   << coloured(shown.text, shown.colour, terminal);
        }
        stream << '\n';
    }
    for (const SurveyDifference& each : pair.ofSurvey) {
        const char* const between = &each == &pair.ofSurvey.front() ? "\n" : "";
        const std::string format = each.format.empty() ? "" : each.format + ' ';
        stream << between
               << wrapped(fmt::format("{}{} in {}: A {}, B {}", format, each.use,
                                      words_of(each.profile), each.a, each.b),
                          4)
               << '\n';
    }
    const Balance balance = balance_of(pair);
    stream << fmt::format("\n{} worse, {} better.\n", balance.worse, balance.better);
    return hasMark;
}

}  // namespace

void write_comparison_text(const Comparison& comparison, const Terminal& terminal,
                           std::ostream& stream) {
    const char* between = "";
    bool hasMark = false;
    for (const ComparedSets& pair : comparison.pairs) {
        if (pair.is_equal()) continue;
        stream << between;
        between = "\n";
        hasMark |= write_pair(pair, terminal, stream);
    }
    explain_mark(hasMark, terminal, stream);
    for (const RecordSet& set : comparison.onlyA) stream << "Only in A: " << plain(set.id) << '\n';
    for (const RecordSet& set : comparison.onlyB) stream << "Only in B: " << plain(set.id) << '\n';
}

}  // namespace texprobe::ctl
