#include <fmt/format.h>

#include "records/plain_text.h"
#include "text/text_matrix.h"
#include "text/write_text.h"

namespace texprobe::ctl {

namespace {

bool has_verdict(const RecordSets& sets, Verdict verdict) {
    bool has = false;
    for (const RecordSet& set : sets) {
        for_each_cell([&](const Cell& cell) { has |= set.verdict(cell) == verdict; });
    }
    return has;
}

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

}  // namespace

void write_sets_text(const RecordSets& sets, const Terminal& terminal, std::ostream& stream) {
    bool hasUnseenNo = false;
    for (const RecordSet& set : sets) {
        write_set(plain(set), terminal, stream);
        hasUnseenNo |= set.hasUnseenNo;
    }
    explain_mark(has_mark(sets), terminal, stream);
    const auto explain = [&](Verdict verdict, const char* meaning) {
        if (!has_verdict(sets, verdict)) return;
        stream << show_verdict(verdict, terminal).text << ": " << meaning << '\n';
    };
    explain(Verdict::kUnmeasured, "not measured yet");
    explain(Verdict::kNotApplicable, "not applicable, because a capability that it needs is a no");
    if (hasUnseenNo) {
        stream << "A no that was recorded without `texprobectl measure` may have been a crash.\n";
    }
}

}  // namespace texprobe::ctl
