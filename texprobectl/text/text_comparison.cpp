#include <fmt/format.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "measure/measure.h"
#include "records/compare.h"
#include "records/plain_text.h"
#include "text/text_pieces.h"
#include "text/write_text.h"

namespace texprobe::ctl {

namespace {

void write_side(const char* side, const RecordSet& set, bool isSameDriver, std::ostream& stream) {
    stream << plain(fmt::format("{}: {}", side, set.id)) << '\n'
           << plain(fmt::format("   {}, {}", renderer_name(set), short_driver(set.glVersion)))
           << '\n';
    if (isSameDriver) stream << "   build " << plain(describe_build(set)) << '\n';
}

/// True if a no is marked.
bool write_pair(const ComparedSets& pair, const Terminal& terminal, std::ostream& stream) {
    bool hasMark = false;
    const bool isSameDriver = pair.a.renderer == pair.b.renderer &&
                              pair.a.glVersion == pair.b.glVersion &&
                              pair.a.vendor == pair.b.vendor;
    write_side("A", pair.a, isSameDriver, stream);
    write_side("B", pair.b, isSameDriver, stream);
    const auto writeRow = [&](const std::string& name, const std::vector<Shown>& row) {
        stream << row_of(name, row, terminal, 41, 10) << '\n';
    };
    if (!pair.differences.empty()) {
        stream << '\n';
        writeRow("", {{"A"}, {"B"}});
    }
    for (const Difference& difference : pair.differences) {
        const Cell& cell = difference.cell;
        hasMark |= pair.a.is_of_test(cell) || pair.b.is_of_test(cell);
        writeRow(words_of(cell),
                 {show_cell(pair.a, cell, terminal), show_cell(pair.b, cell, terminal)});
    }
    if (!pair.ofSurvey.empty()) stream << '\n';
    for (const SurveyDifference& each : pair.ofSurvey) {
        const std::string format = each.format.empty() ? "" : each.format + ' ';
        stream << wrapped(fmt::format("{}{} in {}: A {}, B {}", format, each.use,
                                      words_of(each.profile), each.a, each.b),
                          4)
               << '\n';
    }
    const Balance balance = balance_of(pair);
    stream << fmt::format("\n{} worse, {} better.\n", balance.worse, balance.better);
    return hasMark;
}

/// An unmeasured verdict differs from none.
std::vector<Difference> measured_differences(const RecordSet& a, const RecordSet& b) {
    std::vector<Difference> measured = differences(a, b);
    std::erase_if(measured,
                  [](const Difference& each) { return !worth(each.a) || !worth(each.b); });
    return measured;
}

/// The one with the same ID, of the set or of its renderer.
const RecordSet* find_counterpart(const RecordSet& set, std::string RecordSet::*id,
                                  const RecordSets& sets) {
    const auto found = std::find_if(sets.begin(), sets.end(),
                                    [&](const RecordSet& other) { return other.*id == set.*id; });
    return found == sets.end() ? nullptr : &*found;
}

void write_pairs(const char* heading, const std::vector<ComparedSets>& pairs,
                 const Terminal& terminal, std::ostream& stream) {
    for (const ComparedSets& pair : pairs) {
        stream << heading << "\n\n";
        write_comparison_text({{pair}, {}, {}}, terminal, stream);
        stream << '\n';
    }
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

/// A set that was unfinished is compared with the build before, as a new one is.
void write_changes_text(const MeasureResult& result, const Terminal& terminal,
                        std::ostream& stream) {
    RecordSets fresh;
    std::vector<ComparedSets> now;
    std::vector<ComparedSets> builds;
    std::string equalBuilds;
    for (const RecordSet& after : result.after) {
        const RecordSet* before = find_counterpart(after, &RecordSet::id, result.before);
        const RecordSet* build =
            find_counterpart(after, &RecordSet::rendererID, result.predecessors);
        if (before && (before->isComplete || !build)) {
            auto changed = differences(*before, after);
            if (!changed.empty()) now.push_back({*before, after, std::move(changed)});
        } else if (build) {
            auto changed = measured_differences(*build, after);
            if (!changed.empty()) {
                builds.push_back({*build, after, std::move(changed)});
                continue;
            }
            equalBuilds += after.unmeasured() == 0 ? "Nothing" : "Nothing measured yet";
            equalBuilds += " differs from the build before: " + build->id + '\n';
        } else {
            fresh.push_back(after);
        }
    }
    if (!fresh.empty()) write_sets_text(fresh, terminal, stream);
    write_pairs("Before (A) and now (B):", now, terminal, stream);
    write_pairs("The build before (A) and the present one (B):", builds, terminal, stream);
    stream << equalBuilds;
    if (fresh.empty() && now.empty() && builds.empty() && equalBuilds.empty()) {
        stream << "Nothing has changed.\n";
    }
}

}  // namespace texprobe::ctl
