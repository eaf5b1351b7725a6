#include "documents/merge.h"

#include <tuple>

#include "documents/document.h"
#include "documents/merged_document.h"

namespace texprobe::ctl {

bool Driver::operator<(const Driver& other) const {
    return std::tie(rendererID, systemBuild, vendor, glVersion, renderer) <
           std::tie(other.rendererID, other.systemBuild, other.vendor, other.glVersion,
                    other.renderer);
}

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
    ++sets_;
    ++counted.sets;
    counted.complete += set.isComplete;
    for_each_cell([&](const Cell& cell) {
        const auto verdict = static_cast<std::size_t>(set.verdict(cell));
        ++counted.cells[cell.format][cell.capability][verdict];
    });
}

void Merged::add(const Driver& driver, const Counted& counted) {
    sets_ += counted.sets;
    drivers_[driver].add(counted);
}

Counted Merged::total() const {
    Counted total;
    for (const auto& [driver, counted] : drivers_) total.add(counted);
    return total;
}

Merged merge_files(const std::vector<std::string>& files, std::vector<std::string>* empty) {
    Merged merged;
    const auto checkSum = [&](const Json& value, const Expect& expect) {
        if (merged.sets() <= kMostSets) return;
        expect.fail(value, "with this, more than " + std::to_string(kMostSets) + " record sets");
    };
    const std::vector<DocumentKind> kinds = {
        {kRecordsSchema, "record_sets",
         [&](const Json& value, const Expect& expect) {
             merged.add(read_set(value, expect));
             checkSum(value, expect);
         }},
        {kMergedSchema, "drivers", [&](const Json& value, const Expect& expect) {
             read_merged(value, expect, &merged);
             checkSum(value, expect);
         }}};
    for (const std::string& file : files) {
        if (read_document(file, kinds) == 0) empty->push_back(file);
    }
    return merged;
}

}  // namespace texprobe::ctl
