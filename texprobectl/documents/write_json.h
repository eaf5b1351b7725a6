// The commands' output for programs: documents, each valid against the installed schema.

#ifndef TEXPROBECTL_WRITE_JSON_H
#define TEXPROBECTL_WRITE_JSON_H

#include <ostream>
#include <vector>

#include "records/record_set.h"

namespace texprobe::ctl {

struct Comparison;
struct Diagnosis;
struct Inspection;
class Merged;
struct Times;
struct UseInspection;

void write_records_json(const RecordSets& sets, std::ostream& stream);
void write_comparison_json(const Comparison& comparison, std::ostream& stream);
void write_merged_json(const Merged& merged, std::ostream& stream);
void write_times_json(const Times& times, std::ostream& stream);
/// The calls are many.
void write_inspections_json(const std::vector<Inspection>& inspections, bool hasCalls,
                            std::ostream& stream);
void write_inspections_json(const std::vector<UseInspection>& inspections, std::ostream& stream);
void write_diagnosis_json(const Diagnosis& diagnosis, std::ostream& stream);

}  // namespace texprobe::ctl

#endif
