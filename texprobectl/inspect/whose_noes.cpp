#include "inspect/whose_noes.h"

#include "inspect/child_run.h"
#include "records/causes.h"
#include "records/preferences.h"

namespace texprobe::ctl {

namespace {

bool is_not_asked(const RecordSet& set, const Cell& cell) {
    if (!is_transfer(cell.capability) || set.verdict(cell) != Verdict::kNo) return false;
    return read_cause(set.id, cell) == Cause(Seen{});
}

/// False if there was nothing to find out.
bool find_whose(const InspectOptions& options, const KnownMachine& known) {
    std::vector<Cell> cells;
    for_each_cell([&](const Cell& cell) {
        if (is_not_asked(known.set, cell)) cells.push_back(cell);
    });
    if (cells.empty()) return false;
    const ChildRun run(options, cells, InspectionMode::kImages, known);
    // Where the renderer could not be set up, nothing was found out.
    if (!run.report().lastTest) return false;
    // A set that was forgotten meanwhile stays so.
    refresh(causes_of(known.set.id));
    KeyChanges changes;
    for (const Cell& cell : cells) {
        if (!is_not_asked(known.set, cell)) continue;
        const std::optional<Evidence> evidence = run.evidence(cell);
        const bool isOfTest = evidence && !evidence->verdict && is_right(*evidence);
        const Seen seen{isOfTest ? Seen::Whose::kTest : Seen::Whose::kOther};
        changes[key_of(cell)] = cause_text(seen);
    }
    return write(causes_of(known.set.id), changes);
}

}  // namespace

void find_whose_noes(const std::string& self, std::chrono::seconds limit, const Machine& machine,
                     RecordSets* sets) {
    const RecordSets all = *sets;
    for (RecordSet& set : *sets) {
        if (!find_whose({self, {}, false, limit}, {set, all, machine})) continue;
        if (auto now = read_record_set(set.id, machine)) set = std::move(*now);
    }
}

}  // namespace texprobe::ctl
