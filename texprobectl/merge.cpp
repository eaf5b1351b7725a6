#include "merge.h"

#include "document.h"
#include "merged_document.h"

namespace texprobe::ctl {

void Counted::add(const Counted& other) {
    sets += other.sets;
    complete += other.complete;
    for_each_cell([&](const Cell& cell) {
        VerdictCounts& counts = cells[cell.format][cell.capability];
        const VerdictCounts& more = other.cells[cell.format][cell.capability];
        for (std::size_t i = 0; i < kVerdictCount; ++i) counts[i] += more[i];
    });
}

void Merged::add(const RecordSet& set) {
    Counted& counted =
        drivers_[{set.rendererID, set.systemBuild, set.vendor, set.glVersion, set.renderer}];
    ++counted.sets;
    counted.complete += set.isComplete;
    for_each_cell([&](const Cell& cell) {
        const auto verdict = static_cast<std::size_t>(set.verdict(cell));
        ++counted.cells[cell.format][cell.capability][verdict];
    });
}

void Merged::add(const Driver& driver, const Counted& counted) {
    drivers_[driver].add(counted);
}

Counted Merged::total() const {
    Counted total;
    for (const auto& [driver, counted] : drivers_) total.add(counted);
    return total;
}

Merged merge_files(const std::vector<std::string>& files) {
    Merged merged;
    const std::vector<Kind> kinds = {
        {kRecordsSchema, "record_sets",
         [&](const JsonValue& value, const Expect& expect) {
             merged.add(read_set(value, expect));
         }},
        {kMergedSchema, "drivers", [&](const JsonValue& value, const Expect& expect) {
             read_merged(value, expect, &merged);
         }}};
    for (const std::string& file : files) read_document(file, kinds);
    return merged;
}

}  // namespace texprobe::ctl
