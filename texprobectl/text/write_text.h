// The commands' output for people: text that is readable at 80 columns.

#ifndef TEXPROBECTL_WRITE_TEXT_H
#define TEXPROBECTL_WRITE_TEXT_H

#include <ostream>
#include <vector>

#include "process/terminal.h"
#include "records/record_set.h"

namespace texprobe::ctl {

struct Comparison;
struct Diagnosis;
struct Inspection;
struct MeasureResult;
class Merged;
struct SurveyChoice;
struct Times;
struct UseInspection;

/// One line for each set.
void write_list_text(const RecordSets& all, const Terminal& terminal, std::ostream& stream);

/// Each set with its verdicts.
void write_sets_text(const RecordSets& sets, const Terminal& terminal, std::ostream& stream);

/// One table, a column a set.
void write_renderers_text(const RecordSets& sets, const Terminal& terminal, std::ostream& stream);

/// For a forge: a table of each set, or one of all.
void write_sets_markdown(const RecordSets& sets, bool isOneTable, std::ostream& stream);

/// The chosen part of each set's survey: broken promises first.
void write_survey_text(const RecordSets& sets, const SurveyChoice& choice, const Terminal& terminal,
                       std::ostream& stream);

void write_comparison_text(const Comparison& comparison, const Terminal& terminal,
                           std::ostream& stream);

/// The changes by measuring, against the records before, or those of the build before.
void write_changes_text(const MeasureResult& result, const Terminal& terminal,
                        std::ostream& stream);

/// The machines that differ, the answer, then the machines behind each no.
void write_merged_text(const Merged& merged, const Terminal& terminal, std::ostream& stream);

/// Its calls are many.
void write_inspection_text(const Inspection& inspection, bool hasCalls, const Terminal& terminal,
                           std::ostream& stream);
/// Of a question of the survey.
void write_inspection_text(const UseInspection& inspection, const Terminal& terminal,
                           std::ostream& stream);
/// The findings of several.
void write_findings_text(const std::vector<Inspection>& inspections, std::ostream& stream);

/// The fastest verified ways first, then every way, then how far the numbers can be trusted.
void write_times_text(const Times& times, const Terminal& terminal, std::ostream& stream);

void write_diagnosis_text(const Diagnosis& diagnosis, std::ostream& stream);

}  // namespace texprobe::ctl

#endif
